#include "kelitem/kelItemDump.h"

#include <infra/oss/kelMessage.h>

#include <algorithm>
#include <cstdio>
#include <vector>

#include "kelitem/kelItemLength.h"

namespace tools {

namespace {

constexpr std::size_t ROW = 16;
constexpr std::size_t BLOCK = 65536;

/// "  00000010  68 65 6c ...  |hel...|"
std::string hexRow(std::string_view bytes, std::size_t offset) {
    char text[32];
    std::snprintf(text, sizeof text, "  %08zx ", offset);
    std::string row = text;
    std::string letters;
    for (std::size_t i = 0; i < ROW; ++i) {
        row += i == ROW / 2 ? "  " : " ";
        if (i < bytes.size()) {
            const auto byte = static_cast<unsigned char>(bytes[i]);
            std::snprintf(text, sizeof text, "%02x", byte);
            row += text;
            letters += byte >= 0x20 && byte < 0x7F ? static_cast<char>(byte) : '.';
        } else {
            row += "  ";
        }
    }
    return row + "  |" + letters + "|";
}

/// Reads items off a stream and prints them.
class ItemDump {
  public:
    ItemDump(InputFile& input, const DumpOptions& options) : input_(input), options_(options) {}

    ExitStatus run() {
        ExitStatus status = ALL_WELL;
        LengthPrefix prefix{};
        for (;;) {
            const std::size_t length = input_.read(prefix.data(), prefix.size());
            if (length == 0) {
                break;
            }
            ++items_;
            if (length < PREFIX_SIZE) {
                complain("the stream ends inside the length of item " + std::to_string(items_) +
                         ", at offset " + std::to_string(offset_) + ": " + std::to_string(length) +
                         " of 4 bytes");
                status = PROBLEM_FOUND;
                break;
            }
            if (!show(lengthIn(prefix))) {
                status = PROBLEM_FOUND;
                break;
            }
        }
        print(counted(status == ALL_WELL ? items_ : items_ - 1, "item") + ", " +
              counted(bytes_, "byte"));
        return status;
    }

  private:
    bool show(unsigned long announced) {
        print(paint(Colour::BOLD, "item " + std::to_string(items_)) + ": offset " +
              std::to_string(offset_) + ", " + counted(announced, "byte"));
        if (announced > options_.maxLength) {
            refuse(announced);
            return false;
        }
        std::string start(std::min(announced, options_.shownBytes), '\0');
        unsigned long received = input_.read(start.data(), start.size());
        start.resize(received);
        showBytes(start, announced);
        received +=
            received == std::min(announced, options_.shownBytes) ? skip(announced - received) : 0;
        if (received < announced) {
            complain("the stream ends inside item " + std::to_string(items_) + ": " +
                     std::to_string(received) + " of " + std::to_string(announced) + " bytes");
            return false;
        }
        offset_ += PREFIX_SIZE + announced;
        bytes_ += announced;
        return true;
    }

    /// The record that the library makes of it on a connection.
    void refuse(unsigned long announced) const {
        nx::oss::Message message;
        message.setMessageID("ERR_DEST_BUFFER_TOO_SMALL");
        message.setMessageText("");
        message.addArgument(options_.maxLength);
        message.addArgument(announced);
        complain(describe(message));
        complain("item " + std::to_string(items_) + " announces " + std::to_string(announced) +
                 " bytes, above the limit of " + std::to_string(options_.maxLength) +
                 "; either this is no stream of items, or --max-length has to allow more");
    }

    void showBytes(const std::string& bytes, unsigned long announced) const {
        if (options_.asText && !bytes.empty()) {
            print("  " + printable(bytes));
        }
        for (std::size_t i = 0; !options_.asText && i < bytes.size(); i += ROW) {
            print(hexRow(std::string_view(bytes).substr(i, ROW), i));
        }
        if (bytes.size() < announced && bytes.size() == options_.shownBytes &&
            options_.shownBytes != 0) {
            print("  ...");
        }
    }

    unsigned long skip(unsigned long length) {
        std::vector<char> block(std::min<unsigned long>(length, BLOCK));
        unsigned long skipped = 0;
        while (skipped < length) {
            const std::size_t count =
                input_.read(block.data(), std::min<unsigned long>(length - skipped, block.size()));
            if (count == 0) {
                break;
            }
            skipped += count;
        }
        return skipped;
    }

    InputFile& input_;
    const DumpOptions& options_;
    unsigned long items_ = 0;
    unsigned long bytes_ = 0;
    unsigned long offset_ = 0;
};

}  // namespace

ExitStatus dumpItems(InputFile& input, const DumpOptions& options) {
    return ItemDump(input, options).run();
}

}  // namespace tools
