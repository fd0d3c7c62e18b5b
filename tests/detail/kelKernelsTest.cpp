#include "infra/detail/kelKernels.h"

#include <gtest/gtest.h>
#include <unicode/ucnv.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <iostream>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "reference/kelUtfReference.h"
#include "support/kelGuardedMemory.h"
#include "support/kelKernelTables.h"

namespace nx::oss::detail {
namespace {

using namespace std::string_view_literals;
using test::GuardedMemory;

constexpr std::size_t UNLIMITED = static_cast<std::size_t>(-1);
constexpr char UNTOUCHED = '#';

/// Where a text lies between its guards.
enum class Place { FIRST, LAST };
constexpr Place PLACES[] = {Place::FIRST, Place::LAST};

template <class T>
T* placed(GuardedMemory& memory, std::size_t count, Place place) {
    return place == Place::FIRST ? memory.first<T>() : memory.last<T>(count);
}

template <class T>
const T* copied(GuardedMemory& memory, std::basic_string_view<T> text, Place place) {
    T* const data = placed<T>(memory, text.size(), place);
    std::copy(text.begin(), text.end(), data);
    return data;
}

/// Runs a kernel that takes a capacity, its source and its destination against the guards, and
/// compares with what was expected. Nothing behind the result may change.
template <class From, class To>
class Conversion {
  public:
    using Kernel = Progress (*)(const From*, std::size_t, To*, std::size_t) noexcept;
    using Source = std::basic_string_view<From>;
    using Expected = reference::Converted<std::basic_string<To>>;

    explicit Conversion(Kernel kernel) : kernel_(kernel) {}

    void check(Source source, std::size_t capacity, const Expected& expected) {
        for (const Place place : PLACES) {
            check(source, capacity, expected, place);
        }
    }

  private:
    void check(Source source, std::size_t capacity, const Expected& expected, Place place) {
        const From* const src = copied(source_, source, place);
        dest_.fill(UNTOUCHED);
        To* const dest = placed<To>(dest_, capacity, place);
        const Progress done = kernel_(src, source.size(), dest, capacity);
        ASSERT_EQ(done.read, expected.read) << "length " << source.size() << " into " << capacity;
        ASSERT_EQ(done.written, expected.text.size());
        ASSERT_TRUE(std::basic_string_view<To>(dest, done.written) == expected.text)
            << "length " << source.size() << " into " << capacity;
        const char* const end = reinterpret_cast<const char*>(dest + capacity);
        const char* const behind = reinterpret_cast<const char*>(dest + done.written);
        ASSERT_TRUE(std::all_of(behind, end, [](char byte) { return byte == UNTOUCHED; }))
            << "length " << source.size() << " into " << capacity;
    }

