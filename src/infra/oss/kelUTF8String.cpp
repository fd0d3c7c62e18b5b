#include <infra/oss/kelUTF8String.h>

#include <infra/oss/kelConstants.h>
#include <infra/oss/kelConverter.h>
#include <infra/oss/kelNLSException.h>
#include <infra/oss/kelUTF8Iterator.h>

#include <cstring>

#include "infra/detail/kelKernels.h"
#include "infra/detail/kelRaise.h"
#include "infra/detail/kelUnicodeBuffer.h"

namespace nx::oss {

namespace {

constexpr const char* FILE_NAME = "kelUTF8String.cpp";
constexpr const char* UTF_8 = Constants::CONSTANT_STRING_UTF_8;

bool buildTables() {
    for (unsigned i = 0; i < std::size(LOCAL_to_UTF8); ++i) {
        LOCAL_to_UTF8[i] = static_cast<unsigned char>(i);
        UTF8_to_LOCAL[i] = static_cast<unsigned char>(i);
    }
    for (std::size_t i = 0; i < std::size(UTF8DATA); ++i) {
        UTF8_to_LOCAL[UTF8DATA[i]] = LCHARDATA[i];
        LOCAL_to_UTF8[LCHARDATA[i]] = UTF8DATA[i];
    }
    TABLES_ARE_BUILT = 1;
    return true;
}

void translate(char* s, std::size_t length, const unsigned char* table) {
    static const bool BUILT = buildTables();
    static_cast<void>(BUILT);
    for (std::size_t i = 0; i < length; ++i) {
        s[i] = static_cast<char>(table[static_cast<unsigned char>(s[i])]);
    }
}

}  // namespace

const unsigned char UTF8DATA[95] = {
    0x20, 0x21, 0x22, 0x23, 0x24, 0x25, 0x26, 0x27, 0x28, 0x29, 0x2A, 0x2B, 0x2C, 0x2D, 0x2E, 0x2F,
    0x30, 0x31, 0x32, 0x33, 0x34, 0x35, 0x36, 0x37, 0x38, 0x39, 0x3A, 0x3B, 0x3C, 0x3D, 0x3E, 0x3F,
    0x40, 0x41, 0x42, 0x43, 0x44, 0x45, 0x46, 0x47, 0x48, 0x49, 0x4A, 0x4B, 0x4C, 0x4D, 0x4E, 0x4F,
    0x50, 0x51, 0x52, 0x53, 0x54, 0x55, 0x56, 0x57, 0x58, 0x59, 0x5A, 0x5B, 0x5C, 0x5D, 0x5E, 0x5F,
    0x60, 0x61, 0x62, 0x63, 0x64, 0x65, 0x66, 0x67, 0x68, 0x69, 0x6A, 0x6B, 0x6C, 0x6D, 0x6E, 0x6F,
    0x70, 0x71, 0x72, 0x73, 0x74, 0x75, 0x76, 0x77, 0x78, 0x79, 0x7A, 0x7B, 0x7C, 0x7D, 0x7E,
};

const unsigned char LCHARDATA[95] = {
    0x20, 0x21, 0x22, 0x23, 0x24, 0x25, 0x26, 0x27, 0x28, 0x29, 0x2A, 0x2B, 0x2C, 0x2D, 0x2E, 0x2F,
    0x30, 0x31, 0x32, 0x33, 0x34, 0x35, 0x36, 0x37, 0x38, 0x39, 0x3A, 0x3B, 0x3C, 0x3D, 0x3E, 0x3F,
    0x40, 0x41, 0x42, 0x43, 0x44, 0x45, 0x46, 0x47, 0x48, 0x49, 0x4A, 0x4B, 0x4C, 0x4D, 0x4E, 0x4F,
    0x50, 0x51, 0x52, 0x53, 0x54, 0x55, 0x56, 0x57, 0x58, 0x59, 0x5A, 0x5B, 0x5C, 0x5D, 0x5E, 0x5F,
    0x60, 0x61, 0x62, 0x63, 0x64, 0x65, 0x66, 0x67, 0x68, 0x69, 0x6A, 0x6B, 0x6C, 0x6D, 0x6E, 0x6F,
    0x70, 0x71, 0x72, 0x73, 0x74, 0x75, 0x76, 0x77, 0x78, 0x79, 0x7A, 0x7B, 0x7C, 0x7D, 0x7E,
};

unsigned char LOCAL_to_UTF8[256];
unsigned char UTF8_to_LOCAL[256];
int TABLES_ARE_BUILT = 0;

int cLCHAR(char* s, int length) {
    if (s == nullptr || length < 1) {
        return 0;
    }
    translate(s, static_cast<std::size_t>(length), UTF8_to_LOCAL);
    return length;
}

int cUTF8(char* s) {
    if (s != nullptr) {
        translate(s, std::strlen(s), LOCAL_to_UTF8);
    }
    return 0;
}

UTF8String::UTF8String() = default;

UTF8String::UTF8String(const icu::UnicodeString& text) : DataBuffer(text, UTF_8) {}

UTF8String::UTF8String(const UTF8String& other) = default;

UTF8String::UTF8String(int size) : DataBuffer(size) {}

UTF8String::UTF8String(const char* text) : DataBuffer(text) {}

UTF8String& UTF8String::operator=(const UTF8String& other) = default;

UTF8String& UTF8String::operator=(const icu::UnicodeString& text) {
    clear();
    appendString(text);
    return *this;
}

UTF8String::~UTF8String() = default;

const char* UTF8String::getString() const { return DataBuffer::getString(); }

int UTF8String::getString(char* dest, int destLength, const char* codePage) const {
    return Converter::convert(dest, destLength, codePage, getString(), UTF_8);
}

void UTF8String::getString(icu::UnicodeString& out) const {
    if (out.isBogus()) {
        out.remove();
    }
    const icu::StringPiece bytes(getString(), length());
    detail::requireAppended(out.append(detail::requireText(icu::UnicodeString::fromUTF8(bytes))));
}

bool UTF8String::getUTF8Iterator(UTF8Iterator& it) const { return it.setString(getString()); }

int UTF8String::numChars() const {
    const std::size_t count = detail::kernels().countUtf8Characters(
        DataBuffer::getString(), static_cast<std::size_t>(length()));
    if (count == detail::NO_COUNT) {
        detail::raise<NLSException>({"ERR_MALFORMED_UTF8_STRING", FILE_NAME});
    }
    return static_cast<int>(count);
}

void UTF8String::insertString(int position, const UTF8String& text) {
    DataBuffer::insertString(position, text);
}

void UTF8String::insertString(int position, const icu::UnicodeString& text) {
    DataBuffer::insertString(position, text, UTF_8);
}

void UTF8String::insertString(int position, const char* text, int length) {
    DataBuffer::insertString(position, text, length);
}

void UTF8String::insertString(int position, const char* text) {
    DataBuffer::insertString(position, text);
}

void UTF8String::appendString(const UTF8String& text) { DataBuffer::appendString(text); }

void UTF8String::appendString(const icu::UnicodeString& text) {
    DataBuffer::appendString(text, UTF_8);
}

void UTF8String::appendString(const char* text, int length) {
    DataBuffer::appendString(text, length);
}

void UTF8String::appendString(const char* text) { DataBuffer::appendString(text); }

int UTF8String::compare(const char* other) const {
    if (other == nullptr) {
        return -1;
    }
    const int order = std::strcmp(other, getString());
    return (order > 0) - (order < 0);
}

int UTF8String::compare(const UTF8String& other) const { return compare(other.getString()); }

}  // namespace nx::oss
