// Feeds a list of operations to a DataBuffer and to a slow model of it and compares the contents,
// the capacities and the results after each.
//
// Input: operations, each a letter, a position in two bytes, a length in two bytes and that many
// bytes of text.

#include <string>
#include <string_view>

#include <infra/oss/kelDataBuffer.h>

#include "kelFuzzInput.h"
#include "reference/kelTextBufferModel.h"

namespace {

using nx::oss::DataBuffer;
using nx::test::TextBufferModel;

constexpr std::size_t LARGEST = 1 << 20;

void replace(DataBuffer& buffer, TextBufferModel& model, const std::string& text,
             const std::string& replacement, int n, int count) {
    const int made = text.empty() || count < 1 ? 0 : model.replace(text, replacement, n, count);
    require(buffer.replace(text.c_str(), replacement.c_str(), n, count) == made, "replacements");
}

void step(FuzzInput& input, DataBuffer& buffer, TextBufferModel& model) {
    const unsigned operation = input.byte();
    const int position = input.number() - 8;
    const std::string text = input.text();
    const std::string terminated = text.c_str();
    switch (operation % 6) {
        case 0:
            buffer.saveString(position, text.data(), static_cast<int>(text.size()));
            model.insert(position, text, static_cast<int>(text.size()));
            break;
        case 1:
            buffer.insertString(position, terminated.c_str());
            model.insert(position, terminated, static_cast<int>(terminated.size()));
            break;
        case 2:
            replace(buffer, model, terminated, std::string(input.text().c_str()), position,
                    static_cast<int>(input.byte()));
            break;
        case 3: {
            const bool found = !terminated.empty();
            require(buffer.indexOf(position, terminated.c_str()) ==
                        (found ? model.indexOf(position, terminated) : -1),
                    "first match");
            require(buffer.occurrences(terminated.c_str()) ==
                        (found ? model.occurrences(terminated) : 0),
                    "matches");
            break;
        }
        case 4:
            buffer.insertString(position, buffer);
            model.insert(position, std::string(model.content),
                         static_cast<int>(model.content.size()));
            break;
        default:
            buffer.clear();
            model = TextBufferModel();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    DataBuffer buffer;
    TextBufferModel model;
    while (!input.isEmpty() && model.content.size() < LARGEST) {
        step(input, buffer, model);
        require(std::string_view(buffer.getString(), static_cast<std::size_t>(buffer.length())) ==
                    model.content,
                "content");
        require(buffer.getString()[buffer.length()] == '\0', "terminator");
        require(buffer.capacity() == model.capacity, "capacity");
    }
    return 0;
}
