// The operations, constructors and constants of Base64 and of the settings.
#include <infra/util/kelBase64.h>
#include <infra/util/kelExtendedProperties.h>

#include <cstddef>
#include <iosfwd>
#include <list>
#include <map>
#include <type_traits>
#include <utility>

#include <gtest/gtest.h>

#include "kelSignatures.h"

namespace nx::util {
namespace {

using namespace signatures;

// --- Base64 -------------------------------------------------------------------------------------

using B = Base64;
using Units = unsigned short*;
using ConstUnits = const unsigned short*;

static_assert(std::is_empty_v<B> && !std::is_default_constructible_v<B>);
static_assert(is<unsigned short>(B::fillChar, 61));

TEST(Base64Signatures, OfOperations) {
    declares<Size (*)(Size), &B::encodeSize>();
    declares<Size (*)(Size), &B::decodeSize>();
    declares<Size (*)(Units, Size, Bytes, Size, bool), &B::encode>();
    declares<Size (*)(Units, Size, Bytes, Size), &B::encode>();
    declares<Size (*)(Units, Size, Bytes, Size), &B::encodeSafe>();
    declares<Size (*)(char*, Size, ConstUnits, Size, bool), &B::decode>();
    declares<Size (*)(char*, Size, ConstUnits, Size), &B::decode>();
    declares<Size (*)(char*, Size, ConstUnits, Size), &B::decodeSafe>();
    declares<wchar_t (*)(char, bool), &B::encode>();
    declares<char (*)(unsigned short, bool), &B::decode>();
    declares<void (*)(char*, Size&, Size, char), &B::setDestValue>();
}

// --- ExtendedProperties -------------------------------------------------------------------------

using E = ExtendedProperties;
using Strings = std::list<UnicodeString>;
using Pair = std::pair<UnicodeString, UnicodeString>;
using Map = std::map<UnicodeString, UnicodeString>;

static_assert(std::has_virtual_destructor_v<E> && NEVER_COPIED<E>);
static_assert(std::is_default_constructible_v<E>);
static_assert(std::is_same_v<E::const_iterator, Map::const_iterator>);

static_assert(is<char>(E::charTab, 9) && is<char>(E::charLineFeed, 10) &&
              is<char>(E::charReturn, 13));
static_assert(is<char>(E::charBlank, 32) && is<char>(E::charExclMark, 33) &&
              is<char>(E::charPound, 35));
static_assert(is<char>(E::charPercent, 37) && is<char>(E::charColon, 58) &&
              is<char>(E::charEquals, 61));
static_assert(is<char>(E::charEscape, 92) && is<char>(E::charN, 110) && is<char>(E::charR, 114));
static_assert(is<char>(E::charT, 116) && is<char>(E::charU, 117));
static_assert(isText(E::EncodingISOLatin1, "ISO8859_1") && isText(E::backupFileSuffix, ".kvbk"));

TEST(ExtendedPropertiesSignatures, OfStorage) {
    declares<Does<E, const E&>, &E::copy>();
    declares<Does<E, String, String>, &E::putProperty>();
    declares<Does<E, String, int>, &E::putPropertyAsInt32>();
    declares<Does<E, String, unsigned int>, &E::putPropertyAsUint32>();
    declares<Does<E, String, long>, &E::putPropertyAsInt64>();
    declares<Does<E, String, unsigned long>, &E::putPropertyAsUint64>();
    declares<Reads<E, bool, String>, &E::hasProperty>();
    declares<Does<E, String>, &E::removeProperty>();
    declares<Reads<E, E::const_iterator>, &E::begin>();
    declares<Reads<E, E::const_iterator>, &E::end>();
    declares<Reads<E, Pair, const E::const_iterator&>, &E::get>();
    declares<Does<E, String>, &E::addInclude>();
    declares<Reads<E, const Strings&>, &E::getIncludes>();
}

TEST(ExtendedPropertiesSignatures, OfLookups) {
    declares<Reads<E, const UnicodeString*, String, const UnicodeString*, bool>, &E::getProperty>();
    declares<Reads<E, UnicodeString, String, String>, &E::getProperty>();
    declares<Reads<E, String, String>, &E::requireProperty>();
    declares<Does<E>, &E::resolveProperties>();
    declares<Does<E, Strings&, String, UnicodeString&>, &E::resolveProperty>();
}

TEST(ExtendedPropertiesSignatures, OfTypedLookups) {
    declares<Reads<E, bool, String, const bool*>, &E::getPropertyAsBoolean>();
    declares<Reads<E, bool, String, bool>, &E::getPropertyAsBoolean>();
    declares<Reads<E, bool, String>, &E::requirePropertyAsBoolean>();
    declares<Reads<E, int, String, const int*>, &E::getPropertyAsInt32>();
    declares<Reads<E, int, String, int>, &E::getPropertyAsInt32>();
    declares<Reads<E, int, String>, &E::requirePropertyAsInt32>();
    declares<Reads<E, unsigned int, String, const unsigned int*>, &E::getPropertyAsUInt32>();
    declares<Reads<E, unsigned int, String, unsigned int>, &E::getPropertyAsUInt32>();
    declares<Reads<E, unsigned int, String>, &E::requirePropertyAsUInt32>();
    declares<Reads<E, long, String, const long*>, &E::getPropertyAsInt64>();
    declares<Reads<E, long, String, long>, &E::getPropertyAsInt64>();
    declares<Reads<E, long, String>, &E::requirePropertyAsInt64>();
    declares<Reads<E, unsigned long, String, const unsigned long*>, &E::getPropertyAsUInt64>();
    declares<Reads<E, unsigned long, String, unsigned long>, &E::getPropertyAsUInt64>();
    declares<Reads<E, unsigned long, String>, &E::requirePropertyAsUInt64>();
    declares<Reads<E, double, String, const double*>, &E::getPropertyAsDouble>();
    declares<Reads<E, double, String, double>, &E::getPropertyAsDouble>();
    declares<Reads<E, double, String>, &E::requirePropertyAsDouble>();
}

TEST(ExtendedPropertiesSignatures, OfTheTextForm) {
    declares<Does<E, Bytes, Size>, &E::load>();
    declares<Does<E, Bytes, Size, bool, bool>, &E::loadFromString>();
    declares<Does<E, Bytes, Size>, &E::loadFromString>();
    declares<Does<E, String>, &E::loadFromString>();
    declares<Gives<E, bool, Size&, Bytes, Size>, &E::loadLine>();
    declares<void (*)(UnicodeString&, Size&, Bytes, Size), &E::readEscaped>();
    declares<void (*)(Size&, Bytes, Size), &E::skipAssignOp>();
    declares<void (*)(Size&, Bytes, Size), &E::skipWhiteSpace>();
    declares<void (*)(Size&, Bytes, Size), &E::skipNewLine>();
    declares<void (*)(Size&, Bytes, Size), &E::skipLine>();
    declares<Does<E, oss::OutputStream&>, &E::store>();
    declares<void (*)(oss::OutputStream&, String, bool, bool), &E::writeString>();
    declares<Does<E, std::ostream&>, &E::list>();
}

}  // namespace
}  // namespace nx::util