    Kernel kernel_;
    GuardedMemory source_{1 << 14};
    GuardedMemory dest_{1 << 14};
};

std::u16string icuFromUtf8(std::string_view source) {
    std::u16string text(source.size() + 1, u'\0');
    std::int32_t size = 0;
    UErrorCode error = U_ZERO_ERROR;
    u_strFromUTF8WithSub(text.data(), static_cast<std::int32_t>(text.size()), &size, source.data(),
                         static_cast<std::int32_t>(source.size()), 0xFFFD, nullptr, &error);
    EXPECT_TRUE(U_SUCCESS(error));
    text.resize(static_cast<std::size_t>(size));
    return text;
}

std::u16string icuConverterFromUtf8(std::string_view source) {
    UErrorCode error = U_ZERO_ERROR;
    const std::unique_ptr<UConverter, decltype(&ucnv_close)> converter(ucnv_open("UTF-8", &error),
                                                                       &ucnv_close);
    std::u16string text(source.size() + 1, u'\0');
    const std::int32_t size =
        ucnv_toUChars(converter.get(), text.data(), static_cast<std::int32_t>(text.size()),
                      source.data(), static_cast<std::int32_t>(source.size()), &error);
    EXPECT_TRUE(U_SUCCESS(error));
    text.resize(static_cast<std::size_t>(size));
    return text;
}

std::string icuFromUtf16(std::u16string_view source) {
    std::string text(3 * source.size() + 1, '\0');
    std::int32_t size = 0;
    UErrorCode error = U_ZERO_ERROR;
    u_strToUTF8WithSub(text.data(), static_cast<std::int32_t>(text.size()), &size, source.data(),
                       static_cast<std::int32_t>(source.size()), 0xFFFD, nullptr, &error);
    EXPECT_TRUE(U_SUCCESS(error));
    text.resize(static_cast<std::size_t>(size));
    return text;
}

template <class Text>
Text repeated(const Text& pattern, std::size_t length) {
    Text text;
    while (text.size() < length) {
        text += pattern;
    }
    text.resize(length);
    return text;
}

/// Patterns whose characters take one to four bytes, alone and mixed, and some that are ill-formed.
/// The lengths are odd, so that characters cross the ends of blocks at every place.
const std::u16string UTF16_PATTERNS[] = {
    u"plain text",
    u"caf\u00e9 na\u00efve \u00fcber",
    u"\u00e9\u07ff\u0080",
    u"\u4e2d\u6587\uffff\u0800",
    u"\u4e2d a \u00e9",
    u"\U0001f600\U0010ffff\U00010000",
    u"x\U0001f600",
    u"a\u00e9\u4e2d\U0001f600b",
    {u'a', 0xD800},
    {0xDC00, 0xD800},
    {0xD83D, 0xD83D, 0xDE00, 0xDE00, u'z'},
};

const std::string UTF8_PATTERNS[] = {
    "plain text",
    "caf\xc3\xa9 na\xc3\xafve",
    "\xc3\xa9\xdf\xbf\xc2\x80",
    "\xe4\xb8\xad\xef\xbf\xbf\xe0\xa0\x80",
    "\xe4\xb8\xad a \xc3\xa9",
    "\xf0\x9f\x98\x80\xf4\x8f\xbf\xbf\xf0\x90\x80\x80",
    "x\xf0\x9f\x98\x80",
    "a\xc3\xa9\xe4\xb8\xad\xf0\x9f\x98\x80z",
    "\x80",
    "ab\xff",
    "\xf0\x9f\x98",
    "\xed\xa0\x80\xed\xb0\x80",
};

constexpr std::size_t LONGEST = 200;

class KernelsTest : public testing::TestWithParam<const char*> {
  protected:
    void SetUp() override {
        kernels_ = GetParam() == "Scalar"sv ? &scalarKernels() : avx2Kernels();
        if (kernels_ == nullptr) {
            GTEST_SKIP() << "not for this processor";
        }
    }
    const Kernels& kernel() const { return *kernels_; }

