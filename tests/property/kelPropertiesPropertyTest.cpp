// Random comparisons of ExtendedProperties with a slow model: texts, references, sequences of
// operations.
#include <infra/util/kelExtendedProperties.h>

#include <string>

#include <gtest/gtest.h>

#include "support/kelPropertiesOracle.h"
#include "support/kelPropertiesSupport.h"
#include "support/kelRandomRun.h"
#include "support/kelRandomText.h"

namespace nx::util {
namespace {

using test::Expansion;
using test::ExpansionCase;
using test::icuText;
using test::PropertiesModel;
using test::text16;
using Text = PropertiesModel::Text;
using namespace std::string_literals;

// What texts are made of. Whatever means something stands beside whatever nearly does.
const std::string PIECES[] = {
    " ",        "  ",       "\t",       "\r",      "\n",      "\r\n",    "\n",      "\\",
    "\\\n",     "\\\r\n  ", "\\\r\t",   "=",       ":",       " = ",     "#",       "!",
    "\n#",      "\n ! ",    "%",        "%%",      "%a%",     "%k%",     "a",       "b",
    "k",        "key",      "value",    "u",       "n",       "\\n",     "\\r",     "\\t",
    "\\u",      "\\u0041",  "\\u00e9",  "\\uD83D", "\\uDE00", "\\uFFFF", "\\ufdd0", "\\u00",
    "\\u0000",  "\\u004",   "\\uZZZZ",  "\\ ",     "\\=",     "\\:",     "\\#",     "\\%",
    "\\\\",     "\\a",      "0",        "F",       "g",       "\0"s,     "\\\0"s,   "\x7F",
    "\x80",     "\xA0",     "\xFF",     "\\\xFF",  "\f",      "\v",      "\x85",    "a=1\n",
    "\nk=%a%%", "\nb = \t", "#include "};

// What values of references are made of.
const Text VALUES[] = {u"%a%", u"%b%", u"%c%", u"%d%", u"%e%",  u"%%", u"%",  u"a",   u"b",
                       u"x",   u"",    u"",    u"yz",  u"%no%", u"%a", u"b%", u"%x%", u"\0"s};
const Text NAMES[] = {u"a", u"b", u"c", u"d", u"e", u"", u"x"};

class PropertiesProperty : public testing::Test {
  protected:
    std::string text() {
        std::string result;
        for (unsigned left = random_.number(24); left > 0; --left) {
            result += random_.one(PIECES);
        }
        return random_.oneIn(4) ? random_.damaged(result) : result;
    }

    Text value() {
        Text result;
        for (unsigned left = random_.number(5); left > 0; --left) {
            result += random_.one(VALUES);
        }
        return result;
    }

    ExpansionCase references() {
        ExpansionCase each{{}, {}, Expansion::ALL, random_.one(NAMES), {}, value()};
        const bool mostlyComplete = random_.oneIn(2);
        for (const Text& name : NAMES) {
            if (!random_.oneIn(mostlyComplete ? 12 : 3)) {
                each.model.pairs[name] = random_.oneIn(3) ? VALUES[9] : value();
            }
        }
        if (each.model.pairs.empty()) {
            return each;
        }
        each.expansion = random_.one(EXPANSIONS);
        each.stored = keyOf(each.model);
        if (each.expansion == Expansion::STORED) {
            each.name = keyOf(each.model);
        }
        if (each.expansion != Expansion::ALL && random_.oneIn(4)) {
            for (unsigned left = random_.number(3); left > 0; --left) {
                each.inProgress.push_back(random_.one(NAMES));
            }
        }
        return each;
    }

    Text keyOf(const PropertiesModel& model) {
        auto it = model.pairs.begin();
        std::advance(it, random_.number(static_cast<unsigned>(model.pairs.size() - 1)));
        return it->first;
    }

    static constexpr Expansion EXPANSIONS[] = {Expansion::ALL, Expansion::STORED,
                                               Expansion::OTHER_NAME, Expansion::FOREIGN};

