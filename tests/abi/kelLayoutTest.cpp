// What programs that were compiled against an earlier build of the library rely on: sizes, virtual
// tables, types of constants and the exact type of every operation. Most of it is checked by the
// compiler; the test at run time looks at virtual tables.
#include <cstring>
#include <exception>
#include <list>
#include <type_traits>

#include <gtest/gtest.h>

#include <infra/oss/kelBaseException.h>
#include <infra/oss/kelByteBuffer.h>
#include <infra/oss/kelConstants.h>
#include <infra/oss/kelDebugBuffer.h>
#include <infra/oss/kelIOException.h>
#include <infra/oss/kelNLSException.h>
#include <infra/oss/kelSizeableBuffer.h>
#include <infra/util/kelBase64Exception.h>
#include <infra/util/kelPropertiesException.h>

#include "kelObjectStorage.h"

namespace nx::oss {
namespace {

using icu::UnicodeString;
using layout::expectDestructorSlots;
using layout::number;
using layout::slot;
using layout::word;

// --- Message ------------------------------------------------------------------------------------

static_assert(sizeof(Message) == 240);
static_assert(!std::is_polymorphic_v<Message>);
static_assert(std::is_same_v<std::underlying_type_t<Message::Level>, int>);
static_assert(std::is_convertible_v<Message::Level, int>);  // unscoped
static_assert(std::is_copy_constructible_v<Message> && std::is_copy_assignable_v<Message>);
static_assert(std::is_default_constructible_v<Message>);
static_assert(std::is_constructible_v<Message, const UnicodeString&, Message::Level, const char*,
                                      unsigned long>);
static_assert(
    std::is_constructible_v<Message, const UnicodeString&, const UnicodeString&, Message::Level>);

// The overload with these parameters exists and has this result.
template <class T>
constexpr bool member(T) {
    return true;
}

using M = Message;
template <class... P>
using Setter = void (M::*)(P...);
template <class R>
using Getter = R (M::*)() const;

static_assert(member<Setter<>>(&M::clear));
static_assert(
    member<Setter<const UnicodeString&, M::Level, const char*, unsigned long>>(&M::setMessage));
static_assert(member<Setter<const UnicodeString&, const UnicodeString&, M::Level>>(&M::setMessage));
static_assert(member<Setter<const Message&>>(&M::setMessage));
static_assert(member<Setter<const UnicodeString&>>(&M::setMessageID));
static_assert(member<Setter<const char*>>(&M::setMessageID));
static_assert(member<Setter<const UnicodeString&>>(&M::setMessageCode));
static_assert(member<Setter<const char*>>(&M::setMessageCode));
static_assert(member<Getter<const UnicodeString&>>(&M::getMessageID));
static_assert(member<Getter<const UnicodeString&>>(&M::getMessageCode));
static_assert(member<Setter<const UnicodeString&>>(&M::setMessageText));
static_assert(member<Setter<const char*>>(&M::setMessageText));
static_assert(member<Setter<const UnicodeString&>>(&M::setFormattedMessage));
static_assert(member<Setter<const char*>>(&M::setFormattedMessage));
static_assert(member<Getter<const UnicodeString&>>(&M::getMessageText));
static_assert(member<Getter<const UnicodeString&>>(&M::getFormattedMessage));
static_assert(member<Setter<M::Level>>(&M::setMessageLevel));
static_assert(member<Getter<M::Level>>(&M::getMessageLevel));
static_assert(member<Getter<bool>>(&M::isSevere));
static_assert(member<M::Level (*)(unsigned long)>(&M::uintToMessageLevel));
static_assert(member<Setter<const char*>>(&M::setFileName));
static_assert(member<Setter<const UnicodeString&>>(&M::setFileName));
static_assert(member<Getter<const UnicodeString&>>(&M::getFileName));
static_assert(member<Setter<unsigned long>>(&M::setLineNumber));
static_assert(member<Getter<unsigned long>>(&M::getLineNumber));
static_assert(member<Getter<const std::list<UnicodeString>&>>(&M::getMessageArgs));
static_assert(member<Getter<unsigned long>>(&M::getMessageArgsCount));
static_assert(member<Setter<const UnicodeString&>>(&M::addArgument));
static_assert(member<Setter<const char*, const char*>>(&M::addArgument));
static_assert(member<Setter<const char*, int, const char*>>(&M::addArgument));
static_assert(member<Setter<long>>(&M::addArgument));
static_assert(member<Setter<int>>(&M::addArgument));
static_assert(member<Setter<short>>(&M::addArgument));
static_assert(member<Setter<signed char>>(&M::addArgument));
static_assert(member<Setter<unsigned long>>(&M::addArgument));
static_assert(member<Setter<unsigned int>>(&M::addArgument));
static_assert(member<Setter<unsigned short>>(&M::addArgument));
static_assert(member<Setter<unsigned char>>(&M::addArgument));
static_assert(member<Setter<double>>(&M::addArgument));
static_assert(member<Setter<float>>(&M::addArgument));
static_assert(member<Setter<unsigned long, bool>>(&M::addArgumentAsHex));
static_assert(member<Setter<const icu::Formattable&>>(&M::addMessageArg));
static_assert(member<UnicodeString& (M::*)(UnicodeString&) const>(&M::toString));
static_assert(member<Getter<const Message*>>(&M::getNext));

// --- MessageList --------------------------------------------------------------------------------

using L = MessageList;

static_assert(sizeof(MessageList) == 32);
static_assert(!std::is_polymorphic_v<MessageList>);
static_assert(std::is_copy_constructible_v<MessageList> && std::is_copy_assignable_v<MessageList>);
static_assert(std::is_default_constructible_v<MessageList>);
static_assert(std::is_convertible_v<const Message&, MessageList>);
static_assert(member<void (L::*)(const Message&)>(&L::addMessage));
static_assert(member<void (L::*)(const Message&)>(&L::insertMessage));
static_assert(member<void (L::*)(const MessageList&)>(&L::join));
static_assert(member<void (L::*)()>(&L::clear));
static_assert(member<unsigned int (L::*)() const>(&L::count));
static_assert(member<bool (L::*)() const>(&L::isEmpty));
static_assert(member<const Message* (L::*)() const>(&L::getHead));
static_assert(member<Message& (L::*)()>(&L::getFirstMessage));
static_assert(member<const Message& (L::*)() const>(&L::getFirstMessage));
static_assert(member<const Message* (L::*)()>(&L::getFirstMsg));
static_assert(member<const Message* (L::*)()>(&L::getNextMsg));
static_assert(member<bool (L::*)() const>(&L::hasMoreMsgs));

// --- Exceptions ---------------------------------------------------------------------------------

template <class Exception>
constexpr bool looksLikeAnException() {
    return sizeof(Exception) == sizeof(void*) + sizeof(MessageList) && sizeof(Exception) == 40 &&
           std::is_base_of_v<std::exception, Exception> &&
           std::is_convertible_v<Exception*, BaseException*> &&  // public
           std::has_virtual_destructor_v<Exception> && std::is_nothrow_destructible_v<Exception> &&
           std::is_default_constructible_v<Exception> && std::is_copy_constructible_v<Exception> &&
           std::is_copy_assignable_v<Exception> &&
           std::is_same_v<decltype(Exception::messages), MessageList>;
}
static_assert(looksLikeAnException<BaseException>());
static_assert(looksLikeAnException<IOException>());
static_assert(looksLikeAnException<NLSException>());
static_assert(looksLikeAnException<util::Base64Exception>());
static_assert(looksLikeAnException<util::PropertiesException>());
static_assert(member<const char* (BaseException::*)() const noexcept>(&BaseException::what));
static_assert(member<const char* (BaseException::*)() const>(&BaseException::name));

// --- Buffers ------------------------------------------------------------------------------------

using D = DefaultAlternateBuffer<char>;
using S = SizeableBuffer<char, 512>;
using B = ByteBuffer;

static_assert(sizeof(D) == 56);
static_assert(std::has_virtual_destructor_v<D>);
static_assert(!std::is_copy_constructible_v<D> && !std::is_copy_assignable_v<D>);
static_assert(std::is_constructible_v<D, unsigned long>);
static_assert(!std::is_convertible_v<unsigned long, D>);
static_assert(std::is_constructible_v<D, char*, unsigned long, unsigned long>);
static_assert(member<char* (D::*)()>(&D::data));
static_assert(member<const char* (D::*)() const>(&D::data));
static_assert(member<unsigned long (D::*)() const>(&D::size));
static_assert(member<unsigned long (D::*)() const>(&D::capacity));
static_assert(member<unsigned long (D::*)() const>(&D::maximumSize));
static_assert(member<unsigned long (D::*)() const>(&D::defaultSize));
static_assert(member<void (D::*)(unsigned long)>(&D::resize));

static_assert(sizeof(S) == 40 + 512 + 56);
static_assert(sizeof(SizeableBuffer<char, 1026>) == 40 + 1032 + 56);  // padded to pointers
static_assert(std::has_virtual_destructor_v<S>);
static_assert(!std::is_copy_constructible_v<S> && !std::is_copy_assignable_v<S>);
static_assert(!std::is_default_constructible_v<S> && std::is_constructible_v<S, unsigned long>);
static_assert(member<char* (S::*)()>(&S::data));
static_assert(member<const char* (S::*)() const>(&S::data));
static_assert(member<unsigned long (S::*)() const>(&S::capacity));
static_assert(member<unsigned long (S::*)() const>(&S::inlineCapacity));
static_assert(member<unsigned long (S::*)() const>(&S::maximumSize));
static_assert(member<bool (S::*)(unsigned long)>(&S::resize));

static_assert(sizeof(B) == 16);
static_assert(std::has_virtual_destructor_v<B>);
static_assert(std::is_copy_constructible_v<B> && std::is_copy_assignable_v<B>);
static_assert(!std::is_default_constructible_v<B>);
static_assert(std::is_constructible_v<B, unsigned long>);
static_assert(std::is_constructible_v<B, const char*, unsigned long>);
static_assert(std::is_constructible_v<B, const UnicodeString&, const char*>);
static_assert(member<const char* (B::*)() const>(&B::data));
static_assert(member<unsigned long (B::*)() const>(&B::size));
static_assert(member<unsigned long (B::*)() const>(&B::capacity));
static_assert(member<void (B::*)(const char*, unsigned long)>(&B::append));
static_assert(member<void (B::*)(const UnicodeString&, const char*)>(&B::set));
static_assert(member<void (B::*)()>(&B::clear));
static_assert(member<bool (B::*)(const char*, unsigned long) const>(&B::compare));
static_assert(member<void (*)(D&, const char*, unsigned long)>(&B::copy));

// --- Constants ----------------------------------------------------------------------------------

static_assert(std::is_same_v<decltype(Constants::PATH_SIZE), const unsigned long>);
static_assert(std::is_same_v<decltype(Constants::XML_CDATA_END), const char* const>);
static_assert(Constants::DATABUFFER_BUFFER_SIZE == 4096);
static_assert(Constants::XML_CDATA_END[2] == '>');
static_assert(std::is_same_v<decltype(DebugBuffer::instance_), DebugBuffer*>);
static_assert(DebugBuffer::bufsz_ == 4096);

// Sizes and strings are usable before any static initialiser has run, in particular by this one.
const std::size_t LENGTH_AT_START = std::strlen(Constants::DOCUMENT_CONSTRUCTOR_DATA);
char pathBuffer[Constants::PATH_SIZE];

TEST(ConstantsAbi, AreUsableInStaticInitialisersAndArrayBounds) {
    EXPECT_EQ(LENGTH_AT_START, 13u);
    EXPECT_EQ(sizeof pathBuffer, 256u);
    pathBuffer[Constants::PATH_SIZE - 1] = 'x';
    EXPECT_EQ(pathBuffer[255], 'x');
    const unsigned long& bound = Constants::PATH_SIZE;  // has an address
    EXPECT_EQ(bound, 256u);
}

// --- Field order --------------------------------------------------------------------------------

TEST(MessageAbi, HoldsItsFieldsInTheirOrder) {
    Message message("ID", static_cast<Message::Level>(77), "f.cpp", 4711);
    const auto* const begin = reinterpret_cast<const char*>(&message);
    const auto offset = [&](const void* field) { return static_cast<const char*>(field) - begin; };
    EXPECT_EQ(offset(&message.getMessageID()), 0);
    EXPECT_EQ(offset(&message.getMessageText()), 64);
    EXPECT_EQ(number(message, 16) & 0xFFFFFFFF, 77u);
    EXPECT_EQ(offset(&message.getFileName()), 136);
    EXPECT_EQ(number(message, 25), 4711u);
    EXPECT_EQ(offset(&message.getMessageArgs()), 208);
    EXPECT_EQ(word(message, 29), nullptr);
    MessageList list(message);
    list.addMessage(message);
    EXPECT_EQ(word(*list.getHead(), 29), list.getHead()->getNext());
}

TEST(MessageListAbi, HoldsHeadTailCursorAndCount) {
    MessageList list;
    for (int i = 0; i < 3; ++i) {
        list.addMessage(Message());
    }
    list.getFirstMsg();
    const Message* const second = list.getHead()->getNext();
    EXPECT_EQ(word(list, 0), list.getHead());
    EXPECT_EQ(word(list, 1), second->getNext());
    EXPECT_EQ(word(list, 2), second);
    EXPECT_EQ(number(list, 3), 3u);
}

TEST(ExceptionAbi, HoldsTheListBehindTheVirtualTable) {
    const IOException exception;
    EXPECT_EQ(reinterpret_cast<const char*>(&exception.messages),
              reinterpret_cast<const char*>(&exception) + 8);
}

TEST(BufferAbi, HoldsItsFieldsInTheirOrder) {
    char storage[16];
    D buffer(storage, 16, 99);
    buffer.resize(5);
    EXPECT_EQ(word(buffer, 1), storage);
    EXPECT_EQ(word(buffer, 2), storage);
    EXPECT_EQ(number(buffer, 3), 16u);
    EXPECT_EQ(number(buffer, 4), 99u);
    EXPECT_EQ(number(buffer, 5), 16u);
    EXPECT_EQ(number(buffer, 6), 5u);
    S scratch(2000);
    EXPECT_EQ(number(scratch, 1), 2000u);
    EXPECT_EQ(number(scratch, 2), 512u);
    EXPECT_EQ(number(scratch, 3), 512u);
    EXPECT_EQ(word(scratch, 4), reinterpret_cast<const char*>(&scratch) + 40);
    EXPECT_EQ(word(scratch, 4), scratch.data());
    EXPECT_EQ(number(scratch, 5 + 64 + 4), 2000u);  // the maximum of the embedded buffer
    const B bytes("abc", 3);
    const auto* const owned = static_cast<const D*>(word(bytes, 1));
    EXPECT_EQ(owned->data(), bytes.data());
    EXPECT_EQ(owned->maximumSize(), 0u);
}

// --- Virtual tables -----------------------------------------------------------------------------

using NameFunction = const char* (*)(const void*);

TEST(ExceptionAbi, HasDestructorsWhatAndNameInItsVirtualTable) {
    const IOException exception;
    EXPECT_STREQ(slot<NameFunction>(exception, 2)(&exception), "IOException");
    EXPECT_STREQ(slot<NameFunction>(exception, 3)(&exception), "IOException");
    const BaseException base;
    EXPECT_EQ(slot<NameFunction>(exception, 2), slot<NameFunction>(base, 2))
        << "what() is inherited";
    EXPECT_NE(slot<NameFunction>(exception, 3), slot<NameFunction>(base, 3))
        << "name() is overridden";
    const std::exception standard;
    EXPECT_NE(slot<NameFunction>(base, 2), slot<NameFunction>(standard, 2));
}

TEST(BufferAbi, HasTheDeletingDestructorInItsSecondSlot) {
    expectDestructorSlots(new D);
    expectDestructorSlots(new S(0));
    expectDestructorSlots(new B("abc", 3));
    expectDestructorSlots(new IOException);
}

}  // namespace
}  // namespace nx::oss