  private:
    const Kernels* kernels_ = nullptr;
};

INSTANTIATE_TEST_SUITE_P(Tables, KernelsTest, testing::Values("Scalar", "Avx2"),
                         [](const auto& test) { return std::string(test.param); });

/// The choice as a static initialiser sees it.
const Kernels* const CHOSEN_AT_LOAD = &kernels();

TEST(KernelsChoice, IsTheFastestTableAndTheSameBeforeMain) {
    const Kernels* const fastest = test::kernelTables().back().kernels;
    EXPECT_EQ(CHOSEN_AT_LOAD, fastest);
    EXPECT_EQ(&kernels(), fastest);
}

TEST_P(KernelsTest, AcceptsNoTextAtAll) {
    const Kernels& k = kernel();
    EXPECT_EQ(k.utf16ToUtf8(nullptr, 0, nullptr, 0).written, 0u);
    EXPECT_EQ(k.utf8ToUtf16(nullptr, 0, nullptr, 0).written, 0u);
    EXPECT_EQ(k.latin1ToUtf8(nullptr, 0, nullptr, 0).written, 0u);
    EXPECT_EQ(k.utf8LengthOfUtf16(nullptr, 0), 0u);
    EXPECT_EQ(k.utf8LengthOfLatin1(nullptr, 0), 0u);
    EXPECT_EQ(k.utf16ToLatin1(nullptr, 0, nullptr), 0u);
    EXPECT_EQ(k.latin1PrefixLength(nullptr, 0), 0u);
    EXPECT_EQ(k.wellFormedUtf16Prefix(nullptr, 0), 0u);
    k.latin1ToUtf16(nullptr, 0, nullptr);
    k.swapUtf16(nullptr, 0, nullptr);
}

TEST_P(KernelsTest, Utf16ToUtf8WritesTheBytesOfTheStandard) {
    char bytes[10];
    const Progress done = kernel().utf16ToUtf8(u"a\u00e9\u4e2d\U0001f600", 5, bytes, 10);
    EXPECT_EQ(done.read, 5u);
    EXPECT_EQ(std::string_view(bytes, done.written), "a\xc3\xa9\xe4\xb8\xad\xf0\x9f\x98\x80");
}

TEST_P(KernelsTest, Utf16ToUtf8HandlesEveryLengthAndAlignment) {
    Conversion<char16_t, char> conversion(kernel().utf16ToUtf8);
    for (const std::u16string& pattern : UTF16_PATTERNS) {
        const std::u16string text = repeated(pattern, LONGEST + 4);
        for (std::size_t length = 0; length <= LONGEST; ++length) {
            for (std::size_t start = 0; start < 4; ++start) {
                const auto part = std::u16string_view(text).substr(start, length);
                const auto expected = reference::utf8FromUtf16(part, UNLIMITED);
                ASSERT_EQ(expected.text, icuFromUtf16(part));
                conversion.check(part, expected.text.size(), expected);
                ASSERT_EQ(kernel().utf8LengthOfUtf16(part.data(), length), expected.text.size());
                ASSERT_EQ(kernel().wellFormedUtf16Prefix(part.data(), length),
                          reference::firstLoneSurrogate(part));
            }
        }
    }
}

TEST_P(KernelsTest, Utf16ToUtf8StopsBeforeTheFirstCharacterThatDoesNotFit) {
    Conversion<char16_t, char> conversion(kernel().utf16ToUtf8);
    for (const std::u16string& pattern : UTF16_PATTERNS) {
        for (const std::size_t length : {1u, 7u, 16u, 33u, 64u, 85u}) {
            const std::u16string text = repeated(pattern, length);
            const std::size_t needed = reference::utf8FromUtf16(text, UNLIMITED).text.size();
            for (std::size_t capacity = 0; capacity <= needed + 70; ++capacity) {
                conversion.check(text, capacity, reference::utf8FromUtf16(text, capacity));
            }
        }
    }
}

/// Vectors are stored whole and the next one overwrites the excess, unless nothing more fits.
TEST_P(KernelsTest, Utf16ToUtf8LeavesNoExcessBehindWhereTheSizesChange) {
    Conversion<char16_t, char> conversion(kernel().utf16ToUtf8);
    for (const char16_t filler : {u'\u00e9', u'\u4e2d'}) {
        for (std::size_t place = 0; place < 32; ++place) {
            const std::u16string text = std::u16string(place, filler) + std::u16string(7, u'a') +
                                        std::u16string(60, filler);
            for (std::size_t capacity = 16; capacity < 130; ++capacity) {
                conversion.check(text, capacity, reference::utf8FromUtf16(text, capacity));
            }
        }
    }
}

TEST_P(KernelsTest, Utf16KernelsAgreeOnEverySingleUnit) {
    for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
        const char16_t text[1] = {static_cast<char16_t>(unit)};
        const auto expected = reference::utf8FromUtf16({text, 1}, UNLIMITED);
        char bytes[3];
        const Progress done = kernel().utf16ToUtf8(text, 1, bytes, 3);
        ASSERT_EQ(std::string_view(bytes, done.written), expected.text) << unit;
        ASSERT_EQ(kernel().utf8LengthOfUtf16(text, 1), expected.text.size()) << unit;
        ASSERT_EQ(kernel().latin1PrefixLength(text, 1), unit <= 0xFF ? 1u : 0u) << unit;
    }
}

TEST_P(KernelsTest, Utf16KernelsAgreeOnPairsOfUnitsAtEveryPlaceOfABlock) {
    const char16_t units[] = {0x0000, 0x0041, 0x007F, 0x0080, 0x00FF, 0x0100, 0x07FF, 0x0800,
                              0xD7FF, 0xD800, 0xDBFF, 0xDC00, 0xDFFF, 0xE000, 0xFFFD, 0xFFFF};
    Conversion<char16_t, char> conversion(kernel().utf16ToUtf8);
    for (const char16_t filler : {u'a', u'\u4e2d'}) {
        for (const char16_t first : units) {
            for (const char16_t second : units) {
                for (std::size_t place = 0; place < 36; ++place) {
                    std::u16string text(50, filler);
                    text[place] = first;
                    text[place + 1] = second;
                    const auto expected = reference::utf8FromUtf16(text, UNLIMITED);
                    conversion.check(text, expected.text.size(), expected);
                    ASSERT_EQ(kernel().utf8LengthOfUtf16(text.data(), 50), expected.text.size());
                    ASSERT_EQ(kernel().wellFormedUtf16Prefix(text.data(), 50),
                              reference::firstLoneSurrogate(text));
                }
            }
        }
    }
}

TEST_P(KernelsTest, Utf8LengthOfUtf16CountsMoreThanALaneHolds) {
    const std::u16string text(600001, u'\u4e2d');
    EXPECT_EQ(kernel().utf8LengthOfUtf16(text.data(), text.size()), 1800003u);
}

TEST_P(KernelsTest, Utf16ChecksReadNothingBehindTheText) {
    GuardedMemory memory(1 << 12);
    for (const std::u16string& pattern : UTF16_PATTERNS) {
        for (std::size_t length = 0; length <= LONGEST; ++length) {
            const std::u16string text = repeated(pattern, length);
            for (const Place place : PLACES) {
                const char16_t* src = copied<char16_t>(memory, text, place);
                ASSERT_EQ(kernel().utf8LengthOfUtf16(src, length), icuFromUtf16(text).size());
                ASSERT_EQ(kernel().wellFormedUtf16Prefix(src, length),
                          reference::firstLoneSurrogate(text));
            }
        }
    }
}

TEST_P(KernelsTest, Utf8ToUtf16HandlesEveryLengthAndAlignment) {
    Conversion<char, char16_t> conversion(kernel().utf8ToUtf16);
    for (const std::string& pattern : UTF8_PATTERNS) {
        const std::string text = repeated(pattern, LONGEST + 4);
        for (std::size_t length = 0; length <= LONGEST; ++length) {
            for (std::size_t start = 0; start < 4; ++start) {
                const auto part = std::string_view(text).substr(start, length);
                const auto expected = reference::utf16FromUtf8(part, UNLIMITED);
                ASSERT_EQ(expected.text, icuFromUtf8(part));
                conversion.check(part, expected.text.size(), expected);
                conversion.check(part, length, expected);
            }
        }
    }
}

TEST_P(KernelsTest, Utf8ToUtf16StopsBeforeTheFirstCharacterThatDoesNotFit) {
    Conversion<char, char16_t> conversion(kernel().utf8ToUtf16);
    for (const std::string& pattern : UTF8_PATTERNS) {
        for (const std::size_t length : {1u, 7u, 32u, 65u, 130u}) {
            const std::string text = repeated(pattern, length);
            const std::size_t needed = reference::utf16FromUtf8(text, UNLIMITED).text.size();
            for (std::size_t capacity = 0; capacity <= needed + 50; ++capacity) {
                conversion.check(text, capacity, reference::utf16FromUtf8(text, capacity));
            }
        }
    }
}

TEST_P(KernelsTest, Utf8ToUtf16HandlesAllInputsOfOneAndTwoBytes) {
    for (unsigned number = 0; number <= 0xFFFF; ++number) {
        const char bytes[2] = {static_cast<char>(number >> 8), static_cast<char>(number & 0xFF)};
        for (std::size_t length = 1; length <= 2; ++length) {
            char16_t units[2];
            const Progress done = kernel().utf8ToUtf16(bytes, length, units, 2);
            ASSERT_EQ(done.read, length);
            ASSERT_EQ(std::u16string_view(units, done.written),
                      reference::utf16FromUtf8({bytes, length}, UNLIMITED).text)
                << number;
        }
    }
}

/// All inputs of three bytes that do not begin with ASCII, each followed by a letter, 256 to a
/// text.
TEST_P(KernelsTest, Utf8ToUtf16HandlesAllInputsOfThreeBytes) {
    std::string text(1024, 'a');
    std::u16string units(1024, u'\0');
    for (unsigned number = 0x8000; number <= 0xFFFF; ++number) {
        for (std::size_t last = 0; last <= 0xFF; ++last) {
            text[4 * last] = static_cast<char>(number >> 8);
            text[4 * last + 1] = static_cast<char>(number & 0xFF);
            text[4 * last + 2] = static_cast<char>(last);
        }
        const Progress done = kernel().utf8ToUtf16(text.data(), 1024, units.data(), 1024);
        ASSERT_EQ(done.read, 1024u);
        ASSERT_EQ(std::u16string_view(units).substr(0, done.written), icuFromUtf8(text)) << number;
    }
}

struct Malformed {
    const char* name;
    std::string_view bytes;
    std::u16string_view units;
};

const Malformed MALFORMED[] = {
    {"continuation alone", "\x80"sv, u"\ufffd"sv},
    {"two continuations", "\xbf\x80"sv, u"\ufffd\ufffd"sv},
    {"continuation behind two bytes", "\xc3\xa9\x80"sv, u"\u00e9\ufffd"sv},
    {"continuation behind three bytes", "\xe4\xb8\xad\x80"sv, u"\u4e2d\ufffd"sv},
    {"continuation behind four bytes", "\xf0\x9f\x98\x80\x80"sv, u"\U0001f600\ufffd"sv},
    {"lead of two alone", "\xc3z"sv, u"\ufffdz"sv},
    {"lead of three alone", "\xe4z"sv, u"\ufffdz"sv},
    {"two of three", "\xe4\xb8z"sv, u"\ufffdz"sv},
    {"lead of four alone", "\xf0z"sv, u"\ufffdz"sv},
    {"two of four", "\xf0\x9fz"sv, u"\ufffdz"sv},
    {"three of four", "\xf0\x9f\x98z"sv, u"\ufffdz"sv},
    {"two of three, then two bytes", "\xe4\xb8\xc3\xa9"sv, u"\ufffd\u00e9"sv},
    {"three of four, then four", "\xf0\x9f\x98\xf0\x9f\x98\x80"sv, u"\ufffd\U0001f600"sv},
    {"overlong of two, C0", "\xc0\xaf"sv, u"\ufffd\ufffd"sv},
    {"overlong of two, C1", "\xc1\xbf"sv, u"\ufffd\ufffd"sv},
    {"overlong of three", "\xe0\x9f\xbf"sv, u"\ufffd\ufffd\ufffd"sv},
    {"overlong of four", "\xf0\x8f\xbf\xbf"sv, u"\ufffd\ufffd\ufffd\ufffd"sv},
    {"high surrogate", "\xed\xa0\x80"sv, u"\ufffd\ufffd\ufffd"sv},
    {"low surrogate", "\xed\xbf\xbf"sv, u"\ufffd\ufffd\ufffd"sv},
    {"above U+10FFFF", "\xf4\x90\x80\x80"sv, u"\ufffd\ufffd\ufffd\ufffd"sv},
    {"lead F5", "\xf5\x80\x80\x80"sv, u"\ufffd\ufffd\ufffd\ufffd"sv},
    {"lead F8", "\xf8\x88\x80\x80\x80"sv, u"\ufffd\ufffd\ufffd\ufffd\ufffd"sv},
    {"FE and FF", "\xfe\xff"sv, u"\ufffd\ufffd"sv},
};

TEST_P(KernelsTest, Utf8ToUtf16ReplacesEachMaximalSubpartAtEveryPlaceOfABlock) {
    Conversion<char, char16_t> conversion(kernel().utf8ToUtf16);
    const std::string fillers[] = {"a", "\xc3\xa9", "\xe4\xb8\xad", "\xf0\x9f\x98\x80"};
    for (const Malformed& row : MALFORMED) {
        SCOPED_TRACE(row.name);
        ASSERT_EQ(icuConverterFromUtf8(row.bytes), row.units);
        for (const std::string& filler : fillers) {
            const std::u16string unit = reference::utf16FromUtf8(filler, UNLIMITED).text;
            for (std::size_t place = 0; place < 64; ++place) {
                // Letters bring the fillers to a place that their size does not divide.
                const std::size_t fill = place / filler.size();
                std::string text(place % filler.size(), 'x');
                std::u16string expected(text.size(), u'x');
                text += repeated(filler, fill * filler.size()) + std::string(row.bytes);
                expected += repeated(unit, fill * unit.size()) + std::u16string(row.units);
                conversion.check(text, expected.size(), {expected, text.size()});
                text += repeated(filler, 130 * filler.size());
                expected += repeated(unit, 130 * unit.size());
                conversion.check(text, expected.size(), {expected, text.size()});
            }
        }
    }
}

TEST_P(KernelsTest, Utf8ToUtf16ReplacesASequenceCutByTheEndAtEveryLength) {
    Conversion<char, char16_t> conversion(kernel().utf8ToUtf16);
    for (const auto cut :
         {"\xc3"sv, "\xe4"sv, "\xe4\xb8"sv, "\xf0"sv, "\xf0\x9f"sv, "\xf0\x9f\x98"sv}) {
        for (std::size_t place = 0; place < 130; ++place) {
            const std::string text = std::string(place, 'x') + std::string(cut);
            const std::u16string expected = std::u16string(place, u'x') + u'\ufffd';
            conversion.check(text, expected.size(), {expected, text.size()});
        }
    }
}

TEST_P(KernelsTest, Utf16ToLatin1StopsAtTheFirstWiderUnit) {
    GuardedMemory source(1 << 12);
    GuardedMemory dest(1 << 12);
    for (std::size_t length = 0; length <= LONGEST; ++length) {
        for (const std::size_t wide : {length, length / 2, length - length / 5, std::size_t{0}}) {
            std::u16string text = repeated<std::u16string>(u"ab\u00ff\u0080 z", length);
            if (wide < length) {
                text[wide] = u'\u0100';
            }
            for (const Place place : PLACES) {
                const char16_t* const src = copied<char16_t>(source, text, place);
                dest.fill(UNTOUCHED);
                char* const bytes = placed<char>(dest, length, place);
                ASSERT_EQ(kernel().latin1PrefixLength(src, length), wide);
                ASSERT_EQ(kernel().utf16ToLatin1(src, length, bytes), wide);
                ASSERT_TRUE(std::equal(bytes, bytes + wide, text.begin(), [](char a, char16_t b) {
                    return static_cast<unsigned char>(a) == b;
                })) << length;
                ASSERT_EQ(std::count(bytes + wide, bytes + length, UNTOUCHED),
                          static_cast<std::ptrdiff_t>(length - wide));
            }
        }
    }
}

TEST_P(KernelsTest, Latin1ToUtf16WidensEveryByteAtEveryLength) {
    GuardedMemory source(1 << 12);
    GuardedMemory dest(1 << 12);
    std::string all(512, '\0');
    for (std::size_t i = 0; i < all.size(); ++i) {
        all[i] = static_cast<char>(i);
    }
    for (std::size_t length = 0; length <= 300; ++length) {
        const auto text = std::string_view(all).substr(length % 7, length);
        for (const Place place : PLACES) {
            const char* const src = copied(source, text, place);
            char16_t* const units = placed<char16_t>(dest, length, place);
            kernel().latin1ToUtf16(src, length, units);
            for (std::size_t i = 0; i < length; ++i) {
                ASSERT_EQ(units[i], (length % 7 + i) % 256) << length;
            }
        }
    }
}

TEST_P(KernelsTest, Latin1ToUtf8HandlesEveryLengthAndCapacity) {
    Conversion<char, char> conversion(kernel().latin1ToUtf8);
    for (const std::string& pattern : UTF8_PATTERNS) {
        for (std::size_t length = 0; length <= LONGEST; ++length) {
            const std::string text = repeated(pattern, length);
            const auto expected = reference::utf8FromLatin1(text, UNLIMITED);
            conversion.check(text, expected.text.size(), expected);
            ASSERT_EQ(kernel().utf8LengthOfLatin1(text.data(), length), expected.text.size());
        }
        const std::string text = repeated(pattern, 85);
        for (std::size_t capacity = 0; capacity <= 200; ++capacity) {
            conversion.check(text, capacity, reference::utf8FromLatin1(text, capacity));
        }
    }
}

TEST_P(KernelsTest, SwapUtf16ExchangesBytesAtEveryLengthAndAlignment) {
    GuardedMemory source(1 << 12);
    GuardedMemory dest(1 << 12);
    for (std::size_t length = 0; length <= LONGEST; ++length) {
        const std::u16string text = repeated<std::u16string>(u"\u0102\u0304\uff80\u007f!", length);
        const auto* const bytes = reinterpret_cast<const char*>(text.data());
        for (const Place place : PLACES) {
            for (std::size_t shift = 0; shift < 2; ++shift) {
                const char16_t* const src = copied<char16_t>(source, text, place);
                char* const swapped = placed<char>(dest, 2 * length + shift, place);
                kernel().swapUtf16(src, length, swapped);
                for (std::size_t i = 0; i < length; ++i) {
                    ASSERT_EQ(swapped[2 * i], bytes[2 * i + 1]) << length;
                    ASSERT_EQ(swapped[2 * i + 1], bytes[2 * i]) << length;
                }
            }
        }
    }
}

/// Text of runs of one kind, which meet at random places; now and then a unit of any value.
std::u16string randomText(std::mt19937& random) {
    const std::pair<unsigned, unsigned> kinds[] = {
        {0x20, 0x7F}, {0x80, 0x7FF}, {0x800, 0xD7FF}, {0xE000, 0xFFFF}, {0, 0xFFFF}};
    std::u16string text;
    const std::size_t length = random() % 150;
    while (text.size() < length) {
        const auto [first, last] = kinds[random() % 5];
        const bool pairs = random() % 5 == 0;
        for (std::size_t run = 1 + random() % 40; run > 0; --run) {
            if (pairs) {
                text += static_cast<char16_t>(0xD800 + random() % 0x400);
                text += static_cast<char16_t>(0xDC00 + random() % 0x400);
            } else {
                text += static_cast<char16_t>(first + random() % (last - first + 1));
            }
        }
    }
    return text;
}

TEST_P(KernelsTest, AgreeWithTheReferenceAndIcuOnRandomText) {
    const unsigned seed = std::random_device()();
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    std::cout << "seed " << seed << '\n';
    std::mt19937 random(seed);
    Conversion<char16_t, char> encode(kernel().utf16ToUtf8);
    Conversion<char, char16_t> decode(kernel().utf8ToUtf16);
    for (int round = 0; round < 25000 && !HasFatalFailure(); ++round) {
        const std::u16string text = randomText(random);
        std::string bytes = icuFromUtf16(text);
        const std::size_t capacity = random() % (bytes.size() + 100);
        encode.check(text, bytes.size(), {bytes, text.size()});
        encode.check(text, capacity, reference::utf8FromUtf16(text, capacity));
        for (std::size_t damage = random() % 4; damage > 0 && !bytes.empty(); --damage) {
            bytes[random() % bytes.size()] = static_cast<char>(random());
        }
        const std::u16string units = icuFromUtf8(bytes);
        decode.check(bytes, units.size(), {units, bytes.size()});
        decode.check(bytes, capacity, reference::utf16FromUtf8(bytes, capacity));
    }
}

}  // namespace
}  // namespace nx::oss::detail
