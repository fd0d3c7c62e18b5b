#include "infra/detail/kelRaise.h"

#include <new>

#include "infra/detail/kelUnicodeBuffer.h"

namespace nx::oss::detail {

namespace {

// Identifiers and file names of the library are plain ASCII.
icu::UnicodeString fromLiteral(const char* text) {
    return requireText(icu::UnicodeString(text, -1, US_INV));
}

}  // namespace

Message& recordError(MessageList& messages, const ErrorSite& site) {
    // Why: the record is filled where it stays, which spares a copy of everything in it. It is
    // reached without getFirstMessage() because that is a trace point.
    messages.addMessage(Message());
    auto& message = const_cast<Message&>(*messages.getHead());
    message.setMessageID(fromLiteral(site.identifier));
    if (site.fileName != nullptr) {
        message.setFileName(fromLiteral(site.fileName));
    }
    message.setLineNumber(site.line);
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
