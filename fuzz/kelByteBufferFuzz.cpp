// Feeds a list of operations to a ByteBuffer, now and then with a failing allocation, and compares
// content and sizes with a std::string after each.
//
// Input: operations, each a letter, the number of the allocation that fails, a position and a text.

#include <algorithm>

#include <infra/oss/kelByteBuffer.h>

#include "kelFuzzFaults.h"
#include "kelFuzzInput.h"

namespace {

using nx::oss::ByteBuffer;

constexpr std::size_t LARGEST = 1 << 18;

void compare(const ByteBuffer& buffer, const std::string& model) {
    require(std::string(buffer.data(), buffer.size()) == model + '\0', "content");
    require(buffer.capacity() >= buffer.size(), "capacity");
    require((buffer.capacity() & (buffer.capacity() - 1)) == 0, "capacity is a power of two");
    require(buffer.compare(model.c_str(), model.size()), "comparison with the same");
    require(!buffer.compare(model.data(), model.size() + 1), "comparison with a longer one");
    require(!buffer.compare(nullptr, model.size()), "comparison with nothing");
}

/// A copy that goes its own way, and comes back.
void copyThere(ByteBuffer& buffer, std::string& model, std::size_t failing,
               const std::string& text) {
    ByteBuffer other(text.data(), text.size());
    if (carriedOut(failing, [&] { other = buffer; })) {
        compare(other, model);
        other.append("x", 1);
        compare(buffer, model);
        const ByteBuffer copy(other);
        compare(copy, model + "x");
    } else {
        compare(other, text);
    }
}

void step(FuzzInput& input, ByteBuffer& buffer, std::string& model) {
    const unsigned operation = input.byte();
    const std::size_t failing = input.byte() % 8;
    const auto position = static_cast<std::size_t>(input.number());
    const std::string text = input.text();
    switch (operation % 5) {
        case 0:
            if (carriedOut(failing, [&] { buffer.append(text.data(), text.size()); })) {
                model += text;
            }
            return;
        case 1: {
            // Of its own bytes.
            const std::size_t from = std::min(position, model.size());
            const std::size_t length = std::min(text.size(), model.size() - from);
            if (carriedOut(failing, [&] { buffer.append(buffer.data() + from, length); })) {
                model += std::string(model, from, length);
            }
            return;
        }
        case 2: {
            const icu::UnicodeString source = icu::UnicodeString::fromUTF8(text);
            const bool done = carriedOut(failing, [&] { buffer.set(source, "UTF-8"); });
            model = done ? utf8Of(source) : std::string();
            return;
        }
        case 3:
            return copyThere(buffer, model, failing, text);
        default:
            buffer.clear();
            model.clear();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    ByteBuffer buffer(input.byte());
    std::string model;
    while (!input.isEmpty() && model.size() < LARGEST) {
        step(input, buffer, model);
        compare(buffer, model);
    }
    return 0;
}