    test::RandomRun run_{100'000};
    test::RandomText random_{run_.seed()};
};

TEST_F(PropertiesProperty, TextsGiveWhatTheSlowReaderGives) {
    for (long left = run_.cases(); left > 0; --left) {
        const std::string bytes = text();
        ASSERT_EQ(test::compareReading(bytes), "") << testing::PrintToString(bytes);
    }
}

TEST_F(PropertiesProperty, BytesWithoutOrderGiveWhatTheSlowReaderGives) {
    for (long left = run_.cases() / 4; left > 0; --left) {
        const std::string bytes = random_.bytes(random_.number(40));
        ASSERT_EQ(test::compareReading(bytes), "") << testing::PrintToString(bytes);
    }
}

TEST_F(PropertiesProperty, ReferencesGiveWhatTheSlowResolverGives) {
    for (long left = run_.cases(); left > 0; --left) {
        ASSERT_EQ(test::compareExpansion(references()), "");
    }
}

TEST_F(PropertiesProperty, StoredTextIsThatOfTheSlowWriterAndReadsBack) {
    for (long left = run_.cases(); left > 0; --left) {
        PropertiesModel model;
        for (unsigned pairs = random_.number(4); pairs > 0; --pairs) {
            model.pairs[text16(random_.text(random_.number(6)))] =
                text16(random_.text(random_.number(12)));
        }
        for (unsigned names = random_.oneIn(4) ? random_.number(2) : 0; names > 0; --names) {
            model.includes.push_back(text16(random_.text(random_.number(6))));
        }
        ASSERT_EQ(test::compareStoring(model), "");
    }
}

// --- Sequences of operations --------------------------------------------------------------------

/// Few short keys that collide often, or many that make the index grow.
class OperationSequence : public PropertiesProperty {
  protected:
    Text key(unsigned limit) {
        const unsigned number = random_.number(limit);
        Text result(1, static_cast<char16_t>(0x41 + number % 64));
        return number < 64 ? result.substr(number == 0 ? 1 : 0) : result + Text(number / 64, u'k');
    }

    void step(ExtendedProperties& properties, PropertiesModel& model, unsigned limit) {
        const Text name = key(limit);
        switch (random_.number(8)) {
            case 0:
            case 1:
            case 2:
            case 3:
                properties.putProperty(icuText(name), icuText(name + u"="));
                model.pairs[name] = name + u"=";
                break;
            case 4:
            case 5:
                properties.removeProperty(icuText(name));
                model.pairs.erase(name);
                break;
            case 6:
                putOwn(properties, model, name);
                break;
            case 7:
                EXPECT_EQ(properties.hasProperty(icuText(name)), model.pairs.count(name) != 0);
                break;
            default:
                copyThere(properties, model, limit);
        }
    }

    /// A value, and now and then a key, out of the set itself.
    void putOwn(ExtendedProperties& properties, PropertiesModel& model, const Text& name) {
        if (model.pairs.empty()) {
            return;
        }
        const Text own = keyOf(model);
        const auto& value = properties.requireProperty(icuText(own));
        if (random_.oneIn(2)) {
            properties.putProperty(properties.begin()->first, value);
            model.pairs[model.pairs.begin()->first] = Text(model.pairs[own]);
        } else {
            properties.putProperty(icuText(name), value);
            model.pairs[name] = Text(model.pairs[own]);
        }
    }

    /// Copies the set into another one and back, which is changed in between.
    void copyThere(ExtendedProperties& properties, PropertiesModel& model, unsigned limit) {
        // Seldom for large sets, so that copies take no more time than all the rest.
        if (!random_.oneIn(8 + static_cast<unsigned>(model.pairs.size()))) {
            return;
        }
        ExtendedProperties other;
        other.putProperty("other", "1");
        other.copy(properties);
        PropertiesModel otherModel = model;
        const Text name = key(limit);
        other.removeProperty(icuText(name));
        otherModel.pairs.erase(name);
        ASSERT_EQ(test::differenceOf(properties, model), "");
        properties.copy(other);
        model = otherModel;
    }
};

TEST_F(OperationSequence, FindsWhatAnOrderedMapHolds) {
    constexpr unsigned STEPS = 100;
    for (long left = run_.cases(); left > 0; left -= STEPS) {
        ExtendedProperties properties;
        PropertiesModel model;
        const unsigned limit = random_.oneIn(2) ? 8 : random_.oneIn(2) ? 80 : 2000;
        for (unsigned i = 0; i < STEPS; ++i) {
            step(properties, model, limit);
            if (limit < 100) {
                ASSERT_EQ(test::differenceOf(properties, model), "");
            }
        }
        ASSERT_EQ(test::differenceOf(properties, model), "");
    }
}

TEST_F(OperationSequence, OnOneLargeSetFindsWhatAnOrderedMapHolds) {
    ExtendedProperties properties;
    PropertiesModel model;
    for (long left = run_.cases(); left > 0; --left) {
        step(properties, model, 5000);
    }
    ASSERT_EQ(test::differenceOf(properties, model), "");
    for (unsigned i = 0; i <= 5000; ++i) {
        const Text name = key(5000);
        ASSERT_EQ(properties.hasProperty(icuText(name)), model.pairs.count(name) != 0);
    }
}

}  // namespace
}  // namespace nx::util
