// The operations and constructors of buffers and streams.
#include <infra/oss/kelByteArrayOutputStream.h>
#include <infra/oss/kelByteBuffer.h>
#include <infra/oss/kelDataBuffer.h>
#include <infra/oss/kelInputStream.h>
#include <infra/oss/kelPrintStream.h>
#include <infra/oss/kelSizeableBuffer.h>

#include <type_traits>

#include <gtest/gtest.h>

#include "kelSignatures.h"

namespace nx::oss {
namespace {

using namespace signatures;

// --- Inline buffers -----------------------------------------------------------------------------

template <class T>
void declareAlternateBuffer() {
    using A = DefaultAlternateBuffer<T>;
    static_assert(std::has_virtual_destructor_v<A> && NEVER_COPIED<A>);
    static_assert(std::is_default_constructible_v<A>);
    static_assert(CONSTRUCTS<A, Size> && !CONVERTS<A, Size>);
    static_assert(CONSTRUCTS<A, T*, Size, Size>);
    declares<Gives<A, T*>, &A::data>();
    declares<Reads<A, const T*>, &A::data>();
    declares<Reads<A, Size>, &A::size>();
    declares<Reads<A, Size>, &A::capacity>();
    declares<Reads<A, Size>, &A::maximumSize>();
    declares<Reads<A, Size>, &A::defaultSize>();
    declares<Does<A, Size>, &A::resize>();
}

TEST(DefaultAlternateBufferSignatures, OfOperations) {
    declareAlternateBuffer<char>();
    declareAlternateBuffer<long>();
}

template <class T, Size N>
void declareSizeableBuffer() {
    using B = SizeableBuffer<T, N>;
    static_assert(std::has_virtual_destructor_v<B> && NEVER_COPIED<B>);
    static_assert(!std::is_default_constructible_v<B> && CONSTRUCTS<B, Size>);
    declares<Gives<B, T*>, &B::data>();
    declares<Reads<B, const T*>, &B::data>();
    declares<Reads<B, Size>, &B::capacity>();
    declares<Reads<B, Size>, &B::inlineCapacity>();
    declares<Reads<B, Size>, &B::maximumSize>();
    declares<Gives<B, bool, Size>, &B::resize>();
}

TEST(SizeableBufferSignatures, OfOperations) {
    declareSizeableBuffer<char, 512>();
    declareSizeableBuffer<char, 1026>();
    declareSizeableBuffer<long, 3>();
}

// --- ByteBuffer ---------------------------------------------------------------------------------

using B = ByteBuffer;

static_assert(std::has_virtual_destructor_v<B> && COPYABLE<B>);
static_assert(!std::is_default_constructible_v<B>);
static_assert(CONSTRUCTS<B, Size>);
static_assert(CONSTRUCTS<B, Bytes, Size>);
static_assert(CONSTRUCTS<B, UnicodeString, Bytes> && !CONSTRUCTS<B, UnicodeString>);

TEST(ByteBufferSignatures, OfOperations) {
    declares<Reads<B, Bytes>, &B::data>();
    declares<Reads<B, Size>, &B::size>();
    declares<Reads<B, Size>, &B::capacity>();
    declares<Does<B, Bytes, Size>, &B::append>();
    declares<Does<B, String, Bytes>, &B::set>();
    declares<Does<B>, &B::clear>();
    declares<Reads<B, bool, Bytes, Size>, &B::compare>();
    declares<void (*)(DefaultAlternateBuffer<char>&, Bytes, Size), &B::copy>();
    declares < Gives<B, B&, const B&>, &B::operator=>();
}

// --- DataBuffer ---------------------------------------------------------------------------------

using D = DataBuffer;

static_assert(std::has_virtual_destructor_v<D> && COPYABLE<D>);
static_assert(std::is_default_constructible_v<D>);
static_assert(CONSTRUCTS<D, int> && !CONVERTS<D, int>);
static_assert(CONSTRUCTS<D, Bytes> && !CONVERTS<D, Bytes>);
static_assert(CONSTRUCTS<D, UnicodeString, Bytes>);
static_assert(!CONSTRUCTS<D, UnicodeString> && !std::is_constructible_v<D, String>);
static_assert(std::is_assignable_v<D&, Bytes>);  // a literal is a UnicodeString
static_assert(std::is_same_v<decltype(OSS_DB_HEXSTRINGS), const char[256][3]>);

TEST(DataBufferSignatures, OfTexts) {
    declares<Does<D, bool>, &D::clear>();
    declares<Reads<D, Bytes>, &D::getString>();
    declares<Reads<D, int>, &D::length>();
    declares<Reads<D, int>, &D::capacity>();
    declares<Does<D, int, Bytes, int>, &D::saveString>();
    declares<Does<D, Bytes>, &D::appendString>();
    declares<Does<D, Bytes, int>, &D::appendString>();
    declares<Does<D, const D&>, &D::appendString>();
    declares<Does<D, String, Bytes>, &D::appendString>();
    declares<Does<D, int, Bytes>, &D::insertString>();
    declares<Does<D, int, Bytes, int>, &D::insertString>();
    declares<Does<D, int, const D&>, &D::insertString>();
    declares<Does<D, int, String, Bytes>, &D::insertString>();
    declares < Gives<D, D&, const D&>, &D::operator=>();
    declares < Gives<D, D&, String>, &D::operator=>();
}

template <class... Numbers>
void declareNumbers() {
    (declares<Does<D, Numbers>, &D::appendNumber>(), ...);
    (declares<Does<D, int, Numbers>, &D::insertNumber>(), ...);
}

TEST(DataBufferSignatures, OfNumbers) {
    declareNumbers<long, int, short, signed char, unsigned long, unsigned int, unsigned short,
                   unsigned char, double, float>();
}

TEST(DataBufferSignatures, OfBinaryForms) {
    declares<Does<D, int, Bytes, int, bool>, &D::saveBinary>();
    declares<Does<D, Bytes, int, bool>, &D::appendBinary>();
    declares<Does<D, int, Bytes, int, bool>, &D::insertBinary>();
    declares<Reads<D, int, char*, int>, &D::getBinary>();
    declares<const char(*)[256][3], &OSS_DB_HEXSTRINGS>();
}

TEST(DataBufferSignatures, OfSearches) {
    declares<Reads<D, int, int, Bytes>, &D::indexOf>();
    declares<Reads<D, int, int, int, Bytes>, &D::indexOf>();
    declares<Reads<D, int, Bytes>, &D::occurrences>();
    declares<Gives<D, int, Bytes, Bytes, int>, &D::replace>();
    declares<Gives<D, int, Bytes, Bytes, int, int>, &D::replace>();
    declares<Gives<D, int, Bytes, Bytes>, &D::replaceAll>();
}

constexpr auto CLEAR = [](auto& buffer, auto... arguments) -> decltype(buffer.clear(arguments...)) {
};
constexpr auto SAVE_BINARY = [](auto& buffer,
                                auto... arguments) -> decltype(buffer.saveBinary(arguments...)) {};
constexpr auto APPEND_BINARY =
    [](auto& buffer, auto... arguments) -> decltype(buffer.appendBinary(arguments...)) {};
constexpr auto INSERT_BINARY =
    [](auto& buffer, auto... arguments) -> decltype(buffer.insertBinary(arguments...)) {};

// Default arguments.
static_assert(std::is_invocable_v<decltype(CLEAR), D&>);
static_assert(!std::is_invocable_v<decltype(SAVE_BINARY), D&, int, Bytes, int>);
static_assert(!std::is_invocable_v<decltype(APPEND_BINARY), D&, Bytes, int>);
static_assert(!std::is_invocable_v<decltype(INSERT_BINARY), D&, int, Bytes, int>);

// --- Streams ------------------------------------------------------------------------------------

using In = InputStream;
using Out = OutputStream;
using A = ByteArrayOutputStream;
using P = PrintStream;

static_assert(std::is_abstract_v<In> && std::has_virtual_destructor_v<In>);
static_assert(std::is_abstract_v<Out> && std::has_virtual_destructor_v<Out>);
static_assert(DERIVES<A, Out> && !std::is_abstract_v<A>);
static_assert(!std::is_default_constructible_v<A> && CONSTRUCTS<A, char*, Size>);
static_assert(std::has_virtual_destructor_v<P> && !std::is_base_of_v<Out, P>);
static_assert(std::is_same_v<decltype(ossOut), P*>);
static_assert(std::is_same_v<std::remove_reference_t<decltype(P::printStream)>, P>);

TEST(StreamSignatures, OfTheInterfaces) {
    declares<Does<In>, &In::close>();
    declares<Gives<In, Size, char*, Size, Size>, &In::read>();
    declares<Gives<In, Size, char*>, &In::read>();
    declares<Does<Out>, &Out::close>();
    declares<Does<Out>, &Out::flush>();
    declares<Does<Out, Bytes, Size, Size>, &Out::write>();
    declares<Does<Out, Bytes>, &Out::write>();
    declares<Does<Out, char>, &Out::write>();
}

TEST(StreamSignatures, OfTheArray) {
    declares<Does<A, char>, &A::write>();
    declares<Reads<A, Size>, &A::getCount>();
    // Everything else is inherited, and the other forms of write are not hidden.
    declares<Does<Out>, &A::close>();
    declares<Does<Out>, &A::flush>();
    declares<Does<Out, Bytes, Size, Size>, &A::write>();
    declares<Does<Out, Bytes>, &A::write>();
}

template <class... Values>
void declareOutput() {
    (declares<Gives<P, P&, Values>, (&P::operator<<)>(), ...);
}

TEST(PrintStreamSignatures, OfOperations) {
    declares<P* (*)(), &P::getPrintStream>();
    declareOutput<String, Bytes, char, double, float, unsigned long, unsigned int, unsigned short,
                  unsigned char, long, int, short, signed char>();
    declares<P**, &ossOut>();
    EXPECT_EQ(ossOut, &P::printStream);
}

}  // namespace
}  // namespace nx::oss
