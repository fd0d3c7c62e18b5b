// What programs that were compiled against an earlier build of the library rely on in records,
// lists, exceptions and buffers: sizes, order of fields and virtual tables.
#include <cstring>
#include <exception>
#include <type_traits>

#include <gtest/gtest.h>

#include <infra/oss/kelBaseException.h>
#include <infra/oss/kelByteBuffer.h>
#include <infra/oss/kelConstants.h>
#include <infra/oss/kelIOException.h>
#include <infra/oss/kelNLSException.h>
#include <infra/oss/kelSizeableBuffer.h>
#include <infra/oss/kelSocketException.h>
#include <infra/util/kelBase64Exception.h>
#include <infra/util/kelPropertiesException.h>

#include "kelObjectStorage.h"

namespace nx::oss {
namespace {

using layout::expectDestructorSlots;
using layout::number;
using layout::slot;
using layout::word;

// --- Message ------------------------------------------------------------------------------------

static_assert(sizeof(Message) == 240);
static_assert(!std::is_polymorphic_v<Message>);

// --- MessageList --------------------------------------------------------------------------------

static_assert(sizeof(MessageList) == 32);
static_assert(!std::is_polymorphic_v<MessageList>);

// --- Exceptions ---------------------------------------------------------------------------------

template <class Exception>
constexpr bool HOLDS_A_LIST = sizeof(Exception) == sizeof(void*) + sizeof(MessageList) &&
                              sizeof(Exception) == 40;
static_assert(HOLDS_A_LIST<BaseException>);
static_assert(HOLDS_A_LIST<IOException>);
static_assert(HOLDS_A_LIST<NLSException>);
static_assert(HOLDS_A_LIST<SocketException>);
static_assert(HOLDS_A_LIST<util::Base64Exception>);
static_assert(HOLDS_A_LIST<util::PropertiesException>);

// --- Buffers ------------------------------------------------------------------------------------

using D = DefaultAlternateBuffer<char>;
using S = SizeableBuffer<char, 512>;
using B = ByteBuffer;

static_assert(sizeof(D) == 56);
static_assert(sizeof(S) == 40 + 512 + 56);
static_assert(sizeof(SizeableBuffer<char, 1026>) == 40 + 1032 + 56);  // padded to pointers
static_assert(sizeof(B) == 16);

// --- Constants ----------------------------------------------------------------------------------

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
