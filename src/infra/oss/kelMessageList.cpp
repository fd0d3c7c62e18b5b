#include <infra/oss/kelMessageList.h>

#include <infra/oss/kelNLSException.h>

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

// Records that no list owns yet.
struct MessageList::Chain {
    Chain() = default;
    Chain(const Chain&) = delete;
    Chain& operator=(const Chain&) = delete;
    ~Chain() { destroy(head); }

    static void destroy(Message* first) {
        while (first != nullptr) {
            delete std::exchange(first, first->next_);
        }
    }

    static void emptyList(MessageList& list) {
        destroy(std::exchange(list.head_, nullptr));
        list.tail_ = nullptr;
        list.cursor_ = nullptr;
        list.count_ = 0;
    }

    void append(const Message& message) {
        auto* const record = new Message(message);
        (tail == nullptr ? head : tail->next_) = record;
        tail = record;
        ++count;
    }

    void moveToEndOf(MessageList& list) {
        if (head == nullptr) {
            return;
        }
        (list.tail_ == nullptr ? list.head_ : list.tail_->next_) = std::exchange(head, nullptr);
        list.tail_ = tail;
        list.count_ += count;
    }

    Message* head = nullptr;
    Message* tail = nullptr;
    unsigned long count = 0;
};

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
        Chain copies;
        for (const Message* record = other.head_; record != nullptr; record = record->next_) {
            copies.append(*record);
        }
        Chain::emptyList(*this);
        copies.moveToEndOf(*this);
    }
    return *this;
}

MessageList::~MessageList() {
    TraceExit trace(TracePoint::MESSAGE_LIST_DESTROY);
    clear();
}

void MessageList::addMessage(const Message& message) {
    TraceScope trace(TracePoint::MESSAGE_LIST_ADD_MESSAGE);
    append(new Message(message));
}

Message& MessageList::addRecord() {
    TraceScope trace(TracePoint::MESSAGE_LIST_ADD_MESSAGE);
    return append(new Message());
}

Message& MessageList::append(Message* record) {
    (tail_ == nullptr ? head_ : tail_->next_) = record;
    tail_ = record;
    ++count_;
    return *record;
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
    // The copies are complete before the first of them is linked in. That also ends the walk of a
    // list that is joined into itself.
    Chain copies;
    for (const Message* record = other.head_; record != nullptr; record = record->next_) {
        TraceScope traceAdd(TracePoint::MESSAGE_LIST_ADD_MESSAGE);
        copies.append(*record);
    }
    copies.moveToEndOf(*this);
}

void MessageList::clear() {
    TraceScope trace(TracePoint::MESSAGE_LIST_CLEAR);
    Chain::emptyList(*this);
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
