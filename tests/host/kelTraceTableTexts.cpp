#include <infra/oss/kelByteArrayOutputStream.h>
#include <infra/oss/kelByteBuffer.h>
#include <infra/oss/kelConverter.h>
#include <infra/oss/kelDataBuffer.h>
#include <infra/oss/kelStringTokenizer.h>
#include <infra/oss/kelUTF8Iterator.h>

#include <string>

#include "kelTraceTable.h"

namespace nx::test {

using namespace oss;
using icu::UnicodeString;

namespace {

template <class... Numbers>
void appendNumbers(Probe& calls) {
    DataBuffer buffer;
    (calls([&] { buffer.appendNumber(Numbers(1)); }), ...);
}

template <class... Numbers>
void insertNumbers(Probe& calls) {
    DataBuffer buffer;
    (calls([&] { buffer.insertNumber(0, Numbers(1)); }), ...);
}

}  // namespace

std::vector<Row> rowsOfBuffersAndTexts() {
    return {
        {483919077, "ByteArrayOutputStream_constructor", EXIT,
         [](Probe& calls) {
             char array[1];
             construct<ByteArrayOutputStream>(calls, array, 1UL);
         }},
        {483919078, "ByteArrayOutputStream_destructor", EXIT,
         [](Probe& calls) {
             char array[1];
             destroy<ByteArrayOutputStream>(calls, array, 1UL);
         }},

        {483919079, "ByteBuffer_constructors", EXIT,
         [](Probe& calls) {
             construct<ByteBuffer>(calls, 10UL);
             construct<ByteBuffer>(calls, "abc", 3UL);
             construct<ByteBuffer>(calls, UnicodeString("abc"), "UTF-8");
             construct<ByteBuffer>(calls, ByteBuffer("abc", 3));
         }},
        {483919080, "ByteBuffer_destructor", EXIT,
         [](Probe& calls) { destroy<ByteBuffer>(calls, 10UL); }},
        {483919081, "ByteBuffer_append", BOTH,
         [](Probe& calls) {
             ByteBuffer buffer(0);
             calls([&] { buffer.append("abc", 3); });
         }},
        {483919082, "ByteBuffer_set", BOTH,
         [](Probe& calls) {
             ByteBuffer buffer(0);
             calls([&] { buffer.set("abc", "UTF-8"); });
         }},
        {483919083, "ByteBuffer_clear", BOTH,
         [](Probe& calls) {
             ByteBuffer buffer("abc", 3);
             calls([&] { buffer.clear(); });
         }},

        {483919084, "Converter_constructor", EXIT,
         [](Probe& calls) { construct<Converter>(calls); }},
        {483919085, "Converter_destructor", EXIT, [](Probe& calls) { destroy<Converter>(calls); }},
        {483919086, "Converter_fromText", BOTH,
         [](Probe& calls) {
             char room[8];
             const UnicodeString text("abc");
             calls([&] { Converter::convert(room, 8, "UTF-8", true, text); });
             calls([&] { Converter::convert(room, 8, "UTF-8", text); });
             calls([&] { Converter::convertToBytes(room, 8, "UTF-8", text); });
         }},
        {483919087, "Converter_fromBytes", BOTH,
         [](Probe& calls) {
             char room[8];
             calls([&] { Converter::convert(room, 8, "UTF-8", true, "abc", 3, "utf-8", true); });
             calls([&] { Converter::convert(room, 8, "UTF-8", "abc", 3, "utf-8"); });
             calls([&] { Converter::convert(room, 8, "UTF-8", "abc", "utf-8"); });
             calls([&] { Converter::convertToBytes(room, 8, "UTF-8", "abc", 3, "utf-8"); });
             calls([&] { Converter::convertToBytes(room, 8, "UTF-8", "abc", "utf-8"); });
         }},

        {483919088, "DataBuffer_constructors", EXIT,
         [](Probe& calls) {
             construct<DataBuffer>(calls);
             construct<DataBuffer>(calls, 5000);
             construct<DataBuffer>(calls, "abc");
             construct<DataBuffer>(calls, UnicodeString("abc"), "UTF-8");
             construct<DataBuffer>(calls, DataBuffer("abc"));
         }},
        {483919089, "DataBuffer_destructor", EXIT,
         [](Probe& calls) {
             destroy<DataBuffer>(calls, "abc");
             destroy<DataBuffer>(calls, 5000);
         }},
        {483919090, "DataBuffer_clear", BOTH,
         [](Probe& calls) {
             DataBuffer buffer("abc");
             calls([&] { buffer.clear(true); });
             calls([&] { buffer.clear(); });
         }},
        {483919091, "DataBuffer_saveString", BOTH,
         [](Probe& calls) {
             DataBuffer buffer;
             calls([&] { buffer.saveString(0, "abc", 3); });
         }},
        {483919092, "DataBuffer_appendString", BOTH,
         [](Probe& calls) {
             DataBuffer buffer;
             calls([&] { buffer.appendString("abc"); });
             calls([&] { buffer.appendString("abc", 2); });
             calls([&] { buffer.appendString(buffer); });
             calls([&] { buffer.appendString(UnicodeString("abc"), "UTF-8"); });
         }},
        {483919093, "DataBuffer_insertString", BOTH,
         [](Probe& calls) {
             DataBuffer buffer;
             calls([&] { buffer.insertString(0, "abc"); });
             calls([&] { buffer.insertString(0, "abc", 2); });
             calls([&] { buffer.insertString(0, buffer); });
             calls([&] { buffer.insertString(0, UnicodeString("abc"), "UTF-8"); });
         }},
        {483919094, "DataBuffer_appendNumber", BOTH,
         appendNumbers<long, int, short, signed char, unsigned long, unsigned int, unsigned short,
                       unsigned char, double, float>},
        {483919095, "DataBuffer_insertNumber", BOTH,
         insertNumbers<long, int, short, signed char, unsigned long, unsigned int, unsigned short,
                       unsigned char, double, float>},
        {483919096, "DataBuffer_saveBinary", BOTH,
         [](Probe& calls) {
             DataBuffer buffer;
             calls([&] { buffer.saveBinary(0, "abc", 3, true); });
             calls([&] { buffer.appendBinary("abc", 3, true); });
             calls([&] { buffer.insertBinary(0, "abc", 3, true); });
         }},
        {483919097, "DataBuffer_getBinary", BOTH,
         [](Probe& calls) {
             const DataBuffer buffer("X'0102'");
             char bytes[2];
             calls([&] { buffer.getBinary(bytes, 2); });
         }},
        {483919098, "DataBuffer_indexOf", BOTH,
         [](Probe& calls) {
             const DataBuffer buffer("abc");
             calls([&] { ignore(buffer.indexOf(0, "b")); });
             calls([&] { ignore(buffer.indexOf(0, 3, "b")); });
         }},
        {483919099, "DataBuffer_occurrences", BOTH,
         [](Probe& calls) {
             const DataBuffer buffer("abc");
             calls([&] { ignore(buffer.occurrences("b")); });
         }},
        {483919100, "DataBuffer_replace", BOTH,
         [](Probe& calls) {
             DataBuffer buffer("abc");
             calls([&] { buffer.replace("b", "-", 1); });
             calls([&] { buffer.replace("c", "-", 1, 1); });
         }},
        {483919101, "DataBuffer_replaceAll", BOTH,
         [](Probe& calls) {
             DataBuffer buffer("abc");
             calls([&] { buffer.replaceAll("b", "-"); });
         }},

        {483919102, "UTF8Iterator_constructors", EXIT,
         [](Probe& calls) {
             UnicodeString text("abc");
             construct<UTF8Iterator>(calls);
             construct<UTF8Iterator>(calls, "abc");
             construct<UTF8Iterator>(calls, text);
             construct<UTF8Iterator>(calls, UTF8Iterator("abc"));
         }},
        {483919103, "UTF8Iterator_destructor", EXIT,
         [](Probe& calls) {
             destroy<UTF8Iterator>(calls);
             destroy<UTF8Iterator>(calls, "abc");
             destroy<UTF8Iterator>(calls, std::string(5000, 'a').c_str());
         }},
        {483919104, "UTF8Iterator_setString", BOTH,
         [](Probe& calls) {
             UTF8Iterator iterator;
             calls([&] { iterator.setString("abc"); });
             calls([&] { iterator.setString("def"); });  // refused
         }},
        {483919105, "UTF8Iterator_getFirstChar", EXIT,
         [](Probe& calls) {
             UTF8Iterator iterator("a");
             calls([&] { iterator.getFirstChar(); });
         }},
        {483919106, "UTF8Iterator_getNextChar", EXIT,
         [](Probe& calls) {
             UTF8Iterator iterator("a");
             calls([&] { iterator.getNextChar(); });
             calls([&] { iterator.getNextChar(); });  // at the end
         }},

        {483919107, "StringTokenizer_constructors", EXIT,
         [](Probe& calls) {
             construct<StringTokenizer>(calls, UnicodeString("a b"), " ");
             construct<StringTokenizer>(calls, "a b", " ", "UTF-8");
         }},
        {483919108, "StringTokenizer_destructor", EXIT,
         [](Probe& calls) { destroy<StringTokenizer>(calls, "a b"); }},
        {483919109, "StringTokenizer_parseString", BOTH,
         [](Probe& calls) {
             StringTokenizer tokenizer("");
             calls([&] { tokenizer.parseString("a b", " "); });
         }},
        {483919110, "StringTokenizer_getFirstToken", EXIT,
         [](Probe& calls) {
             StringTokenizer tokenizer("a b");
             calls([&] { tokenizer.getFirstToken(); });
         }},
        {483919111, "StringTokenizer_getNextToken", EXIT,
         [](Probe& calls) {
             StringTokenizer tokenizer("a");
             calls([&] { tokenizer.getNextToken(); });
             calls([&] { tokenizer.getNextToken(); });  // at the end
         }},
        {483919112, "StringTokenizer_getFirstTokenString", EXIT,
         [](Probe& calls) {
             StringTokenizer tokenizer("a b");
             calls([&] { tokenizer.getFirstTokenString(); });
         }},
        {483919113, "StringTokenizer_getNextTokenString", EXIT,
         [](Probe& calls) {
             StringTokenizer tokenizer("a");
             calls([&] { tokenizer.getNextTokenString(); });
             calls([&] { tokenizer.getNextTokenString(); });  // at the end
         }},
    };
}

}  // namespace nx::test
