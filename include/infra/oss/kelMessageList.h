#pragma once

#include <infra/oss/kelExport.h>
#include <infra/oss/kelMessage.h>

namespace nx::oss {

/// The ordered collection of diagnostic records that every exception carries.
///
/// The list owns copies of the records it is given; no record is shared with the caller or with
/// another list. The records form a singly linked chain that can be read in three ways:
///
/// - the first record, which names the error: getFirstMessage();
/// - a walk with the list's own cursor: getFirstMsg(), then getNextMsg() until it returns null;
/// - a walk that leaves the list untouched, for const lists: getHead(), then Message::getNext().
///
/// References and pointers to records stay valid until the list is cleared or destroyed.
///
/// Allocation failure (std::bad_alloc) leaves the list as it was.
///
/// Thread-safety: not synchronised; a list, its cursor included, belongs to one thread at a time.
class KELINFRA_EXPORT MessageList {
  public:
    /// Empty.
    MessageList();
    /// A list with a copy of one record.
    MessageList(const Message& message);
    /// Copies of all records of `other` in the same order. The cursor is not copied.
    MessageList(const MessageList& other);
    /// Replaces the records by copies of those of `other`. Assigning a list to itself does nothing.
    MessageList& operator=(const MessageList& other);
    ~MessageList();

    /// Appends a copy of `message`. Constant time. The cursor stays where it is.
    void addMessage(const Message& message);
    /// Puts a copy of `message` in front of the first record. Constant time. The cursor stays where
    /// it is.
    void insertMessage(const Message& message);
    /// Appends copies of all records of `other` in their order.
    ///
    /// Joining a list into itself is a mistake of the caller; it appends the records that the list
    /// had at entry once more.
    void join(const MessageList& other);
    /// Destroys all records and resets the cursor.
    void clear();

    /// Number of records, modulo 2^32.
    unsigned int count() const;
    /// Whether there is no record.
    bool isEmpty() const;

    /// The first record, null when the list is empty.
    const Message* getHead() const;

    /// The first record, whatever its level.
    ///
    /// Throws NLSException "ERR_MSGLIST_EMPTY" without arguments when the list is empty.
    Message& getFirstMessage();
    const Message& getFirstMessage() const;

    /// The first record, null when the list is empty; sets the cursor to the record after it.
    const Message* getFirstMsg();
    /// The record under the cursor, which moves on to the next one; null when there is none.
    ///
    /// Before the first getFirstMsg() there is none. A record that is appended while the cursor
    /// still stands on one is reached; once the cursor has run off the end, later additions are
    /// not.
    const Message* getNextMsg();
    /// Whether getNextMsg() will return a record.
    bool hasMoreMsgs() const;

  private:
    struct Chain;
    friend Message& detail::recordError(MessageList& messages, const detail::ErrorSite& site);

    /// As addMessage(Message()), without the copy.
    KELINFRA_INTERNAL Message& addRecord();
    KELINFRA_INTERNAL Message& append(Message* record);

    Message* head_ = nullptr;
    Message* tail_ = nullptr;
    Message* cursor_ = nullptr;
    unsigned long count_ = 0;
};

}  // namespace nx::oss
