#include <infra/util/kelExtendedProperties.h>

#include <infra/oss/kelByteArrayOutputStream.h>
#include <infra/oss/kelConverter.h>
#include <infra/oss/kelFormatter.h>
#include <infra/oss/kelNLSException.h>
#include <infra/oss/kelSizeableBuffer.h>
#include <infra/util/kelPropertiesException.h>

#include <algorithm>
#include <new>
#include <optional>
#include <ostream>
#include <string_view>
#include <typeinfo>

#include <unicode/ustream.h>

#include "infra/detail/kelConversionBuffer.h"
#include "infra/detail/kelDecimalText.h"
#include "infra/detail/kelPropertiesReader.h"
#include "infra/detail/kelPropertiesWriter.h"
#include "infra/detail/kelPropertyIndex.h"
#include "infra/detail/kelPropertyLoader.h"
#include "infra/detail/kelRaise.h"
#include "infra/detail/kelReferenceResolver.h"
#include "infra/detail/kelUnicodeBuffer.h"
#include "infra/detail/kelUnitText.h"

namespace nx::util {

namespace {

using oss::detail::copyOf;
using oss::detail::ErrorSite;
using oss::detail::PropertiesText;
using oss::detail::PropertyLine;
using oss::detail::ReferenceError;

constexpr const char* FILE_NAME = "src/infra/util/kelExtendedProperties";
constexpr const char* WRONG_TYPE = "ERR_PROPERTY_WRONG_TYPE";

constexpr ErrorSite MISSING{"ERR_PROPERTY_MISSING", FILE_NAME, 629};
constexpr ErrorSite BAD_REFERENCE{"ERR_PROPERTIES_BAD_REFERENCE", FILE_NAME, 542};
// Required: this one names no place.
constexpr ErrorSite CYCLIC_REFERENCE{"ERR_PROPERTIES_CYCLIC_REFERENCE", nullptr, 0};
constexpr ErrorSite WRONG_BOOLEAN{WRONG_TYPE, FILE_NAME, 686};
constexpr ErrorSite WRONG_INT32{WRONG_TYPE, FILE_NAME, 724};
constexpr ErrorSite WRONG_UINT32{WRONG_TYPE, FILE_NAME, 761};
constexpr ErrorSite WRONG_INT64{WRONG_TYPE, FILE_NAME, 808};
constexpr ErrorSite WRONG_UINT64{WRONG_TYPE, FILE_NAME, 844};
constexpr ErrorSite WRONG_DOUBLE{WRONG_TYPE, FILE_NAME, 890};

constexpr std::string_view LINE_END = "\r\n";

icu::UnicodeString trimmed(const icu::UnicodeString& value) {
    icu::UnicodeString text(value);
    text.trim();
    return value.isBogus() ? text : oss::detail::requireText(std::move(text));
}

[[noreturn]] void raiseWrongType(const ErrorSite& site, const icu::UnicodeString& key,
                                 const icu::UnicodeString& value, const char* typeWord) {
    oss::detail::raise<PropertiesException>(site, key, trimmed(value), typeWord);
}

/// Whether `value` is a number for a parser of Formatter.
template <class Parse>
bool parses(Parse parse, const icu::UnicodeString& value) {
    try {
        parse(value);
        return true;
    } catch (const oss::NLSException&) {
        return false;
    }
}

/// The word for a value that is not of the type, from the value.
using TypeWord = const char* (*)(const icu::UnicodeString& value);

/// The number that the property holds, `*def` when it is absent. Parsing ignores white space around
/// it.
template <class T, class Parse>
T getNumber(const ExtendedProperties& properties, const icu::UnicodeString& key, const T* def,
            const ErrorSite& site, Parse parse, TypeWord typeWord) {
    const icu::UnicodeString* const value = properties.getProperty(key, nullptr, def == nullptr);
    if (value == nullptr) {
        return *def;
    }
    try {
        return parse(*value);
    } catch (const oss::NLSException&) {
    }
    raiseWrongType(site, key, *value, typeWord(*value));
}

double parseDouble(const icu::UnicodeString& text) { return oss::Formatter::stringToDouble(text); }

std::optional<bool> booleanOf(const icu::UnicodeString& value) {
    static constexpr std::u16string_view TRUE_WORDS[] = {u"true", u"yes", u"on", u"1"};
    static constexpr std::u16string_view FALSE_WORDS[] = {u"false", u"no", u"off", u"0"};
    const std::u16string_view word = oss::detail::viewOf(value);
    for (const auto& known : TRUE_WORDS) {
        if (word == known) {
            return true;
        }
    }
    for (const auto& known : FALSE_WORDS) {
        if (word == known) {
            return false;
        }
    }
    return std::nullopt;
}

bool parseBoolean(const icu::UnicodeString& key, const icu::UnicodeString& value) {
    // Most values need no trimming, which takes a copy.
    std::optional<bool> known = booleanOf(value);
    if (!known) {
        known = booleanOf(trimmed(value));
    }
    if (!known) {
        raiseWrongType(WRONG_BOOLEAN, key, value, "boolean");
    }
    return *known;
}

template <class Number>
icu::UnicodeString decimalText(Number value) {
    char text[oss::detail::LONGEST_DECIMAL_TEXT];
    const char* const end = oss::detail::writeDecimal(text, value);
    return {text, static_cast<int32_t>(end - text), US_INV};
}

void writeBytes(oss::OutputStream& out, const oss::detail::WrittenUnit& written) {
    for (std::size_t i = 0; i < written.length; ++i) {
        out.write(written.bytes[i]);
    }
}

void writePlain(oss::OutputStream& out, const icu::UnicodeString& text) {
    ExtendedProperties::writeString(out, text, /*escapeBlank=*/false, /*escapeSpecial=*/false);
}

/// Nothing is allocated for `start`.
void writeLine(oss::OutputStream& out, const char16_t* start, const icu::UnicodeString& rest) {
    writePlain(out, icu::UnicodeString(true, start, -1));
    writePlain(out, rest);
    out.write(LINE_END.data());
}

/// Both have to outlive what is returned.
oss::detail::ReferenceResolver::Lookup valueLookup(const detail::PropertyIndex& index,
                                                   detail::PropertyIndex::Map& map) {
    return [&index, &map](const icu::UnicodeString& name) {
        const auto found = index.find(name);
        return found == map.end() ? nullptr : &found->second;
    };
}

void raiseUnlessResolved(const oss::detail::ReferenceResult& result) {
    switch (result.error) {
        case ReferenceError::NONE:
            return;
        case ReferenceError::BAD_REFERENCE:
            oss::detail::raise<PropertiesException>(BAD_REFERENCE, result.name, result.reference);
        case ReferenceError::CYCLIC_REFERENCE:
            oss::detail::raise<PropertiesException>(CYCLIC_REFERENCE, result.name);
    }
}

}  // namespace

ExtendedProperties::ExtendedProperties()
    : index_(std::make_unique<detail::PropertyIndex>(propertyMap_)) {}

ExtendedProperties::~ExtendedProperties() = default;

void ExtendedProperties::copy(const ExtendedProperties& other) {
    if (this == &other) {
        return;
    }
    // Everything that can fail comes first.
    ExtendedProperties copied;
    copied.index_->reserve(other.propertyMap_.size());
    for (const auto& [key, value] : other.propertyMap_) {
        copied.index_->insert(
            copied.propertyMap_.emplace_hint(copied.propertyMap_.end(), key, value));
    }
    std::list<icu::UnicodeString> includes(other.includeList_);
    propertyMap_.swap(copied.propertyMap_);
    includeList_.swap(includes);
    index_->swap(*copied.index_);
}

void ExtendedProperties::putProperty(const icu::UnicodeString& key,
                                     const icu::UnicodeString& value) {
    // In place: the arguments may be the very strings that are stored.
    const detail::PropertyKey wanted(key);
    const auto found = index_->find(wanted);
    if (found != propertyMap_.end()) {
        found->second = copyOf(value);
        return;
    }
    index_->reserveOne();
    const bool isLast = propertyMap_.empty() || propertyMap_.rbegin()->first < key;
    const auto pair =
        isLast ? propertyMap_.emplace_hint(propertyMap_.end(), copyOf(key), copyOf(value))
               : propertyMap_.emplace(copyOf(key), copyOf(value)).first;
    index_->insert(pair, wanted.hash);
}

void ExtendedProperties::putPropertyAsInt32(const icu::UnicodeString& key, int value) {
    putProperty(key, decimalText(static_cast<long>(value)));
}

void ExtendedProperties::putPropertyAsUint32(const icu::UnicodeString& key, unsigned int value) {
    putProperty(key, decimalText(static_cast<unsigned long>(value)));
}

void ExtendedProperties::putPropertyAsInt64(const icu::UnicodeString& key, long value) {
    putProperty(key, decimalText(value));
}

void ExtendedProperties::putPropertyAsUint64(const icu::UnicodeString& key, unsigned long value) {
    putProperty(key, decimalText(value));
}

bool ExtendedProperties::hasProperty(const icu::UnicodeString& key) const {
    return index_->find(key) != propertyMap_.end();
}

void ExtendedProperties::removeProperty(const icu::UnicodeString& key) {
    const auto found = index_->find(key);
    if (found != propertyMap_.end()) {
        index_->erase(found);
        propertyMap_.erase(found);
    }
}

ExtendedProperties::const_iterator ExtendedProperties::begin() const {
    return propertyMap_.begin();
}

ExtendedProperties::const_iterator ExtendedProperties::end() const { return propertyMap_.end(); }

std::pair<icu::UnicodeString, icu::UnicodeString> ExtendedProperties::get(
    const const_iterator& it) const {
    return *it;
}

const icu::UnicodeString* ExtendedProperties::getProperty(const icu::UnicodeString& key,
                                                          const icu::UnicodeString* def,
                                                          bool required) const {
    const auto found = index_->find(key);
    if (found != propertyMap_.end()) {
        return &found->second;
    }
    if (required) {
        oss::detail::raise<PropertiesException>(MISSING, key);
    }
    return def;
}

icu::UnicodeString ExtendedProperties::getProperty(const icu::UnicodeString& key,
                                                   const icu::UnicodeString& def) const {
    return copyOf(*getProperty(key, &def, /*required=*/false));
}

const icu::UnicodeString& ExtendedProperties::requireProperty(const icu::UnicodeString& key) const {
    return *getProperty(key, nullptr, /*required=*/true);
}

bool ExtendedProperties::getPropertyAsBoolean(const icu::UnicodeString& key,
                                              const bool* def) const {
    const icu::UnicodeString* const value = getProperty(key, nullptr, def == nullptr);
    return value == nullptr ? *def : parseBoolean(key, *value);
}

bool ExtendedProperties::getPropertyAsBoolean(const icu::UnicodeString& key, bool def) const {
    return getPropertyAsBoolean(key, &def);
}

bool ExtendedProperties::requirePropertyAsBoolean(const icu::UnicodeString& key) const {
    return getPropertyAsBoolean(key, nullptr);
}

int ExtendedProperties::getPropertyAsInt32(const icu::UnicodeString& key, const int* def) const {
    return getNumber(*this, key, def, WRONG_INT32, oss::Formatter::stringToInt32,
                     [](const icu::UnicodeString&) { return "integer"; });
}

int ExtendedProperties::getPropertyAsInt32(const icu::UnicodeString& key, int def) const {
    return getPropertyAsInt32(key, &def);
}

int ExtendedProperties::requirePropertyAsInt32(const icu::UnicodeString& key) const {
    return getPropertyAsInt32(key, nullptr);
}

unsigned int ExtendedProperties::getPropertyAsUInt32(const icu::UnicodeString& key,
                                                     const unsigned int* def) const {
    return getNumber(*this, key, def, WRONG_UINT32, oss::Formatter::stringToUint32,
                     [](const icu::UnicodeString& value) {
                         return parses(oss::Formatter::stringToInt32, value) ? "uint32" : "integer";
                     });
}

unsigned int ExtendedProperties::getPropertyAsUInt32(const icu::UnicodeString& key,
                                                     unsigned int def) const {
    return getPropertyAsUInt32(key, &def);
}

unsigned int ExtendedProperties::requirePropertyAsUInt32(const icu::UnicodeString& key) const {
    return getPropertyAsUInt32(key, nullptr);
}

long ExtendedProperties::getPropertyAsInt64(const icu::UnicodeString& key, const long* def) const {
    return getNumber(*this, key, def, WRONG_INT64, oss::Formatter::stringToInt64,
                     [](const icu::UnicodeString&) { return "int64"; });
}

long ExtendedProperties::getPropertyAsInt64(const icu::UnicodeString& key, long def) const {
    return getPropertyAsInt64(key, &def);
}

long ExtendedProperties::requirePropertyAsInt64(const icu::UnicodeString& key) const {
    return getPropertyAsInt64(key, nullptr);
}

unsigned long ExtendedProperties::getPropertyAsUInt64(const icu::UnicodeString& key,
                                                      const unsigned long* def) const {
    return getNumber(*this, key, def, WRONG_UINT64, oss::Formatter::stringToUint64,
                     [](const icu::UnicodeString& value) {
                         return parses(oss::Formatter::stringToInt64, value) ? "uint64" : "longint";
                     });
}

unsigned long ExtendedProperties::getPropertyAsUInt64(const icu::UnicodeString& key,
                                                      unsigned long def) const {
    return getPropertyAsUInt64(key, &def);
}

unsigned long ExtendedProperties::requirePropertyAsUInt64(const icu::UnicodeString& key) const {
    return getPropertyAsUInt64(key, nullptr);
}

double ExtendedProperties::getPropertyAsDouble(const icu::UnicodeString& key,
                                               const double* def) const {
    return getNumber(*this, key, def, WRONG_DOUBLE, parseDouble,
                     [](const icu::UnicodeString&) { return "double"; });
}

double ExtendedProperties::getPropertyAsDouble(const icu::UnicodeString& key, double def) const {
    return getPropertyAsDouble(key, &def);
}

double ExtendedProperties::requirePropertyAsDouble(const icu::UnicodeString& key) const {
    return getPropertyAsDouble(key, nullptr);
}

void ExtendedProperties::resolveProperties() {
    std::list<icu::UnicodeString> inProgress;
    oss::detail::ReferenceResolver resolver(inProgress, valueLookup(*index_, propertyMap_));
    for (auto& [key, value] : propertyMap_) {
        if (oss::detail::holdsReference(value)) {
            raiseUnlessResolved(resolver.resolve(key, value));
        }
    }
}

void ExtendedProperties::resolveProperty(std::list<icu::UnicodeString>& inProgress,
                                         const icu::UnicodeString& name,
                                         icu::UnicodeString& value) {
    oss::detail::ReferenceResolver resolver(inProgress, valueLookup(*index_, propertyMap_));
    raiseUnlessResolved(resolver.resolve(name, value));
}

void ExtendedProperties::addInclude(const icu::UnicodeString& name) {
    includeList_.push_back(copyOf(name));
}

const std::list<icu::UnicodeString>& ExtendedProperties::getIncludes() const {
    return includeList_;
}

void ExtendedProperties::load(const char* data, std::size_t len) {
    detail::PropertyLoader(propertyMap_, *index_).load({data, len});
}

void ExtendedProperties::loadFromString(const char* data, std::size_t len, bool /*flag*/,
                                        bool resolve) {
    load(data, len);
    if (resolve) {
        resolveProperties();
    }
}

void ExtendedProperties::loadFromString(const char* data, std::size_t len) {
    loadFromString(data, len, /*flag=*/false, /*resolve=*/true);
}

void ExtendedProperties::loadFromString(const icu::UnicodeString& text) {
    oss::SizeableBuffer<char, 512> bytes(/*maximumSize=*/0);
    const int size = oss::Converter::convertToBytes(nullptr, 0, EncodingISOLatin1, text);
    try {
        bytes.resize(static_cast<unsigned long>(size));
    } catch (const std::bad_alloc&) {
        // Required: the report of a conversion, not of this file.
        oss::detail::raise<oss::NLSException>(
            {"NX_ERR_OUT_OF_MEMORY", oss::detail::CONVERSION_BUFFER_FILE},
            "Converter::convertToBytes()");
    }
    oss::Converter::convertToBytes(bytes.data(), size, EncodingISOLatin1, text);
    loadFromString(bytes.data(), static_cast<std::size_t>(size), /*flag=*/false, /*resolve=*/true);
}

bool ExtendedProperties::loadLine(std::size_t& pos, const char* data, std::size_t len) {
    icu::UnicodeString key;
    icu::UnicodeString value;
    const PropertyLine line = oss::detail::readPropertyLine(key, value, pos, {data, len});
    if (line == PropertyLine::PAIR) {
        putProperty(key, value);
    }
    return line != PropertyLine::NONE;
}

void ExtendedProperties::readEscaped(icu::UnicodeString& out, std::size_t& pos, const char* data,
                                     std::size_t len) {
    if (out.isBogus()) {
        out.remove();
    }
    oss::detail::readEscaped(out, pos, {data, len});
    if (out.isBogus()) {
        oss::detail::raiseBadAlloc();
    }
}

void ExtendedProperties::skipAssignOp(std::size_t& pos, const char* data, std::size_t len) {
    oss::detail::skipAssignOp(pos, {data, len});
}

void ExtendedProperties::skipWhiteSpace(std::size_t& pos, const char* data, std::size_t len) {
    oss::detail::skipWhiteSpace(pos, {data, len});
}

void ExtendedProperties::skipNewLine(std::size_t& pos, const char* data, std::size_t len) {
    oss::detail::skipNewLine(pos, {data, len});
}

void ExtendedProperties::skipLine(std::size_t& pos, const char* data, std::size_t len) {
    oss::detail::skipLine(pos, {data, len});
}

void ExtendedProperties::store(oss::OutputStream& out) {
    // Required: nothing follows the blank.
    writeLine(out, u"#saved by ExtendedProperties on ", {});
    for (const icu::UnicodeString& name : includeList_) {
        writeLine(out, u"#include ", name);
    }
    // Only this very class: one derived from it may do anything with a character.
    auto* const array = typeid(out) == typeid(oss::ByteArrayOutputStream)
                            ? static_cast<oss::ByteArrayOutputStream*>(&out)
                            : nullptr;
    for (const auto& pair : propertyMap_) {
        if (array == nullptr || !storeAtOnce(*array, pair)) {
            writeString(out, pair.first, /*escapeBlank=*/true, /*escapeSpecial=*/true);
            out.write(charEquals);
            writeString(out, pair.second, /*escapeBlank=*/false, /*escapeSpecial=*/true);
            out.write(LINE_END.data());
        }
    }
    out.flush();
}

/// False, and nothing written, where the array may be too small.
bool ExtendedProperties::storeAtOnce(oss::ByteArrayOutputStream& out, const Map::value_type& pair) {
    const auto& [key, value] = pair;
    const std::size_t units = oss::detail::viewOf(key).size() + oss::detail::viewOf(value).size();
    char* dest = out.roomFor(oss::detail::LONGEST_WRITTEN_UNIT * units + 1 + LINE_END.size());
    if (dest == nullptr) {
        return false;
    }
    dest = oss::detail::writeEscaped(dest, key, {/*escapeBlank=*/true, /*escapeSpecial=*/true});
    *dest++ = charEquals;
    dest = oss::detail::writeEscaped(dest, value, {/*escapeBlank=*/false, /*escapeSpecial=*/true});
    out.wroteUpTo(std::copy(LINE_END.begin(), LINE_END.end(), dest));
    return true;
}

void ExtendedProperties::writeString(oss::OutputStream& out, const icu::UnicodeString& text,
                                     bool escapeBlank, bool escapeSpecial) {
    const oss::detail::EscapedUnits escaped(escapeBlank, escapeSpecial);
    const std::u16string_view units = oss::detail::viewOf(text);
    for (std::size_t i = 0; i < units.size(); ++i) {
        if (escaped.contains(units[i])) {
            writeBytes(out, oss::detail::escapedForm(text, static_cast<int>(i)));
        } else {
            out.write(static_cast<char>(units[i]));
        }
    }
}

void ExtendedProperties::list(std::ostream& os) {
    os << "-- listing properties --" << std::endl;
    for (const auto& [key, value] : propertyMap_) {
        os << key << "=" << value << std::endl;
    }
}

}  // namespace nx::util
