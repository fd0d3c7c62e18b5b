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

void step(FuzzInput& input, UTF8String& string, TextBufferModel& model) {
    const unsigned operation = input.byte();
    const std::size_t failing = input.byte() % 8;
    const int position = input.number() - 8;
    const std::string text = input.text();
    const auto size = static_cast<int>(text.size());
    const std::string terminated = text.c_str();
    const icu::UnicodeString unicode = icu::UnicodeString::fromUTF8(text);
    TextBufferModel next = model;
    const auto attempt = [&](const auto& change) {
        if (carriedOut(failing, change)) {
            model = next;
        }
    };
    switch (operation % 10) {
        case 0:
            next.insert(string.length(), text, size);
            return attempt([&] { string.appendString(text.data(), size); });
        case 1:
            next.insert(position, terminated, static_cast<int>(terminated.size()));
            return attempt([&] { string.insertString(position, text.c_str()); });
        case 2: {
            const std::string bytes = utf8Of(unicode);
            next.insert(position, bytes, static_cast<int>(bytes.size()));
            return attempt([&] { string.insertString(position, unicode); });
        }
        case 3: {
            const std::string bytes = utf8Of(unicode);
            next = TextBufferModel();
            next.insert(0, bytes, static_cast<int>(bytes.size()));
            model = TextBufferModel();
            return attempt([&] { string = unicode; });
        }
        case 4: {
            double number = 0;
            std::memcpy(&number, text.data(), std::min(text.size(), sizeof number));
            const std::string digits = printed("%f", number);
            next.insert(position, digits, static_cast<int>(digits.size()));
            return attempt([&] { string.insertNumber(position, number); });
        }
        case 5: {
            const std::string form = quotedHex(text);
            next.insert(position, form, text.empty() ? 0 : static_cast<int>(form.size()));
            return attempt([&] { string.insertBinary(position, text.data(), size, true); });
        }
        case 6: {
            const std::string replacement = input.text().c_str();
            if (!terminated.empty()) {
                next.replace(terminated, replacement, LARGEST, LARGEST);
            }
            return attempt([&] { string.replaceAll(terminated.c_str(), replacement.c_str()); });
        }
        case 7:
            next.insert(position, model.content, static_cast<int>(model.content.size()));
            return attempt([&] { string.insertString(position, string); });
        case 8:
            return compareCopies(string, failing, text);
        default:
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
        step(input, string, model);
        compare(string, model);
    }
    compareReading(string, other);
    return 0;
}
