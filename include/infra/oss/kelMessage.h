#pragma once

#include <list>

#include <unicode/fmtable.h>
#include <unicode/unistr.h>

#include <infra/oss/kelExport.h>

namespace nx::oss {

class Message;
class MessageList;

namespace detail {
struct ErrorSite;
Message& recordError(MessageList& messages, const ErrorSite& site);
}  // namespace detail

/// One diagnostic record: what went wrong, where it was noticed, and the values involved.
///
/// A record holds a symbolic identifier such as "ERR_BUFFER_SIZE_TOO_SMALL", an optional text, a
/// level, the raising source file and line, and an ordered list of arguments. Arguments are kept as
/// text: numbers are converted when they are added. Records travel inside a MessageList, which
/// every exception of the library carries (see BaseException).
///
/// Plain data without virtual operations, copied by value. A record owns everything it holds except
/// the link to its successor, which belongs to the MessageList that contains it. Nothing here
/// raises an error of the library: unusable input is dropped, as each operation says. Only the
/// allocator's exception (std::bad_alloc) can leave an operation, and then the record is as it was
/// before, or cleared where setMessage begins with clear().
///
/// Null and empty strings: "null" below is ICU's bogus state of icu::UnicodeString. It prints like
/// an empty string and is told apart with isBogus().
///
/// Code pages: a code page is an ICU converter name. A null or empty name means ICU's default
/// converter, which is UTF-8 on this platform whatever the process locale.
///
/// Thread-safety: not synchronised; one thread at a time uses a record.
class KELINFRA_EXPORT Message {
  public:
    /// Severity. The underlying type is fixed: a value outside the enumerators is stored and
    /// returned as given.
    enum Level : int {
        SEVERE = 1,   ///< the only level for which isSevere() holds
        DEFAULT = 2,  ///< every new or cleared record
        LEVEL_4 = 4,  ///< no meaning of its own
        LEVEL_8 = 8   ///< no meaning of its own
    };

    /// A cleared record: identifier, text and file name null, level DEFAULT, line 0, no arguments.
    Message();

    /// Identifier, level and position. The text is empty, not null. `fileName` is NUL-terminated
    /// text in the default code page; null gives an empty file name.
    Message(const icu::UnicodeString& id, Level level, const char* fileName,
            unsigned long lineNumber);

    /// Identifier, text and level. The file name is empty, not null; the line is 0.
    Message(const icu::UnicodeString& id, const icu::UnicodeString& text, Level level);

    /// A copy of everything but the link to the next record.
    Message(const Message& other);

    /// As setMessage(other), but assigning a record to itself leaves it as it is.
    Message& operator=(const Message& other);

    ~Message();

    /// Back to the state of a default-constructed record. The link to the next record stays.
    void clear();

    /// clear(), then identifier, level, file name and line. The text stays null.
    ///
    /// Careful: clearing comes first, so an argument that refers into this very record is lost.
    void setMessage(const icu::UnicodeString& id, Level level, const char* fileName,
                    unsigned long lineNumber);

    /// clear(), then identifier, text and level. The file name stays null, the line 0.
    ///
    /// Careful: clearing comes first, so an argument that refers into this very record is lost.
    void setMessage(const icu::UnicodeString& id, const icu::UnicodeString& text, Level level);

    /// clear(), then everything of `other` but its link to the next record.
    ///
    /// Careful: clearing comes first, so `m.setMessage(m)` leaves `m` cleared.
    void setMessage(const Message& other);

    /// Replaces the identifier.
    void setMessageID(const icu::UnicodeString& id);
    /// Replaces the identifier. `id` is NUL-terminated text in the default code page; null gives an
    /// empty identifier.
    void setMessageID(const char* id);
    /// Same as setMessageID.
    void setMessageCode(const icu::UnicodeString& code);
    /// Same as setMessageID.
    void setMessageCode(const char* code);
    /// The identifier. The reference stays valid until the record is changed or destroyed.
    const icu::UnicodeString& getMessageID() const;
    /// Same as getMessageID.
    const icu::UnicodeString& getMessageCode() const;

    /// Replaces the text. Message text and formatted message are one field with two names.
    void setMessageText(const icu::UnicodeString& text);
    /// Replaces the text. `text` is NUL-terminated text in the default code page; null gives an
    /// empty text.
    void setMessageText(const char* text);
    /// Same as setMessageText.
    void setFormattedMessage(const icu::UnicodeString& text);
    /// Same as setMessageText.
    void setFormattedMessage(const char* text);
    /// The text. The reference stays valid until the record is changed or destroyed.
    const icu::UnicodeString& getMessageText() const;
    /// Same as getMessageText.
    const icu::UnicodeString& getFormattedMessage() const;

