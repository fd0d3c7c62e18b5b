#include "support/kelRaises.h"

namespace nx::test {

Report& Report::at(std::string file, unsigned long line) {
    file_ = std::move(file);
    line_ = line;
    return *this;
}

Report& Report::in(std::string file) {
    file_ = std::move(file);
    line_.reset();
    return *this;
}

Report& Report::with(std::vector<std::string> arguments) {
    arguments_ = std::move(arguments);
    return *this;
}

testing::AssertionResult Report::matches(const oss::BaseException& exception) const {
    const auto count = exception.messages.count();
    if (count != 1) {
        return testing::AssertionFailure() << count << " records instead of one";
    }
    const oss::Message& message = exception.messages.getFirstMessage();
    if (utf8(message.getMessageID()) != identifier_) {
        return testing::AssertionFailure() << "identifier is " << utf8(message.getMessageID());
    }
    if (file_ && utf8(message.getFileName()) != *file_) {
        return testing::AssertionFailure() << "file is " << utf8(message.getFileName());
    }
    if (line_ ? message.getLineNumber() != *line_ : message.getLineNumber() == 0) {
        return testing::AssertionFailure() << "line is " << message.getLineNumber();
    }
    if (message.getMessageLevel() != oss::Message::DEFAULT) {
        return testing::AssertionFailure() << "level is " << message.getMessageLevel();
    }
    std::vector<std::string> arguments;
    for (const auto& argument : message.getMessageArgs()) {
        arguments.push_back(utf8(argument));
    }
    if (arguments != arguments_) {
        return testing::AssertionFailure() << "arguments are " << testing::PrintToString(arguments)
                                           << " instead of " << testing::PrintToString(arguments_);
    }
    return testing::AssertionSuccess();
}

std::string utf8(const icu::UnicodeString& text) {
    if (text.isBogus()) {
        return "<null>";
    }
    std::string result;
    text.toUTF8String(result);
    return result;
}

}  // namespace nx::test
