// Feeds a list of operations to a set of properties, now and then with a failing allocation, and
// compares all pairs and errors with the slow model after each.
//
// Input: operations, each a letter, the number of the allocation that fails, and two texts.

#include <iterator>

#include <infra/util/kelExtendedProperties.h>
#include <infra/util/kelPropertiesException.h>

#include "kelFuzzFaults.h"
#include "kelFuzzInput.h"
#include "reference/kelNumberReference.h"
#include "support/kelPropertiesOracle.h"

namespace {

using nx::test::PropertiesModel;
using nx::util::ExtendedProperties;
using nx::util::PropertiesException;
using Text = PropertiesModel::Text;

// The slow ways are quadratic and recursive.
constexpr std::size_t LONGEST_INPUT = 4096;
constexpr std::size_t MOST_PAIRS = 64;

void requireSame(const std::string& difference) { require(difference.empty(), difference.c_str()); }

struct Step {
    explicit Step(FuzzInput& input)
        : operation(input.byte()),
          failing(input.byte() % 32),
          key(input.shortText()),
          value(input.shortText()) {}

    Text keyText() const { return unitsOf(icu::UnicodeString::fromUTF8(key)); }
    Text valueText() const { return unitsOf(icu::UnicodeString::fromUTF8(value)); }

    unsigned operation;
    std::size_t failing;
    std::string key;
    std::string value;
};

/// Whether the set holds what the first pairs of a text make of the model.
bool holdsSomeOf(const ExtendedProperties& properties, PropertiesModel& model,
                 const std::string& text) {
    const auto pairs = PropertiesModel::read(text);
    for (std::size_t count = 0;; ++count) {
        if (nx::test::differenceOf(properties, model).empty()) {
            return true;
        }
        if (count == pairs.size()) {
            return false;
        }
        model.pairs[pairs[count].first] = pairs[count].second;
    }
}

void load(ExtendedProperties& properties, PropertiesModel& model, const Step& step) {
    const bool done =
        carriedOut(step.failing, [&] { properties.load(step.value.data(), step.value.size()); });
    if (done) {
        model.load(step.value);
    } else {
        require(holdsSomeOf(properties, model, step.value), "pairs loaded before memory ran out");
    }
}

/// The identifier of the error, if there is one.
std::string resolved(ExtendedProperties& properties, std::size_t failing, bool& done) {
    try {
        done = carriedOut(failing, [&] { properties.resolveProperties(); });
        return "";
    } catch (const PropertiesException& error) {
        done = true;
        return utf8Of(error.messages.getFirstMessage().getMessageID());
    }
}

/// Without memory each value is as it was or expanded. False when the model cannot follow.
bool resolve(ExtendedProperties& properties, PropertiesModel& model, std::size_t failing) {
    const PropertiesModel before = model;
    PropertiesModel::Failure wanted;
    try {
        wanted = model.resolveAll();
    } catch (const PropertiesModel::TooLong&) {
        return false;
    }
    bool done = false;
    const std::string error = resolved(properties, failing, done);
    if (done) {
        require(error == wanted.identifier, "error of references");
        return true;
    }
    for (auto& [key, value] : model.pairs) {
        const Text found = unitsOf(properties.requireProperty(icuOf(key)));
        require(found == value || found == before.pairs.at(key) || !wanted.identifier.empty(),
                "value expanded in part");
        value = found;
    }
    return true;
}

/// Copies the set into another one, goes on with that, and back.
void copyThere(ExtendedProperties& properties, PropertiesModel& model, const Step& step) {
    ExtendedProperties other;
    other.putProperty(icu::UnicodeString(u"other"), icu::UnicodeString(u"1"));
    PropertiesModel otherModel;
    otherModel.pairs.emplace(u"other", u"1");
    if (carriedOut(step.failing, [&] { other.copy(properties); })) {
        otherModel = model;
    }
    requireSame(nx::test::differenceOf(other, otherModel));
    other.removeProperty(icuOf(step.keyText()));
    otherModel.pairs.erase(step.keyText());
    requireSame(nx::test::differenceOf(properties, model));
    properties.copy(other);
    model = otherModel;
}

void putOwn(ExtendedProperties& properties, PropertiesModel& model, const Step& step) {
    if (model.pairs.empty()) {
        return;
    }
    auto own = model.pairs.begin();
    std::advance(own, static_cast<long>(step.key.size() % model.pairs.size()));
    const Text value = own->second;
    const auto& stored = properties.requireProperty(icuOf(own->first));
    const bool done = carriedOut(
        step.failing, [&] { properties.putProperty(properties.begin()->first, stored); });
    if (done) {
        model.pairs.begin()->second = value;
    }
}

void compareNumber(const ExtendedProperties& properties, const PropertiesModel& model,
                   const Text& key) {
    const auto found = model.pairs.find(key);
    try {
        const long value = properties.requirePropertyAsInt64(icuOf(key));
        require(found != model.pairs.end() &&
                    nx::oss::reference::int64Of(icuOf(found->second)) == value,
                "number");
    } catch (const PropertiesException& error) {
        const auto& identifier = error.messages.getFirstMessage().getMessageID();
        require(found == model.pairs.end() ? identifier == "ERR_PROPERTY_MISSING"
                                           : identifier == "ERR_PROPERTY_WRONG_TYPE" &&
                                                 !nx::oss::reference::int64Of(icuOf(found->second)),
                "error of a number");
    }
}

/// False when the sequence cannot go on.
bool carryOut(const Step& step, ExtendedProperties& properties, PropertiesModel& model) {
    const icu::UnicodeString key = icuOf(step.keyText());
    const icu::UnicodeString value = icuOf(step.valueText());
    switch (step.operation % 9) {
        case 0:
        case 1:
            if (carriedOut(step.failing, [&] { properties.putProperty(key, value); })) {
                model.pairs[step.keyText()] = step.valueText();
            }
            return true;
        case 2:
            require(carriedOut(step.failing, [&] { properties.removeProperty(key); }),
                    "memory for removing");
            model.pairs.erase(step.keyText());
            return true;
        case 3:
            putOwn(properties, model, step);
            return true;
        case 4:
            copyThere(properties, model, step);
            return true;
        case 5:
            load(properties, model, step);
            return true;
        case 6:
            return resolve(properties, model, step.failing);
        case 7:
            if (carriedOut(step.failing, [&] { properties.addInclude(key); })) {
                model.includes.push_back(step.keyText());
            }
            return true;
        default:
            compareNumber(properties, model, step.keyText());
            return true;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > LONGEST_INPUT) {
        return 0;
    }
    FuzzInput input(data, size);
    ExtendedProperties properties;
    PropertiesModel model;
    bool goesOn = true;
    while (goesOn && !input.isEmpty() && model.pairs.size() < MOST_PAIRS) {
        goesOn = carryOut(Step(input), properties, model);
        requireSame(goesOn ? nx::test::differenceOf(properties, model) : "");
    }
    requireSame(goesOn ? nx::test::compareStoring(model) : "");
    return 0;
}
