// Records, lists, exceptions and build versions.
#include "kelAllocationSweep.h"

namespace nx::test {

using namespace oss;
using icu::UnicodeString;

namespace {

constexpr const char* BYTES = "bytes that make a text which does not fit into the object";
constexpr const char* CLEARED = "<null>|<null>|2|<null>|0";

template <class Operation>
Row onRecord(const char* name, const Operation& operation, Promise promise = {}) {
    return row(name, longRecord, operation, promise);
}

MessageList listOfTwo() {
    MessageList list(Message("A", Message::SEVERE, "f.cpp", 1));
    list.addMessage(longRecord());
    return list;
}

template <class Operation>
Row onList(const char* name, const Operation& operation, Promise promise = {}) {
    return row(name, listOfTwo, operation, promise);
}

/// The rows that every class of exceptions has.
template <class Exception>
void addException(Rows& rows, const std::string& name) {
    const auto named = [&](const std::string& member) { return name + "::" + member; };
    static std::list<std::string> kept;
    const auto keep = [&](const std::string& member) {
        return kept.emplace_back(named(member)).c_str();
    };
    const std::string last = name.substr(name.rfind(':') + 1);
    static const Exception source = [] {
        Exception exception;
        exception.messages = listOfTwo();
        return exception;
    }();
    const auto make = [] { return Exception(source); };
    rows.push_back(builds<Exception>(keep(last + "()"), [](auto& it) { it.emplace(); }));
    rows.push_back(builds<Exception>(keep(last + "(" + name + " const&)"),
                                     [](auto& it) { it.emplace(source); }));
    rows.push_back(row(keep("name() const"), make, [](Exception& e) { return e.name(); }));
    rows.push_back(row(
        keep("operator=(" + name + " const&)"), [] { return Exception(); },
        [](Exception& e) { e = source; }));
    rows.push_back(
        destroys<Exception>(keep("~" + last + "()"), [](auto& it) { it.emplace(source); }));
}

Rows rowsOfRecords() {
    static const Message source("another", Message::SEVERE, LONG, 9);
    static const icu::Formattable number(5.0);
    static const icu::Formattable text(borrowed());
    Rows rows = {
        builds<Message>("Message::Message()", [](auto& it) { it.emplace(); }),
        builds<Message>("Message::Message(icu::UnicodeString const&, icu::UnicodeString const&, "
                        "nx::oss::Message::Level)",
                        [](auto& it) { it.emplace(borrowed(), borrowed(), Message::SEVERE); }),
        builds<Message>("Message::Message(icu::UnicodeString const&, nx::oss::Message::Level, char "
                        "const*, unsigned long)",
                        [](auto& it) { it.emplace(borrowed(), Message::SEVERE, LONG, 5UL); }),
        builds<Message>("Message::Message(nx::oss::Message const&)",
                        [](auto& it) {
                            static const Message original = longRecord();
                            it.emplace(original);
                        }),
        destroys<Message>("Message::~Message()", [](auto& it) { it.emplace(longRecord()); }),
        onRecord("Message::addArgument(char const*, char const*)",
                 [](Message& m) { m.addArgument(BYTES, "Shift_JIS"); }),
        onRecord("Message::addArgument(char const*, char const*)",
                 [](Message& m) { m.addArgument(BYTES, nullptr); }),
        onRecord("Message::addArgument(char const*, int, char const*)",
                 [](Message& m) { m.addArgument(BYTES, 50, "windows-1252"); }),
        onRecord("Message::addArgument(double)", [](Message& m) { m.addArgument(0.1); }),
        onRecord("Message::addArgument(float)", [](Message& m) { m.addArgument(0.1F); }),
        onRecord("Message::addArgument(icu::UnicodeString const&)",
                 [](Message& m) { m.addArgument(borrowed()); }),
        onRecord("Message::addArgument(int)", [](Message& m) { m.addArgument(-5); }),
        onRecord("Message::addArgument(long)", [](Message& m) { m.addArgument(5L); }),
        onRecord("Message::addArgument(short)",
                 [](Message& m) { m.addArgument(static_cast<short>(5)); }),
        onRecord("Message::addArgument(signed char)",
                 [](Message& m) { m.addArgument(static_cast<signed char>(5)); }),
        onRecord("Message::addArgument(unsigned char)",
                 [](Message& m) { m.addArgument(static_cast<unsigned char>(5)); }),
        onRecord("Message::addArgument(unsigned int)", [](Message& m) { m.addArgument(5U); }),
        onRecord("Message::addArgument(unsigned long)", [](Message& m) { m.addArgument(5UL); }),
        onRecord("Message::addArgument(unsigned short)",
                 [](Message& m) { m.addArgument(static_cast<unsigned short>(5)); }),
        onRecord("Message::addArgumentAsHex(unsigned long, bool)",
                 [](Message& m) { m.addArgumentAsHex(~0UL, true); }),
        onRecord("Message::addBinary(char const*, int)",
                 [](Message& m) { m.addBinary(longBytes().data(), 5'000); }),
        onRecord("Message::addMessageArg(icu::Formattable const&)",
                 [](Message& m) { m.addMessageArg(number); }),
        onRecord("Message::addMessageArg(icu::Formattable const&)",
                 [](Message& m) { m.addMessageArg(text); }),
        onRecord("Message::clear()", [](Message& m) { m.clear(); }),
        onRecord(
            "Message::getFileName() const", [](Message & m) -> auto& { return m.getFileName(); }),
        onRecord(
            "Message::getFormattedMessage() const",
            [](Message & m) -> auto& { return m.getFormattedMessage(); }),
        onRecord("Message::getLineNumber() const", [](Message& m) { return m.getLineNumber(); }),
        onRecord("Message::getMessageArgsCount() const",
                 [](Message& m) { return m.getMessageArgsCount(); }),
        onRecord(
            "Message::getMessageArgs[abi:cxx11]() const",
            [](Message & m) -> auto& { return m.getMessageArgs(); }),
        onRecord(
            "Message::getMessageCode() const",
            [](Message & m) -> auto& { return m.getMessageCode(); }),
        onRecord(
            "Message::getMessageID() const", [](Message & m) -> auto& { return m.getMessageID(); }),
        onRecord("Message::getMessageLevel() const",
                 [](Message& m) { return m.getMessageLevel(); }),
        onRecord(
            "Message::getMessageText() const",
            [](Message & m) -> auto& { return m.getMessageText(); }),
        onRecord("Message::getNext() const", [](Message& m) { return m.getNext(); }),
        onRecord("Message::isSevere() const", [](Message& m) { return m.isSevere(); }),
        onRecord("Message::operator=(nx::oss::Message const&)", [](Message& m) { m = source; }),
        onRecord("Message::setFileName(char const*)", [](Message& m) { m.setFileName(BYTES); }),
        onRecord("Message::setFileName(icu::UnicodeString const&)",
                 [](Message& m) { m.setFileName(borrowed()); }),
        onRecord("Message::setFormattedMessage(char const*)",
                 [](Message& m) { m.setFormattedMessage(BYTES); }),
        onRecord("Message::setFormattedMessage(icu::UnicodeString const&)",
                 [](Message& m) { m.setFormattedMessage(borrowed()); }),
        onRecord("Message::setLineNumber(unsigned long)", [](Message& m) { m.setLineNumber(3); }),
        onRecord("Message::setMessage(icu::UnicodeString const&, icu::UnicodeString const&, "
                 "nx::oss::Message::Level)",
                 [](Message& m) { m.setMessage(borrowed(), borrowed(), Message::SEVERE); },
                 {CLEARED}),
        onRecord("Message::setMessage(icu::UnicodeString const&, nx::oss::Message::Level, char "
                 "const*, unsigned long)",
                 [](Message& m) { m.setMessage(borrowed(), Message::SEVERE, LONG, 5); }, {CLEARED}),
        onRecord("Message::setMessage(nx::oss::Message const&)",
                 [](Message& m) { m.setMessage(source); }),
        onRecord("Message::setMessageCode(char const*)",
                 [](Message& m) { m.setMessageCode(BYTES); }),
        onRecord("Message::setMessageCode(icu::UnicodeString const&)",
                 [](Message& m) { m.setMessageCode(borrowed()); }),
        onRecord("Message::setMessageID(char const*)", [](Message& m) { m.setMessageID(BYTES); }),
        onRecord("Message::setMessageID(icu::UnicodeString const&)",
                 [](Message& m) { m.setMessageID(borrowed()); }),
        onRecord("Message::setMessageLevel(nx::oss::Message::Level)",
                 [](Message& m) { m.setMessageLevel(Message::LEVEL_8); }),
        onRecord("Message::setMessageText(char const*)",
                 [](Message& m) { m.setMessageText(BYTES); }),
        onRecord("Message::setMessageText(icu::UnicodeString const&)",
                 [](Message& m) { m.setMessageText(borrowed()); }),
        row(
            "Message::toString(icu::UnicodeString&) const", [] { return UnicodeString("before"); },
            [](UnicodeString& out) {
                static const Message original = longRecord();
                original.toString(out);
            },
            {"<null>"}),
        callOf("Message::uintToMessageLevel(unsigned long)",
               [] { return Message::uintToMessageLevel(4); }),
    };
    return rows;
}

Rows rowsOfLists() {
    static const MessageList two = listOfTwo();
    static const Message one = longRecord();
    const auto none = [] { return MessageList(); };
    return {
        builds<MessageList>("MessageList::MessageList()", [](auto& it) { it.emplace(); }),
        builds<MessageList>("MessageList::MessageList(nx::oss::Message const&)",
                            [](auto& it) { it.emplace(one); }),
        builds<MessageList>("MessageList::MessageList(nx::oss::MessageList const&)",
                            [](auto& it) { it.emplace(two); }),
        destroys<MessageList>("MessageList::~MessageList()", [](auto& it) { it.emplace(two); }),
        onList("MessageList::addMessage(nx::oss::Message const&)",
               [](MessageList& l) { l.addMessage(one); }),
        onList("MessageList::clear()", [](MessageList& l) { l.clear(); }),
        onList("MessageList::count() const", [](MessageList& l) { return l.count(); }),
        onList(
            "MessageList::getFirstMessage()",
            [](MessageList & l) -> auto& { return l.getFirstMessage(); }),
        row(
            "MessageList::getFirstMessage()", none,
            [](MessageList & l) -> auto& { return l.getFirstMessage(); }),
        onList(
            "MessageList::getFirstMessage() const",
            [](MessageList & l) -> auto& { return std::as_const(l).getFirstMessage(); }),
        row(
            "MessageList::getFirstMessage() const", none,
            [](MessageList & l) -> auto& { return std::as_const(l).getFirstMessage(); }),
        onList("MessageList::getFirstMsg()", [](MessageList& l) { return l.getFirstMsg(); }),
        onList("MessageList::getHead() const", [](MessageList& l) { return l.getHead(); }),
        onList("MessageList::getNextMsg()", [](MessageList& l) { return l.getNextMsg(); }),
        onList("MessageList::hasMoreMsgs() const", [](MessageList& l) { return l.hasMoreMsgs(); }),
        onList("MessageList::insertMessage(nx::oss::Message const&)",
               [](MessageList& l) { l.insertMessage(one); }),
        onList("MessageList::isEmpty() const", [](MessageList& l) { return l.isEmpty(); }),
        onList("MessageList::join(nx::oss::MessageList const&)",
               [](MessageList& l) { l.join(two); }),
        onList("MessageList::operator=(nx::oss::MessageList const&)",
               [](MessageList& l) {
                   static const MessageList other(one);
                   l = other;
               }),
    };
}

Rows rowsOfExceptions() {
    Rows rows;
    addException<BaseException>(rows, "nx::oss::BaseException");
    addException<IOException>(rows, "nx::oss::IOException");
    addException<NLSException>(rows, "nx::oss::NLSException");
    addException<SocketException>(rows, "nx::oss::SocketException");
    addException<util::Base64Exception>(rows, "nx::util::Base64Exception");
    addException<util::PropertiesException>(rows, "nx::util::PropertiesException");
    rows.push_back(row(
        "BaseException::what() const", [] { return BaseException(); },
        [](BaseException& e) { return e.what(); }));
    rows.push_back(builds<SocketException>(
        "SocketException::SocketException(char const*, char const*, unsigned long, "
        "icu::UnicodeString const*, unsigned long)",
        [](auto& it) { it.emplace(LONG, "f.cpp", 1UL, &borrowed(), 80UL); }));
    rows.push_back(builds<SocketException>(
        "SocketException::SocketException(char const*, unsigned long, icu::UnicodeString const*, "
        "unsigned long, long)",
        [](auto& it) { it.emplace(LONG, 1UL, &borrowed(), 80UL, 5L); }));
    return rows;
}

Rows rowsOfVersions() {
    static const UnicodeString text =
        UnicodeString(100, u'p', 100).append(u"-1.1-").append(UnicodeString(100, u'9', 100));
    static BuildVersion source(text);
    const auto make = [] { return BuildVersion(text); };
    return {
        builds<BuildVersion>("BuildVersion::BuildVersion()", [](auto& it) { it.emplace(); }),
        builds<BuildVersion>("BuildVersion::BuildVersion(icu::UnicodeString const&)",
                             [](auto& it) { it.emplace(text); }),
        builds<BuildVersion>("BuildVersion::BuildVersion(nx::oss::BuildVersion const&)",
                             [](auto& it) { it.emplace(std::as_const(source)); }),
        row(
            "BuildVersion::getBuildNumberString() const", make,
            [](BuildVersion & v) -> auto& { return v.getBuildNumberString(); }),
        row(
            "BuildVersion::getBuildVersion() const", make,
            [](BuildVersion & v) -> auto& { return v.getBuildVersion(); }),
        row(
            "BuildVersion::getProductVersion() const", make,
            [](BuildVersion & v) -> auto& { return v.getProductVersion(); }),
        row(
            "BuildVersion::getProtocolVersion() const", make,
            [](BuildVersion & v) -> auto& { return v.getProtocolVersion(); }),
        row(
            "BuildVersion::operator=(nx::oss::BuildVersion&)", [] { return BuildVersion(); },
            [](BuildVersion& v) { v = source; }),
        row("BuildVersion::tokenizeBuildVersionString()", make,
            [](BuildVersion& v) { v.tokenizeBuildVersionString(); }),
    };
}

}  // namespace

Rows rowsOfDiagnostics() {
    Rows rows = rowsOfRecords();
    for (const Rows& more : {rowsOfLists(), rowsOfExceptions(), rowsOfVersions()}) {
        rows.insert(rows.end(), more.begin(), more.end());
    }
    return rows;
}

}  // namespace nx::test
