// The virtual tables of all classes: which operation has which slot, and how many there are. The
// first two slots of each hold the two destructors.
#include <infra/oss/kelBuildVersion.h>
#include <infra/oss/kelByteArrayOutputStream.h>
#include <infra/oss/kelByteBuffer.h>
#include <infra/oss/kelConstants.h>
#include <infra/oss/kelConverter.h>
#include <infra/oss/kelDebugBuffer.h>
#include <infra/oss/kelFormatter.h>
#include <infra/oss/kelIOException.h>
#include <infra/oss/kelInputStream.h>
#include <infra/oss/kelNLSException.h>
#include <infra/oss/kelNLSUtility.h>
#include <infra/oss/kelPrintStream.h>
#include <infra/oss/kelSizeableBuffer.h>
#include <infra/oss/kelSocketException.h>
#include <infra/oss/kelSocketServer.h>
#include <infra/oss/kelStringTokenizer.h>
#include <infra/oss/kelThread.h>
#include <infra/oss/kelUTF8Iterator.h>
#include <infra/oss/kelUTF8String.h>
#include <infra/util/kelBase64.h>
#include <infra/util/kelBase64Exception.h>
#include <infra/util/kelExtendedProperties.h>
#include <infra/util/kelPropertiesException.h>

#include <cstddef>
#include <cstring>
#include <type_traits>

#include <gtest/gtest.h>

// No public header declares the functions of the host: other declarations would not compile.
struct Nothing;
extern "C" {
Nothing* trcGetCompFlag(Nothing*);
Nothing* trcEntry(Nothing*);
Nothing* trcExit(Nothing*);
}

namespace nx::oss {
namespace {

constexpr long NOT_VIRTUAL = -1;

/// The slot of a virtual operation, as callers have it compiled in: the pointer to it holds the
/// distance from the start of the table, and a mark.
template <class Pointer>
long slotOf(Pointer operation) {
    std::ptrdiff_t words[2];
    static_assert(sizeof words == sizeof operation);
    std::memcpy(words, &operation, sizeof words);
#if defined(__aarch64__)
    const bool isVirtual = (words[1] & 1) != 0;  // next to the adjustment of the object's address
    const std::ptrdiff_t distance = words[0];
#else
    const bool isVirtual = (words[0] & 1) != 0;
    const std::ptrdiff_t distance = words[0] - 1;
#endif
    return isVirtual ? distance / static_cast<long>(sizeof(void*)) : NOT_VIRTUAL;
}

/// Has one virtual operation more than its base class, in the slot behind all others.
template <class Base>
struct Extended : Base {
    virtual void next() {}
};

template <class Class>
long slotsOf() {
    return slotOf(&Extended<Class>::next);
}

/// The class has virtual destructors and nothing else.
template <class Class>
void expectDestructorsOnly() {
    EXPECT_TRUE(std::has_virtual_destructor_v<Class>);
    EXPECT_EQ(slotsOf<Class>(), 2);
}

TEST(VirtualSlots, OfTheClassesThatHaveDestructorsOnly) {
    expectDestructorsOnly<ByteBuffer>();
    expectDestructorsOnly<DataBuffer>();
    expectDestructorsOnly<DefaultAlternateBuffer<char>>();
    expectDestructorsOnly<PrintStream>();
    expectDestructorsOnly<SizeableBuffer<char, 512>>();
    expectDestructorsOnly<SizeableBuffer<char, 1026>>();
    expectDestructorsOnly<Socket>();
    expectDestructorsOnly<Socket::CSocketInitializer>();
    expectDestructorsOnly<SocketServer>();
    expectDestructorsOnly<UTF8String>();
    expectDestructorsOnly<util::ExtendedProperties>();
}

template <class Exception>
void expectExceptionSlots() {
    EXPECT_EQ(slotOf(&Exception::what), 2);
    EXPECT_EQ(slotOf(&Exception::name), 3);
    EXPECT_EQ(slotsOf<Exception>(), 4);
}

TEST(VirtualSlots, OfExceptions) {
    expectExceptionSlots<BaseException>();
    expectExceptionSlots<IOException>();
    expectExceptionSlots<NLSException>();
    expectExceptionSlots<SocketException>();
    expectExceptionSlots<util::Base64Exception>();
    expectExceptionSlots<util::PropertiesException>();
}

TEST(VirtualSlots, OfInputStream) {
    using BlockRead = unsigned long (InputStream::*)(char*, unsigned long, unsigned long);
    using CharacterRead = unsigned long (InputStream::*)(char*);
    EXPECT_EQ(slotOf(&InputStream::close), 2);
    EXPECT_EQ(slotOf<BlockRead>(&InputStream::read), 3);
    EXPECT_EQ(slotOf<CharacterRead>(&InputStream::read), 4);
    EXPECT_EQ(slotsOf<InputStream>(), 5);
}

TEST(VirtualSlots, OfOutputStreams) {
    using BlockWrite = void (OutputStream::*)(const char*, unsigned long, unsigned long);
    using TextWrite = void (OutputStream::*)(const char*);
    using CharacterWrite = void (OutputStream::*)(char);
    EXPECT_EQ(slotOf(&OutputStream::close), 2);
    EXPECT_EQ(slotOf(&OutputStream::flush), 3);
    EXPECT_EQ(slotOf<BlockWrite>(&OutputStream::write), 4);
    EXPECT_EQ(slotOf<TextWrite>(&OutputStream::write), 5);
    EXPECT_EQ(slotOf<CharacterWrite>(&OutputStream::write), 6);
    EXPECT_EQ(slotsOf<OutputStream>(), 7);
    EXPECT_EQ(slotOf<void (ByteArrayOutputStream::*)(char)>(&ByteArrayOutputStream::write), 6);
    EXPECT_EQ(slotsOf<ByteArrayOutputStream>(), 7);
}

TEST(VirtualSlots, OfRunnable) {
    EXPECT_EQ(slotOf(&Runnable::run), 2);
    EXPECT_EQ(slotsOf<Runnable>(), 3);
}

TEST(VirtualSlots, AreNotThoseOfOrdinaryOperations) {
    EXPECT_EQ(slotOf(&MessageList::join), NOT_VIRTUAL);
    EXPECT_EQ(slotOf(&Socket::close), NOT_VIRTUAL);
}

template <class... Classes>
constexpr bool NONE_IS_POLYMORPHIC = (!std::is_polymorphic_v<Classes> && ...);

static_assert(NONE_IS_POLYMORPHIC<Message, MessageList, BuildVersion, Constants, DebugBuffer>);
static_assert(NONE_IS_POLYMORPHIC<Converter, UTF8Iterator, Formatter, NLSUtility, NLSConfigEntry>);
static_assert(NONE_IS_POLYMORPHIC<StringTokenizer, Thread, util::Base64, Socket::DescriptorSet,
                                  Socket::_AddrInfoExternal>);

}  // namespace
}  // namespace nx::oss
