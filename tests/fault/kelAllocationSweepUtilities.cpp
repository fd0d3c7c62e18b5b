// Settings and Base64.
#include <sstream>

#include <infra/util/kelBase64.h>

#include "kelAllocationSweep.h"

namespace nx::test {

using icu::UnicodeString;
using util::Base64;
using util::ExtendedProperties;

namespace {

// --- Base64 -------------------------------------------------------------------------------------

unsigned short units[1'400];
char decoded[1'000];

/// A text of 77 characters, which are no whole groups.
const unsigned short* misaligned() {
    static const std::u16string text(77, u'Q');
    return reinterpret_cast<const unsigned short*>(text.c_str());
}

Rows rowsOfBase64() {
    static std::size_t place = 0;
    return {
        callOf("nx::util::Base64::decode(char*, unsigned long, unsigned short const*, unsigned "
               "long)",
               [] { return Base64::decode(decoded, 1'000, misaligned(), 76); }),
        callOf("nx::util::Base64::decode(char*, unsigned long, unsigned short const*, unsigned "
               "long)",
               [] { return Base64::decode(decoded, 1'000, misaligned(), 77); }),
        callOf("nx::util::Base64::decode(char*, unsigned long, unsigned short const*, unsigned "
               "long, bool)",
               [] { return Base64::decode(decoded, 5, misaligned(), 76, true); }),
        callOf("nx::util::Base64::decode(unsigned short, bool)",
               [] { return Base64::decode(u'!', true); }),
        callOf("nx::util::Base64::decodeSafe(char*, unsigned long, unsigned short const*, unsigned "
               "long)",
               [] { return Base64::decodeSafe(decoded, 1'000, misaligned(), 77); }),
        callOf("nx::util::Base64::decodeSize(unsigned long)",
               [] { return Base64::decodeSize(77); }),
        callOf("nx::util::Base64::encode(char, bool)", [] { return Base64::encode('\1', true); }),
        callOf("nx::util::Base64::encode(unsigned short*, unsigned long, char const*, unsigned "
               "long)",
               [] { return Base64::encode(units, 1'400, decoded, 1'000); }),
        callOf("nx::util::Base64::encode(unsigned short*, unsigned long, char const*, unsigned "
               "long, bool)",
               [] { return Base64::encode(units, 3, decoded, 1'000, true); }),
        callOf("nx::util::Base64::encodeSafe(unsigned short*, unsigned long, char const*, unsigned "
               "long)",
               [] { return Base64::encodeSafe(units, 3, decoded, 1'000); }),
        callOf("nx::util::Base64::encodeSize(unsigned long)",
               [] { return Base64::encodeSize(77); }),
        callOf("nx::util::Base64::setDestValue(char*, unsigned long&, unsigned long, char)",
               [] { Base64::setDestValue(decoded, place, 0, 'x'); }),
    };
}

// --- Settings -----------------------------------------------------------------------------------

/// Ten pairs, which is as many as the lookup holds without growing, and an include name.
struct Settings {
    Settings() {
        for (int i = 0; i < 10; ++i) {
            set.putProperty(UnicodeString("k").append(static_cast<char16_t>(u'0' + i)), LONG);
        }
        set.addInclude(LONG);
    }
    std::string state() const { return stateOf(set); }
    ExtendedProperties set;
};

constexpr Promise HALF_DONE{nullptr, nullptr, /*halfDone=*/true};

template <class Operation>
Row onSettings(const char* name, const Operation& operation, Promise promise = {}) {
    return row(
        name, [] { return Settings(); },
        [=](Settings& it) -> decltype(auto) { return operation(it.set); }, promise);
}

/// Numbers with so much white space around them that they are copied.
struct Padded {
    Padded() {
        const UnicodeString padding(40, u' ', 40);
        set.putProperty("number", padding + u"42" + padding);
        set.putProperty("real", padding + u"2.5000000000000000000000000000000000000" + padding);
        set.putProperty("truth", padding + u"on" + padding);
        set.putProperty("text", LONG);
    }
    std::string state() const { return stateOf(set); }
    ExtendedProperties set;
};

/// Each getter finds its value, one of another type, and none.
template <class Get>
void addGetter(Rows& rows, const char* name, const char* key, const Get& get) {
    static std::list<UnicodeString> kept;
    const UnicodeString& right = kept.emplace_back(key);
    const UnicodeString& wrong = kept.emplace_back("text");
    const UnicodeString& missing = kept.emplace_back("a key that nobody has ever put into the set");
    for (const UnicodeString* asked : {&right, &wrong, &missing}) {
        rows.push_back(row(
            name, [] { return Padded(); }, [=](Padded& it) { return get(it.set, *asked); }));
    }
}

Rows rowsOfGetters() {
    Rows rows;
    const bool* const required = nullptr;
    addGetter(rows,
              "nx::util::ExtendedProperties::getPropertyAsBoolean(icu::UnicodeString const&, bool "
              "const*) const",
              "truth",
              [=](auto& set, auto& key) { return set.getPropertyAsBoolean(key, required); });
    addGetter(rows,
              "nx::util::ExtendedProperties::getPropertyAsBoolean(icu::UnicodeString const&, bool) "
              "const",
              "truth", [](auto& set, auto& key) { return set.getPropertyAsBoolean(key, false); });
    addGetter(
        rows,
        "nx::util::ExtendedProperties::requirePropertyAsBoolean(icu::UnicodeString const&) const",
        "truth", [](auto& set, auto& key) { return set.requirePropertyAsBoolean(key); });
    addGetter(rows,
              "nx::util::ExtendedProperties::getPropertyAsDouble(icu::UnicodeString const&, double "
              "const*) const",
              "real", [](auto& set, auto& key) {
                  return set.getPropertyAsDouble(key, static_cast<const double*>(nullptr));
              });
    addGetter(
        rows,
        "nx::util::ExtendedProperties::getPropertyAsDouble(icu::UnicodeString const&, double) "
        "const",
        "real", [](auto& set, auto& key) { return set.getPropertyAsDouble(key, 1.0); });
    addGetter(
        rows,
        "nx::util::ExtendedProperties::requirePropertyAsDouble(icu::UnicodeString const&) const",
        "real", [](auto& set, auto& key) { return set.requirePropertyAsDouble(key); });
    addGetter(rows,
              "nx::util::ExtendedProperties::getPropertyAsInt32(icu::UnicodeString const&, int "
              "const*) const",
              "number", [](auto& set, auto& key) {
                  return set.getPropertyAsInt32(key, static_cast<const int*>(nullptr));
              });
    addGetter(
        rows,
        "nx::util::ExtendedProperties::getPropertyAsInt32(icu::UnicodeString const&, int) const",
        "number", [](auto& set, auto& key) { return set.getPropertyAsInt32(key, 1); });
    addGetter(
        rows,
        "nx::util::ExtendedProperties::requirePropertyAsInt32(icu::UnicodeString const&) const",
        "number", [](auto& set, auto& key) { return set.requirePropertyAsInt32(key); });
    addGetter(rows,
              "nx::util::ExtendedProperties::getPropertyAsInt64(icu::UnicodeString const&, long "
              "const*) const",
              "number", [](auto& set, auto& key) {
                  return set.getPropertyAsInt64(key, static_cast<const long*>(nullptr));
              });
    addGetter(
        rows,
        "nx::util::ExtendedProperties::getPropertyAsInt64(icu::UnicodeString const&, long) const",
        "number", [](auto& set, auto& key) { return set.getPropertyAsInt64(key, 1L); });
    addGetter(
        rows,
        "nx::util::ExtendedProperties::requirePropertyAsInt64(icu::UnicodeString const&) const",
        "number", [](auto& set, auto& key) { return set.requirePropertyAsInt64(key); });
    addGetter(rows,
              "nx::util::ExtendedProperties::getPropertyAsUInt32(icu::UnicodeString const&, "
              "unsigned int const*) const",
              "number", [](auto& set, auto& key) {
                  return set.getPropertyAsUInt32(key, static_cast<const unsigned int*>(nullptr));
              });
    addGetter(rows,
              "nx::util::ExtendedProperties::getPropertyAsUInt32(icu::UnicodeString const&, "
              "unsigned int) const",
              "number", [](auto& set, auto& key) { return set.getPropertyAsUInt32(key, 1U); });
    addGetter(
        rows,
        "nx::util::ExtendedProperties::requirePropertyAsUInt32(icu::UnicodeString const&) const",
        "number", [](auto& set, auto& key) { return set.requirePropertyAsUInt32(key); });
    addGetter(rows,
              "nx::util::ExtendedProperties::getPropertyAsUInt64(icu::UnicodeString const&, "
              "unsigned long const*) const",
              "number", [](auto& set, auto& key) {
                  return set.getPropertyAsUInt64(key, static_cast<const unsigned long*>(nullptr));
              });
    addGetter(rows,
              "nx::util::ExtendedProperties::getPropertyAsUInt64(icu::UnicodeString const&, "
              "unsigned long) const",
              "number", [](auto& set, auto& key) { return set.getPropertyAsUInt64(key, 1UL); });
    addGetter(
        rows,
        "nx::util::ExtendedProperties::requirePropertyAsUInt64(icu::UnicodeString const&) const",
        "number", [](auto& set, auto& key) { return set.requirePropertyAsUInt64(key); });
    addGetter(rows,
              "nx::util::ExtendedProperties::requireProperty(icu::UnicodeString const&) const",
              "real", [](auto& set, auto& key) { return set.requireProperty(key); });
    return rows;
}

const std::string TEXT =
    "a key that does not fit into the string object\\u0041x = and a value that does not either\n"
    "# a comment\n"
    "another long key with escapes\\t\\n\\r\\\\\\:\\u4E00...... : "
    "\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\n"
    "k3="
    "\\u0042\\u0042\\u0042\\u0042\\u0042\\u0042\\u0042\\u0042\\u0042\\u0042\\u0042\\u0042\\u0042\n"
    "r1=%k3%-%k3%-%k4% and more text that does not fit into the object\n"
    "b=1\nc=2\nd=3\ne=4\nf=5\ng=6\nh=7\ni=8\nj=9\n";

struct References {
    References() {
        set.putProperty("a", "<%b%-%c%-%a long name that does not fit into the string object%>");
        set.putProperty("b", "%c%%c%%c% and more text that does not fit into the object");
        set.putProperty("c", LONG);
        set.putProperty("a long name that does not fit into the string object", "<%c% of %c%>");
    }
    std::string state() const { return stateOf(set); }
    ExtendedProperties set;
};

struct Unresolvable : References {
    Unresolvable() {
        set.putProperty("b", "%c%-%another name that does not fit into the string object%");
    }
};

/// A value outside of the set.
struct Reference {
    std::string state() const {
        return references.state() + stateOf(value) + std::to_string(inProgress.size());
    }
    References references;
    std::list<UnicodeString> inProgress;
    UnicodeString value = "a value that is long enough to be on the heap: <%b%>";
};

/// A walk over a text, which no operation of it copies.
struct Position {
    std::string state() const { return std::to_string(at) + stateOf(out); }
    std::size_t at = 0;
    UnicodeString out = [] {
        UnicodeString text(27, u'x', 27);
        while (text.length() < text.getCapacity()) {
            text.append(u'x');
        }
        return text;
    }();
};

template <class Skip>
Row skips(const char* name, const Skip& skip) {
    return row(
        name, [] { return Position(); },
        [=](Position& it) { skip(it.at, "\r\n : x", std::size_t{6}); });
}

/// Keeps what is written without allocating.
struct Written {
    std::string state() const { return std::string(bytes, stream.getCount()); }
    char bytes[8'192];
    oss::ByteArrayOutputStream stream{bytes, 8'192};
};

/// The same one character at a time, as streams of other classes are written.
class FixedStream : public oss::OutputStream {
  public:
    using OutputStream::write;
    void write(char c) override { bytes_[length_++] = c; }
    std::string state() const { return {bytes_, length_}; }

  private:
    char bytes_[8'192];
    std::size_t length_ = 0;
};

/// Discards what it is given.
class Sink : public std::streambuf {
  protected:
    int overflow(int c) override { return c; }
    std::streamsize xsputn(const char*, std::streamsize count) override { return count; }
};

const UnicodeString& latinText() {
    static const UnicodeString text =
        UnicodeString("a=1\nlong=").append(UnicodeString(600, u'v', 600)).append(u"\nb=2\n");
    return text;
}

/// What is written before memory ends stays written.
constexpr Promise CUT{nullptr, nullptr, /*halfDone=*/true, /*onlyOnce=*/true};

Rows rowsOfSettings() {
    static ExtendedProperties source;
    source.loadFromString(TEXT.data(), 30);
    source.putProperty(borrowed(), borrowed());
    source.addInclude(borrowed());
    static const UnicodeString longKey(LONG);
    static const UnicodeString k3("k3");
    static const UnicodeString absent("absent");
    constexpr const char* const BAD_CONVERSION =
        "raises NLSException NX_ERR_OUT_OF_MEMORY|<null>|2|include/infra/oss/kelConverter|0|"
        "Converter::convertToBytes()";
    return {
        builds<ExtendedProperties>("nx::util::ExtendedProperties::ExtendedProperties()",
                                   [](auto& it) { it.emplace(); }),
        destroys<Settings>("nx::util::ExtendedProperties::~ExtendedProperties()",
                           [](auto& it) { it.emplace(); }),
        onSettings("nx::util::ExtendedProperties::addInclude(icu::UnicodeString const&)",
                   [](auto& set) { set.addInclude(borrowed()); }),
        onSettings("nx::util::ExtendedProperties::begin() const",
                   [](auto& set) { return set.begin() != set.end(); }),
        onSettings("nx::util::ExtendedProperties::copy(nx::util::ExtendedProperties const&)",
                   [](auto& set) { set.copy(source); }),
        onSettings("nx::util::ExtendedProperties::end() const",
                   [](auto& set) { return set.end() == set.begin(); }),
        onSettings("nx::util::ExtendedProperties::get(std::_Rb_tree_const_iterator<std::pair<icu::"
                   "UnicodeString const, icu::UnicodeString> > const&) const",
                   [](auto& set) { return set.get(set.begin()).second; }),
        onSettings("nx::util::ExtendedProperties::getIncludes[abi:cxx11]() const",
                   [](auto& set) { return set.getIncludes().size(); }),
        onSettings("nx::util::ExtendedProperties::getProperty(icu::UnicodeString const&, "
                   "icu::UnicodeString const&) const",
                   [](auto& set) { return set.getProperty(absent, borrowed()); }),
        onSettings("nx::util::ExtendedProperties::getProperty(icu::UnicodeString const&, "
                   "icu::UnicodeString const*, bool) const",
                   [](auto& set) { return set.getProperty(k3, nullptr, true) != nullptr; }),
        onSettings("nx::util::ExtendedProperties::getProperty(icu::UnicodeString const&, "
                   "icu::UnicodeString const*, bool) const",
                   [](auto& set) { return set.getProperty(longKey, nullptr, true) != nullptr; }),
        onSettings("nx::util::ExtendedProperties::hasProperty(icu::UnicodeString const&) const",
                   [](auto& set) { return set.hasProperty(longKey); }),
        onSettings("nx::util::ExtendedProperties::list(std::ostream&)",
                   [](auto& set) {
                       static Sink sink;
                       static std::ostream out(&sink);
                       set.list(out);
                   }),
        onSettings(
            "nx::util::ExtendedProperties::load(char const*, unsigned long)",
            [](auto& set) { set.load(TEXT.data(), TEXT.size()); }, HALF_DONE),
        onSettings(
            "nx::util::ExtendedProperties::loadFromString(char const*, unsigned long)",
            [](auto& set) { set.loadFromString(TEXT.data(), 250); }, HALF_DONE),
        onSettings(
            "nx::util::ExtendedProperties::loadFromString(char const*, unsigned long, bool, "
            "bool)",
            [](auto& set) { set.loadFromString(TEXT.data(), TEXT.size(), true, true); }, HALF_DONE),
        onSettings("nx::util::ExtendedProperties::loadFromString(icu::UnicodeString const&)",
                   [](auto& set) { set.loadFromString(latinText()); },
                   {nullptr, BAD_CONVERSION, /*halfDone=*/true}),
        row(
            "nx::util::ExtendedProperties::loadLine(unsigned long&, char const*, unsigned long)",
            [] { return Settings(); },
            [](Settings& it) {
                std::size_t pos = 0;
                return it.set.loadLine(pos, TEXT.data(), TEXT.size());
            }),
        onSettings("nx::util::ExtendedProperties::putProperty(icu::UnicodeString const&, "
                   "icu::UnicodeString const&)",
                   [](auto& set) { set.putProperty(borrowed(), borrowed()); }),
        onSettings("nx::util::ExtendedProperties::putProperty(icu::UnicodeString const&, "
                   "icu::UnicodeString const&)",
                   [](auto& set) { set.putProperty(k3, borrowed()); }),
        onSettings("nx::util::ExtendedProperties::putPropertyAsInt32(icu::UnicodeString const&, "
                   "int)",
                   [](auto& set) { set.putPropertyAsInt32(borrowed(), -5); }),
        onSettings("nx::util::ExtendedProperties::putPropertyAsInt64(icu::UnicodeString const&, "
                   "long)",
                   [](auto& set) { set.putPropertyAsInt64(borrowed(), -5); }),
        onSettings("nx::util::ExtendedProperties::putPropertyAsUint32(icu::UnicodeString const&, "
                   "unsigned int)",
                   [](auto& set) { set.putPropertyAsUint32(borrowed(), 5); }),
        onSettings("nx::util::ExtendedProperties::putPropertyAsUint64(icu::UnicodeString const&, "
                   "unsigned long)",
                   [](auto& set) { set.putPropertyAsUint64(borrowed(), 5); }),
        row(
            "nx::util::ExtendedProperties::readEscaped(icu::UnicodeString&, unsigned long&, char "
            "const*, unsigned long)",
            [] { return Position(); },
            [](Position& it) {
                it.at = 0;
                ExtendedProperties::readEscaped(it.out, it.at, "u0041.", 6);
            },
            {"5<null>", nullptr, false, /*onlyOnce=*/true}),
        onSettings("nx::util::ExtendedProperties::removeProperty(icu::UnicodeString const&)",
                   [](auto& set) { set.removeProperty(k3); }),
        row(
            "nx::util::ExtendedProperties::resolveProperties()", [] { return References(); },
            [](References& it) { it.set.resolveProperties(); }, HALF_DONE),
        row(
            "nx::util::ExtendedProperties::resolveProperties()", [] { return Unresolvable(); },
            [](Unresolvable& it) { it.set.resolveProperties(); }, HALF_DONE),
        row(
            "nx::util::ExtendedProperties::resolveProperty(std::__cxx11::list<icu::UnicodeString, "
            "std::allocator<icu::UnicodeString> >&, icu::UnicodeString const&, "
            "icu::UnicodeString&)",
            [] { return Reference(); },
            [](Reference& it) {
                it.inProgress.clear();
                it.references.set.resolveProperty(it.inProgress, borrowed(), it.value);
            },
            HALF_DONE),
        skips("nx::util::ExtendedProperties::skipAssignOp(unsigned long&, char const*, unsigned "
              "long)",
              ExtendedProperties::skipAssignOp),
        skips("nx::util::ExtendedProperties::skipLine(unsigned long&, char const*, unsigned long)",
              ExtendedProperties::skipLine),
        skips("nx::util::ExtendedProperties::skipNewLine(unsigned long&, char const*, unsigned "
              "long)",
              ExtendedProperties::skipNewLine),
        skips("nx::util::ExtendedProperties::skipWhiteSpace(unsigned long&, char const*, unsigned "
              "long)",
              ExtendedProperties::skipWhiteSpace),
        row(
            "nx::util::ExtendedProperties::store(nx::oss::OutputStream&)",
            [] { return std::make_unique<Written>(); },
            [](std::unique_ptr<Written>& it) { source.store(it->stream); }, CUT),
        row(
            "nx::util::ExtendedProperties::store(nx::oss::OutputStream&)",
            [] { return std::make_unique<FixedStream>(); },
            [](std::unique_ptr<FixedStream>& it) { source.store(*it); }, CUT),
        row(
            "nx::util::ExtendedProperties::writeString(nx::oss::OutputStream&, icu::UnicodeString "
            "const&, bool, bool)",
            [] { return std::make_unique<FixedStream>(); },
            [](std::unique_ptr<FixedStream>& it) {
                static const UnicodeString text(1'000, u'\u00E9', 1'000);
                ExtendedProperties::writeString(*it, text, true, true);
            },
            CUT),
    };
}

}  // namespace

Rows rowsOfUtilities() {
    Rows rows = rowsOfBase64();
    for (const Rows& more : {rowsOfGetters(), rowsOfSettings()}) {
        rows.insert(rows.end(), more.begin(), more.end());
    }
    return rows;
}

}  // namespace nx::test
