// Feeds a list of operations to a Message, now and then with a failing allocation, and compares all
// its fields and its text form with a plain structure after each.
//
// Input: operations, each a letter, the number of the allocation that fails, a number of eight
// bytes and two texts.

#include <cstring>
#include <optional>
#include <vector>

#include <infra/oss/kelMessage.h>

#include "kelFuzzFaults.h"
#include "kelFuzzInput.h"

namespace {

using nx::oss::Message;
/// Nothing stands for ICU's bogus state.
using Text = std::optional<std::u16string>;

struct Model {
    Text id;
    Text text;
    Text fileName;
    int level = 2;
    unsigned long line = 0;
    std::vector<std::u16string> arguments;
};

struct Step {
    explicit Step(FuzzInput& input)
        : operation(input.byte()),
          failing(input.byte() % 16),
          number(input.word()),
          text(input.units()),
          bytes(input.shortText()) {}

    Message::Level level() const { return static_cast<Message::Level>(number % 16); }

    unsigned operation;
    std::size_t failing;
    std::uint64_t number;
    std::u16string text;
    std::string bytes;
};

std::u16string decoded(const char* bytes) { return unitsOf(icu::UnicodeString::fromUTF8(bytes)); }

std::u16string printed(const char* format, std::uint64_t number) {
    char text[32];
    std::snprintf(text, sizeof text, format, number);
    return decoded(text);
}

std::u16string lowBits(std::uint64_t number) {
    return decoded(std::to_string(static_cast<std::int32_t>(number)).c_str());
}

std::u16string quotedHex(const std::string& bytes) {
    std::u16string form = u"X'";
    for (const char byte : bytes) {
        form += printed("%02lx", static_cast<unsigned char>(byte));
    }
    return form + u"'";
}

/// What the operation does and, if it was carried out, what comes of it. Setting a record from
/// parts clears it first, and leaves it so when it fails.
class Sequence {
  public:
    void carryOut(const Step& step) {
        const unsigned operation = step.operation % 14;
        if (operation < 4) {
            setPart(operation, step);
        } else if (operation < 10) {
            addArgument(operation, step);
        } else {
            setAll(operation, step);
        }
    }

    void compare() const {
        require(same(message_.getMessageID(), model_.id), "identifier");
        require(same(message_.getMessageText(), model_.text), "text");
        require(same(message_.getFileName(), model_.fileName), "file name");
        require(message_.getMessageLevel() == model_.level, "level");
        require(message_.isSevere() == (model_.level == 1), "severity");
        require(message_.getLineNumber() == model_.line, "line");
        std::vector<std::u16string> arguments;
        for (const auto& argument : message_.getMessageArgs()) {
            arguments.push_back(unitsOf(argument));
        }
        require(arguments == model_.arguments, "arguments");
        require(message_.getMessageArgsCount() == arguments.size(), "number of arguments");
        std::u16string form = model_.id.value_or(u"") + u": [" + model_.text.value_or(u"") +
                              (arguments.empty() ? u"]" : u"] -");
        for (const std::u16string& argument : arguments) {
            form += u" [" + argument + u"]";
        }
        icu::UnicodeString out;
        out.setToBogus();
        require(unitsOf(message_.toString(out)) == form, "text form");
    }

  private:
    static bool same(const icu::UnicodeString& found, const Text& wanted) {
        return wanted ? !found.isBogus() && unitsOf(found) == *wanted : found.isBogus() != 0;
    }

    template <class Operation>
    void attempt(const Step& step, const Model& next, const Operation& operation) {
        if (carriedOut(step.failing, operation)) {
            model_ = next;
        }
    }

    void setPart(unsigned operation, const Step& step) {
        const icu::UnicodeString text = icuOf(step.text);
        const char* const bytes = step.bytes.c_str();
        Model next = model_;
        switch (operation) {
            case 0:
                next.id = step.text;
                return attempt(step, next, [&] { message_.setMessageID(text); });
            case 1:
                next.text = decoded(bytes);
                return attempt(step, next, [&] { message_.setFormattedMessage(bytes); });
            case 2:
                next.fileName = decoded(bytes);
                return attempt(step, next, [&] { message_.setFileName(bytes); });
            default:
                next.level = step.level();
                next.line = step.number;
                return attempt(step, next, [&] {
                    message_.setMessageLevel(step.level());
                    message_.setLineNumber(step.number);
                });
        }
    }

    void addArgument(unsigned operation, const Step& step) {
        const icu::UnicodeString text = icuOf(step.text);
        const char* const bytes = step.bytes.c_str();
        Model next = model_;
        switch (operation) {
            case 4:
                next.arguments.push_back(step.text);
                return attempt(step, next, [&] { message_.addArgument(text); });
            case 5:
                if (*bytes != '\0') {
                    next.arguments.push_back(decoded(bytes));
                }
                return attempt(step, next, [&] { message_.addArgument(bytes, "UTF-8"); });
            case 6:
                next.arguments.push_back(lowBits(step.number));
                return attempt(step, next, [&] { message_.addArgument(step.number); });
            case 7: {
                double value = 0;
                std::memcpy(&value, &step.number, sizeof value);
                next.arguments.push_back(lowBits(step.number));
                return attempt(step, next, [&] { message_.addArgument(value); });
            }
            case 8:
                next.arguments.push_back(printed("X'%lX'", step.number));
                return attempt(step, next, [&] { message_.addArgumentAsHex(step.number, true); });
            default:
                if (!step.bytes.empty()) {
                    next.arguments.push_back(quotedHex(step.bytes));
                }
                return attempt(step, next, [&] {
                    message_.addBinary(step.bytes.data(), static_cast<int>(step.bytes.size()));
                });
        }
    }

    void setAll(unsigned operation, const Step& step) {
        const icu::UnicodeString id = icuOf(step.text);
        const char* const bytes = step.bytes.c_str();
        const icu::UnicodeString text = icu::UnicodeString::fromUTF8(bytes);
        if (operation == 12) {
            return assign(step);
        }
        model_ = {};
        if (operation == 10) {
            const Model next{step.text, {}, decoded(bytes), step.level(), step.number, {}};
            return attempt(step, next,
                           [&] { message_.setMessage(id, step.level(), bytes, step.number); });
        }
        if (operation == 11) {
            const Model next{step.text, decoded(bytes), {}, step.level(), 0, {}};
            return attempt(step, next, [&] { message_.setMessage(id, text, step.level()); });
        }
        message_.clear();
    }

    /// Takes itself out of a copy that was added to; then one of the two goes on.
    void assign(const Step& step) {
        Message other(message_);
        other.addArgument(icuOf(step.text));
        Model next = model_;
        next.arguments.push_back(step.text);
        if (step.number % 2 != 0) {
            return attempt(step, next, [&] { message_ = other; });
        }
        attempt(step, next, [&] { message_.setMessage(other); });
    }

    Message message_;
    Model model_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    Sequence sequence;
    while (!input.isEmpty()) {
        sequence.carryOut(Step(input));
        sequence.compare();
    }
    return 0;
}