    /// Stores the level unchanged; nothing is validated.
    void setMessageLevel(Level level);
    /// The level as it was set, also one outside the enumerators.
    Level getMessageLevel() const;
    /// True exactly when the level is SEVERE.
    bool isSevere() const;
    /// The level with that number; every number but 1, 4 and 8 gives DEFAULT.
    static Level uintToMessageLevel(unsigned long number);

    /// Replaces the name of the raising source file. `fileName` is NUL-terminated text in the
    /// default code page; null gives an empty name.
    void setFileName(const char* fileName);
    /// Replaces the name of the raising source file.
    void setFileName(const icu::UnicodeString& fileName);
    /// The name of the raising source file. The reference stays valid until the record is changed
    /// or destroyed.
    const icu::UnicodeString& getFileName() const;
    /// Replaces the line in the raising source file.
    void setLineNumber(unsigned long lineNumber);
    /// The line in the raising source file.
    unsigned long getLineNumber() const;

    /// The arguments in the order they were added. The reference stays valid as long as the record.
    const std::list<icu::UnicodeString>& getMessageArgs() const;
    /// Number of arguments, counted by walking the list: linear time.
    unsigned long getMessageArgsCount() const;

    /// Appends `text` as one argument, even when it is empty or null.
    void addArgument(const icu::UnicodeString& text);
    /// Appends NUL-terminated text in `codePage`. A null or empty `text` adds nothing.
    ///
    /// Careful: `addArgument("abc")` without a code page takes the UnicodeString form, so
    /// `addArgument("")` adds an empty argument while `addArgument("", nullptr)` adds none.
    /// Text in an unknown code page adds a null argument.
    void addArgument(const char* text, const char* codePage);
    /// Appends exactly `length` bytes of `data` in `codePage`, embedded NULs included. A null
    /// `data` or a length below 1 adds nothing.
    void addArgument(const char* data, int length, const char* codePage);

    /// Appends the number as addMessageArg() does.
    ///
    /// Careful: integers are shown modulo 2^32 as signed values. 4000000000u shows as "-294967296"
    /// and 5000000000L as "705032704".
    void addArgument(long value);
    void addArgument(int value);
    void addArgument(short value);
    void addArgument(signed char value);
    void addArgument(unsigned long value);
    void addArgument(unsigned int value);
    void addArgument(unsigned short value);
    void addArgument(unsigned char value);
    /// Appends the number as addMessageArg() does.
    ///
    /// Careful: shows the low 32 bits of the IEEE 754 bit pattern as a signed integer, not the
    /// value. 1.5 shows as "0", 0.1 as "-1717986918".
    void addArgument(double value);
    /// Widened to double, then as addArgument(double).
    void addArgument(float value);

    /// Appends `value` in hexadecimal without leading zeros, as "X'FF'" (`upperCase`) or "X'ff'".
    void addArgumentAsHex(unsigned long value, bool upperCase);

    /// Appends `length` bytes in the binary text form of DataBuffer, lower case: 0x01 0xAB 0xFF
    /// gives "X'01abff'". A null `data` or a length below 1 adds nothing.
    void addBinary(const char* data, int length);

    /// Appends a formattable value by its type.
    ///
    /// - double, long and 64-bit integer: the first 32 bits of the value's storage as a signed
    ///   decimal number (see the warnings at the number forms of addArgument);
    /// - string: the string unchanged;
    /// - date, array and object: nothing.
    void addMessageArg(const icu::Formattable& value);

    /// Renders "identifier: [text]", followed by " -" and " [argument]" for each argument when
    /// there are any: "ERR_BUFFER_SIZE_TOO_SMALL: [] - [64]".
    ///
    /// Replaces the content of `out`, whatever its state, and returns it. Level, file name and line
    /// never appear. When memory is exhausted `out` is null and the record as before.
    icu::UnicodeString& toString(icu::UnicodeString& out) const;

    /// The record that follows in the MessageList this record belongs to; null for the last one and
    /// outside a list. Not owned.
    const Message* getNext() const;

  private:
    friend class MessageList;
    friend Message& detail::recordError(MessageList& messages, const detail::ErrorSite& site);

    icu::UnicodeString id_;
    icu::UnicodeString text_;
    Level level_ = DEFAULT;
    icu::UnicodeString fileName_;
    unsigned long lineNumber_ = 0;
    std::list<icu::UnicodeString> arguments_;
    Message* next_ = nullptr;
};

}  // namespace nx::oss
