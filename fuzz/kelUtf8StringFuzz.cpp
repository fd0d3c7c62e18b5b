// Feeds a list of operations to a UTF8String, now and then with a failing allocation, and compares
// content and capacity with a slow model after each, and at the end what is read of it.
//
// Input: operations, each a letter, the number of the allocation that fails, a position in two
// bytes, and a text.

#include <algorithm>
#include <cstring>

#include <infra/oss/kelNLSException.h>
#include <infra/oss/kelUTF8Iterator.h>
#include <infra/oss/kelUTF8String.h>

#include "kelFuzzFaults.h"
#include "kelFuzzInput.h"
#include "reference/kelTextBufferModel.h"
#include "reference/kelUtf8Reference.h"
#include "reference/kelUtfReference.h"

namespace {

using nx::oss::NLSException;
using nx::oss::UTF8Iterator;
using nx::oss::UTF8String;
using nx::test::TextBufferModel;
namespace reference = nx::oss::reference;

constexpr std::size_t LARGEST = 1 << 16;

std::string contentOf(const UTF8String& string) {
    return {string.getString(), static_cast<std::size_t>(string.length())};
}

void compare(const UTF8String& string, const TextBufferModel& model) {
    require(contentOf(string) == model.content, "content");
    require(string.getString()[string.length()] == '\0', "terminator");
    require(string.capacity() == model.capacity, "capacity");
}

std::string printed(const char* format, double number) {
    char text[512];
    return {text, static_cast<std::size_t>(std::snprintf(text, sizeof text, format, number))};
}

std::string quotedHex(const std::string& bytes) {
    std::string form = "X'";
    for (const char byte : bytes) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02X", static_cast<unsigned char>(byte));
        form += digits;
    }
    return form + "'";
}

/// A copy and an assigned one hold the same.
void compareCopies(const UTF8String& string, std::size_t failing, const std::string& before) {
    UTF8String other(before.c_str());
    const std::string old = contentOf(other);
    const bool done = carriedOut(failing, [&] { other = string; });
    require(contentOf(other) == (done ? contentOf(string) : old), "assigned content");
    const UTF8String copy(string);
    require(contentOf(copy) == contentOf(string), "copied content");
}

/// What one operation is given.
struct Step {
    explicit Step(FuzzInput& input)
        : operation(input.byte() % 10),
          failing(input.byte() % 8),
          position(input.number() - 8),
          text(input.text()),
          terminated(text.c_str()),
          unicode(icu::UnicodeString::fromUTF8(text)) {}

    int size() const { return static_cast<int>(text.size()); }

    unsigned operation;
    std::size_t failing;
    int position;
    std::string text;
    std::string terminated;
    icu::UnicodeString unicode;
};

/// The model changes when the string does.
template <class Change>
void attempt(const Step& step, TextBufferModel& model, const TextBufferModel& next,
             const Change& change) {
    if (carriedOut(step.failing, change)) {
        model = next;
    }
}

/// Texts that are given as bytes, as Unicode and as the string itself.
void insert(const Step& step, UTF8String& string, TextBufferModel& model) {
    const int position = step.position;
    const std::string bytes = utf8Of(step.unicode);
    TextBufferModel next = model;
    switch (step.operation) {
        case 0:
            next.insert(string.length(), step.text, step.size());
            return attempt(step, model, next,
                           [&] { string.appendString(step.text.data(), step.size()); });
        case 1:
            next.insert(position, step.terminated, static_cast<int>(step.terminated.size()));
            return attempt(step, model, next,
                           [&] { string.insertString(position, step.text.c_str()); });
        case 2:
            next.insert(position, bytes, static_cast<int>(bytes.size()));
            return attempt(step, model, next, [&] { string.insertString(position, step.unicode); });
        case 3:
            model = next = TextBufferModel();
            next.insert(0, bytes, static_cast<int>(bytes.size()));
            return attempt(step, model, next, [&] { string = step.unicode; });
        default:
            next.insert(position, model.content, static_cast<int>(model.content.size()));
            return attempt(step, model, next, [&] { string.insertString(position, string); });
    }
}

/// Numbers, quoted bytes, and other texts in place of matches.
void change(const Step& step, FuzzInput& input, UTF8String& string, TextBufferModel& model) {
    TextBufferModel next = model;
    if (step.operation == 4) {
        double number = 0;
        std::memcpy(&number, step.text.data(), std::min(step.text.size(), sizeof number));
        const std::string digits = printed("%f", number);
        next.insert(step.position, digits, static_cast<int>(digits.size()));
        return attempt(step, model, next, [&] { string.insertNumber(step.position, number); });
    }
    if (step.operation == 5) {
        const std::string form = quotedHex(step.text);
        next.insert(step.position, form, step.text.empty() ? 0 : static_cast<int>(form.size()));
        return attempt(step, model, next, [&] {
            string.insertBinary(step.position, step.text.data(), step.size(), true);
        });
    }
    const std::string replacement = input.text().c_str();
    if (!step.terminated.empty()) {
        next.replace(step.terminated, replacement, LARGEST, LARGEST);
    }
    attempt(step, model, next,
            [&] { string.replaceAll(step.terminated.c_str(), replacement.c_str()); });
}

void carryOut(FuzzInput& input, UTF8String& string, TextBufferModel& model) {
    const Step step(input);
    if (step.operation < 4 || step.operation == 7) {
        insert(step, string, model);
    } else if (step.operation < 7) {
        change(step, input, string, model);
    } else if (step.operation == 8) {
        compareCopies(string, step.failing, step.text);
    } else {
        string.clear();
        model = TextBufferModel();
    }
}

/// Whether counting throws, and what it counts.
void compareCount(const UTF8String& string, const std::string& content) {
    const auto wanted = reference::charactersByFirstBytes(content);
    try {
        require(static_cast<std::size_t>(string.numChars()) == wanted, "number of characters");
    } catch (const NLSException&) {
        require(!wanted, "error of the number of characters");
    }
}

void compareWalk(const UTF8String& string, const std::string& text) {
    const auto wanted = reference::wellFormedCharacters(text);
    UTF8Iterator it;
    try {
        require(string.getUTF8Iterator(it) && wanted == static_cast<std::size_t>(it.numChars()),
                "characters of the iterator");
    } catch (const NLSException&) {
        require(!wanted, "error of the iterator");
        return;
    }
    std::string walked;
    for (const char* c = it.getFirstChar(); c != nullptr; c = it.getNextChar()) {
        walked += c;
    }
    require(walked == text, "characters of the walk");
}

void compareReading(const UTF8String& string, const std::string& other) {
    const std::string content = contentOf(string);
    const std::string text = content.c_str();
    compareCount(string, content);
    compareWalk(string, text);
    icu::UnicodeString decoded(u"before ");
    string.getString(decoded);
    require(unitsOf(decoded) == u"before " + reference::utf16FromUtf8(content, LARGEST * 4).text,
            "decoded text");
    const int order = std::strcmp(other.c_str(), text.c_str());
    require(string.compare(other.c_str()) == (order < 0 ? -1 : order > 0 ? 1 : 0), "order");
    std::string copy(text.size() + 1, '?');
    require(string.getString(&copy[0], static_cast<int>(copy.size()), "UTF-8") ==
                    static_cast<int>(copy.size()) &&
                copy == text + '\0',
            "bytes handed out");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const std::string other = input.shortText();
    UTF8String string;
    TextBufferModel model;
    while (!input.isEmpty() && model.content.size() < LARGEST) {
        carryOut(input, string, model);
        compare(string, model);
    }
    compareReading(string, other);
    return 0;
}
