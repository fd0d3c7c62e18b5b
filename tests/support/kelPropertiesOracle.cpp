#include "support/kelPropertiesOracle.h"

#include <algorithm>
#include <vector>

#include <infra/util/kelPropertiesException.h>

#include "infra/detail/kelPropertiesReader.h"
#include "support/kelPropertiesSupport.h"

namespace nx::test {

namespace {

using Text = PropertiesModel::Text;
using Failure = PropertiesModel::Failure;

std::string shown16(const Text& text) { return "\"" + shown(icuText(text)) + "\""; }

std::string difference(const std::string& what, const std::string& found,
                       const std::string& wanted) {
    return found == wanted ? "" : what + "\n  found:  " + found + "\n  wanted: " + wanted;
}

template <class A, class B>
bool samePairs(const A& a, const B& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const auto& x, const auto& y) {
        return x.first == y.first && x.second == y.second;
    });
}

/// The first of the differences.
std::string firstOf(std::initializer_list<std::string> differences) {
    const auto found = std::find_if(differences.begin(), differences.end(),
                                    [](const std::string& each) { return !each.empty(); });
    return found == differences.end() ? "" : *found;
}

template <class Pairs>
std::string describe(const Pairs& pairs) {
    std::string result;
    for (const auto& [key, value] : pairs) {
        result += shown16(key) + "=" + shown16(value) + " ";
    }
    return result;
}

/// Texts are made for what differs only: most pairs do not.
template <class Found, class Wanted>
std::string differentPairs(const std::string& what, const Found& found, const Wanted& wanted) {
    return samePairs(found, wanted) ? "" : difference(what, describe(found), describe(wanted));
}

std::string describe(const std::list<Text>& list) {
    std::string result;
    for (const Text& each : list) {
        result += shown16(each) + " ";
    }
    return result;
}

std::string describe(const Failure& failure) {
    std::string result = failure.identifier;
    for (const Text& argument : failure.arguments) {
        result += " " + shown16(argument);
    }
    return result;
}

std::string inside(const util::ExtendedProperties& properties, const PropertiesModel& model) {
    std::string result;
    for (const auto& [key, value] : model.pairs) {
        const auto* const found = properties.getProperty(icuText(key), nullptr, false);
        if (found == nullptr || text16(*found) != value) {
            result += shown16(key) + " ";
        }
    }
    return result;
}

void fill(util::ExtendedProperties& properties, const PropertiesModel& model) {
    for (const auto& [key, value] : model.pairs) {
        properties.putProperty(icuText(key), icuText(value));
    }
    for (const Text& name : model.includes) {
        properties.addInclude(icuText(name));
    }
}

/// What an error of the library says; its place is part of the identifier.
template <class Operation>
Failure failureOf(const Operation& operation) {
    try {
        operation();
        return {};
    } catch (const util::PropertiesException& e) {
        const oss::Message& message = e.messages.getFirstMessage();
        Failure failure{shown(message.getMessageID()) + " " + shown(message.getFileName()) + " " +
                            std::to_string(message.getLineNumber()) + " " +
                            std::to_string(message.getMessageLevel()),
                        {}};
        for (const auto& argument : message.getMessageArgs()) {
            failure.arguments.push_back(text16(argument));
        }
        return failure;
    }
}

/// The model's failure as the library reports it.
Failure reported(Failure failure) {
    if (failure.identifier == "ERR_PROPERTIES_CYCLIC_REFERENCE") {
        failure.identifier += " <null> 0 2";
    } else if (!failure.identifier.empty()) {
        failure.identifier += " src/infra/util/kelExtendedProperties 542 2";
    }
    return failure;
}

// --- Reading ------------------------------------------------------------------------------------

std::vector<std::pair<Text, Text>> readByLines(const std::string& bytes) {
    std::vector<std::pair<Text, Text>> pairs;
    const std::vector<char> exact(bytes.begin(), bytes.end());
    std::size_t pos = 0;
    icu::UnicodeString key;
    icu::UnicodeString value;
    while (true) {
        const auto line =
            oss::detail::readPropertyLine(key, value, pos, {exact.data(), exact.size()});
        if (line == oss::detail::PropertyLine::NONE) {
            return pairs;
        }
        if (line == oss::detail::PropertyLine::PAIR) {
            pairs.emplace_back(text16(key), text16(value));
        }
    }
}

icu::UnicodeString latin1(const std::string& bytes) {
    icu::UnicodeString text;
    for (const char byte : bytes) {
        text.append(static_cast<char16_t>(static_cast<unsigned char>(byte)));
    }
    return text;
}

/// Loading resolves, too; null when the result outgrows the model.
std::string compareLoading(const std::string& bytes, PropertiesModel model) {
    Failure wanted;
    try {
        wanted = reported(model.resolveAll());
    } catch (const PropertiesModel::TooLong&) {
        return "";
    }
    util::ExtendedProperties fromBytes;
    const Failure failure =
        failureOf([&] { fromBytes.loadFromString(bytes.data(), bytes.size()); });
    util::ExtendedProperties fromText;
    const Failure same = failureOf([&] { fromText.loadFromString(latin1(bytes)); });
    return firstOf({difference("error", describe(failure), describe(wanted)),
                    difference("error from text", describe(same), describe(wanted)),
                    differenceOf(fromBytes, model), differenceOf(fromText, model)});
}

