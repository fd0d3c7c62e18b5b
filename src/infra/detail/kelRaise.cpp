#include "infra/detail/kelRaise.h"

#include <new>

#include "infra/detail/kelUnicodeBuffer.h"

namespace nx::oss::detail {

void recordError(MessageList& messages, const ErrorSite& site) {
    Message message;
    message.setMessageID(site.identifier);
    message.setFileName(site.fileName);
    message.setLineNumber(site.line);
    messages.addMessage(message);
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
