#include <infra/oss/kelMessageList.h>

#include <infra/oss/kelNLSException.h>

#include <memory>
#include <utility>

#include "infra/detail/kelRaise.h"
#include "infra/detail/kelTraceScope.h"

namespace nx::oss {

using detail::TraceExit;
using detail::TracePoint;
using detail::TraceScope;

namespace {

// The file and the two lines are part of the report that users match on.
constexpr const char* FILE_NAME = "kelMessageList.cpp";
constexpr detail::ErrorSite EMPTY_LIST{"ERR_MSGLIST_EMPTY", FILE_NAME, 262};
constexpr detail::ErrorSite EMPTY_CONST_LIST{"ERR_MSGLIST_EMPTY", FILE_NAME, 292};

}  // namespace

MessageList::MessageList() { TraceExit trace(TracePoint::MESSAGE_LIST_CONSTRUCT); }

MessageList::MessageList(const Message& message) {
    TraceExit trace(TracePoint::MESSAGE_LIST_CONSTRUCT);
    addMessage(message);
}

MessageList::MessageList(const MessageList& other) {
    TraceExit trace(TracePoint::MESSAGE_LIST_CONSTRUCT);
    join(other);
}

MessageList& MessageList::operator=(const MessageList& other) {
    if (this != &other) {
        MessageList copy(other);
        std::swap(head_, copy.head_);
        std::swap(tail_, copy.tail_);
        std::swap(count_, copy.count_);
        cursor_ = nullptr;
    }
    return *this;
}

MessageList::~MessageList() {
    TraceExit trace(TracePoint::MESSAGE_LIST_DESTROY);
    clear();
}

void MessageList::addMessage(const Message& message) {
    TraceScope trace(TracePoint::MESSAGE_LIST_ADD_MESSAGE);
    auto* const record = new Message(message);
    if (tail_ == nullptr) {
        head_ = record;
    } else {
        tail_->next_ = record;
    }
    tail_ = record;
    ++count_;
}

void MessageList::insertMessage(const Message& message) {
    TraceScope trace(TracePoint::MESSAGE_LIST_INSERT_MESSAGE);
    auto* const record = new Message(message);
    record->next_ = head_;
    head_ = record;
    if (tail_ == nullptr) {
        tail_ = record;
    }
    ++count_;
}

void MessageList::join(const MessageList& other) {
    TraceScope trace(TracePoint::MESSAGE_LIST_JOIN);
    if (other.isEmpty()) {
        return;
    }
    // The copies are complete before the first of them is linked in. That also ends the walk of a
    // list that is joined into itself.
    MessageList copies;
    for (const Message* record = other.head_; record != nullptr; record = record->next_) {
        copies.addMessage(*record);
    }
    (tail_ == nullptr ? head_ : tail_->next_) = std::exchange(copies.head_, nullptr);
    tail_ = copies.tail_;
    count_ += copies.count_;
}

void MessageList::clear() {
    TraceScope trace(TracePoint::MESSAGE_LIST_CLEAR);
    while (head_ != nullptr) {
        delete std::exchange(head_, head_->next_);
    }
    tail_ = nullptr;
    cursor_ = nullptr;
    count_ = 0;
}

unsigned int MessageList::count() const { return static_cast<unsigned int>(count_); }

bool MessageList::isEmpty() const { return head_ == nullptr; }

const Message* MessageList::getHead() const { return head_; }

Message& MessageList::getFirstMessage() {
    TraceExit trace(TracePoint::MESSAGE_LIST_GET_FIRST_MESSAGE);
    if (head_ == nullptr) {
        detail::raise<NLSException>(EMPTY_LIST);
    }
    return *head_;
}

const Message& MessageList::getFirstMessage() const {
    TraceExit trace(TracePoint::MESSAGE_LIST_GET_FIRST_MESSAGE);
    if (head_ == nullptr) {
        detail::raise<NLSException>(EMPTY_CONST_LIST);
    }
    return *head_;
}

const Message* MessageList::getFirstMsg() {
    TraceExit trace(TracePoint::MESSAGE_LIST_GET_FIRST_MSG);
    cursor_ = head_ == nullptr ? nullptr : head_->next_;
    return head_;
}

const Message* MessageList::getNextMsg() {
    TraceExit trace(TracePoint::MESSAGE_LIST_GET_NEXT_MSG);
    return cursor_ == nullptr ? nullptr : std::exchange(cursor_, cursor_->next_);
}

bool MessageList::hasMoreMsgs() const { return cursor_ != nullptr; }

}  // namespace nx::oss
