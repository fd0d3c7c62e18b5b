#include "infra/detail/kelRaise.h"

#include <cstring>
#include <new>

#include "infra/detail/kelUnicodeBuffer.h"

namespace nx::oss::detail {

namespace {

// Identifiers and file names of the library are plain ASCII.
void assignLiteral(icu::UnicodeString& field, const char* text) {
    assignLatin1(field, text, std::strlen(text));
}

}  // namespace

// Why: the record is filled where it stays, which spares copies of everything in it.
Message& recordError(MessageList& messages, const ErrorSite& site) {
    Message& message = messages.addRecord();
    assignLiteral(message.id_, site.identifier);
    if (site.fileName != nullptr) {
        assignLiteral(message.fileName_, site.fileName);
    }
    message.lineNumber_ = site.line;
    return message;
}

void addErrorArgument(Message& message, std::string_view text) {
    message.addArgument(requireText(icu::UnicodeString::fromUTF8(
        icu::StringPiece(text.data(), static_cast<int32_t>(text.size())))));
}

void addErrorArgument(Message& message, const char* text) {
    addErrorArgument(message, text == nullptr ? std::string_view() : std::string_view(text));
}

void addErrorArgument(Message& message, const icu::UnicodeString& text) {
    message.addArgument(text);
}

void raiseBadAlloc() { throw std::bad_alloc(); }

}  // namespace nx::oss::detail