// --- Storing ------------------------------------------------------------------------------------

bool survives(const Text& text) {
    return std::none_of(text.begin(), text.end(), [](char16_t unit) {
        return (unit >= 0xD800 && unit <= 0xDFFF) || (unit >= 0xFDD0 && unit <= 0xFDEF) ||
               unit >= 0xFFFE;
    });
}

/// What a set of pairs becomes that are stored and read back, when all of them survive.
PropertiesModel readBack(const PropertiesModel& model) {
    PropertiesModel result;
    for (const auto& [key, value] : model.pairs) {
        result.pairs[key] = value.substr(std::min(value.find_first_not_of(u' '), value.size()));
    }
    return result;
}

std::string compareRoundTrip(const PropertiesModel& model, const std::string& bytes) {
    util::ExtendedProperties properties;
    load(properties, bytes);
    PropertiesModel read;
    read.load(bytes);
    const bool all = std::all_of(model.pairs.begin(), model.pairs.end(), [](const auto& pair) {
        return survives(pair.first) && survives(pair.second);
    });
    // An include name with a line end stands on lines of its own.
    const bool plain = all && model.includes.empty();
    return firstOf(
        {differenceOf(properties, read),
         plain ? differentPairs("after store and load", read.pairs, readBack(model).pairs) : ""});
}

// --- Expansion ----------------------------------------------------------------------------------

Failure expandInModel(ExpansionCase& each) {
    switch (each.expansion) {
        case Expansion::ALL:
            return each.model.resolveAll();
        case Expansion::STORED:
            return each.model.resolve(each.inProgress, each.name, each.model.pairs[each.name]);
        case Expansion::OTHER_NAME:
            return each.model.resolve(each.inProgress, each.name, each.model.pairs[each.stored]);
        default:
            return each.model.resolve(each.inProgress, each.name, each.value);
    }
}

/// The value that resolveProperties() would hand on.
icu::UnicodeString& storedValue(util::ExtendedProperties& properties, const Text& key) {
    return const_cast<icu::UnicodeString&>(properties.requireProperty(icuText(key)));
}

void expand(util::ExtendedProperties& properties, const ExpansionCase& each,
            std::list<icu::UnicodeString>& inProgress, icu::UnicodeString& value) {
    const icu::UnicodeString name = icuText(each.name);
    switch (each.expansion) {
        case Expansion::ALL:
            return properties.resolveProperties();
        case Expansion::STORED:
            return properties.resolveProperty(inProgress, name, storedValue(properties, each.name));
        case Expansion::OTHER_NAME:
            return properties.resolveProperty(inProgress, name,
                                              storedValue(properties, each.stored));
        default:
            return properties.resolveProperty(inProgress, name, value);
    }
}

}  // namespace

std::u16string text16(const icu::UnicodeString& text) {
    return text.isEmpty()
               ? std::u16string()
               : std::u16string(text.getBuffer(), static_cast<std::size_t>(text.length()));
}

icu::UnicodeString icuText(const std::u16string& text) {
    return {text.data(), static_cast<int32_t>(text.size())};
}

std::string differenceOf(const util::ExtendedProperties& properties, const PropertiesModel& model) {
    std::vector<std::pair<Text, Text>> found;
    for (auto it = properties.begin(); it != properties.end(); ++it) {
        found.emplace_back(text16(it->first), text16(it->second));
    }
    return firstOf({differentPairs("pairs", found, model.pairs),
                    difference("not found", inside(properties, model), "")});
}

std::string compareReading(const std::string& bytes) {
    PropertiesModel model;
    model.load(bytes);
    util::ExtendedProperties properties;
    load(properties, bytes);
    return firstOf(
        {difference("lines", describe(readByLines(bytes)), describe(PropertiesModel::read(bytes))),
         differenceOf(properties, model), compareLoading(bytes, model), compareStoring(model)});
}

std::string compareStoring(const PropertiesModel& model) {
    util::ExtendedProperties properties;
    fill(properties, model);
    const std::string bytes = stored(properties);
    return firstOf({difference("stored", bytes, model.store()), compareRoundTrip(model, bytes)});
}

std::string compareExpansion(ExpansionCase each) {
    util::ExtendedProperties properties;
    fill(properties, each.model);
    const ExpansionCase original = each;
    Failure wanted;
    try {
        wanted = reported(expandInModel(each));
    } catch (const PropertiesModel::TooLong&) {
        return "";
    }
    std::list<icu::UnicodeString> inProgress;
    for (const Text& name : original.inProgress) {
        inProgress.push_back(icuText(name));
    }
    icu::UnicodeString value = icuText(original.value);
    const Failure found = failureOf([&] { expand(properties, original, inProgress, value); });
    std::list<Text> left;
    for (const auto& name : inProgress) {
        left.push_back(text16(name));
    }
    const std::string result =
        firstOf({difference("error", describe(found), describe(wanted)),
                 difference("under way", describe(left), describe(each.inProgress)),
                 difference("value", shown16(text16(value)), shown16(each.value)),
                 differenceOf(properties, each.model)});
    return result.empty() ? "" : result + "\n  of:     " + describe(original.model.pairs);
}

}  // namespace nx::test
