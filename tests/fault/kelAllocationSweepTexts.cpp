// Conversion, numbers, locales, UTF-8 and tokens.
#include <infra/oss/kelConverter.h>
#include <infra/oss/kelNLSUtility.h>

#include "kelAllocationSweep.h"

namespace nx::test {

using namespace oss;
using icu::UnicodeString;

namespace {

// --- Conversion ---------------------------------------------------------------------------------

char room[8'192];

const std::string LATIN(3'000, '\xE9');

Rows rowsOfConversions() {
    return {
        callOf("Converter::Converter()", [] { const Converter converter; }),
        destroys<Converter>("Converter::~Converter()", [](auto& it) { it.emplace(); }),
        callOf("Converter::convert(char*, int, char const*, bool, char const*, int, char const*, "
               "bool)",
               [] {
                   return Converter::convert(room, 8'192, "EUC-JP", false, LATIN.data(), 3'000,
                                             "ISO-8859-15", true);
               }),
        callOf("Converter::convert(char*, int, char const*, bool, icu::UnicodeString const&)",
               [] { return Converter::convert(room, 8'192, "windows-1252", true, longText()); }),
        callOf("Converter::convert(char*, int, char const*, char const*, char const*)",
               [] { return Converter::convert(room, 8'192, "UTF-8", LATIN.c_str(), "Shift_JIS"); }),
        callOf("Converter::convert(char*, int, char const*, char const*, int, char const*)",
               [] {
                   return Converter::convert(room, 8'192, "KOI8-R", LATIN.data(), 3'000, "IBM437");
               }),
        callOf("Converter::convert(char*, int, char const*, icu::UnicodeString const&)",
               [] { return Converter::convert(room, 8'192, "ISO-2022-JP", borrowed()); }),
        // An unknown code page, and a result that does not fit.
        callOf("Converter::convert(char*, int, char const*, icu::UnicodeString const&)",
               [] { return Converter::convert(room, 8'192, "no-such", borrowed()); }),
        callOf("Converter::convertToBytes(char*, int, char const*, char const*, char const*)",
               [] {
                   return Converter::convertToBytes(room, 5, "UTF-16LE", LATIN.c_str(),
                                                    "windows-1252");
               }),
        callOf("Converter::convertToBytes(char*, int, char const*, char const*, int, char const*)",
               [] {
                   return Converter::convertToBytes(nullptr, 0, "UTF-8", LATIN.data(), 3'000,
                                                    "GB18030");
               }),
        callOf("Converter::convertToBytes(char*, int, char const*, icu::UnicodeString const&)",
               [] { return Converter::convertToBytes(room, 8'192, nullptr, longText()); }),
        row(
            "inline Converter::convert<N>()",
            [] { return std::make_unique<SizeableBuffer<char, 16>>(0UL); },
            [](std::unique_ptr<SizeableBuffer<char, 16>>& buffer) {
                return Converter::convert(*buffer, "windows-1252", longText());
            },
            {"capacity 16"}),
        callOf("Converter::setDebugging(bool)", [] { Converter::setDebugging(false); }),
    };
}

// --- Numbers ------------------------------------------------------------------------------------

/// ICU makes formats of its data, and does not survive every failed allocation there.
constexpr Promise FORMATS{nullptr, nullptr, false, false, /*withoutIcu=*/true};
/// A text that was to be appended to.
constexpr Promise NULL_TEXT{"<null>", nullptr, false, /*onlyOnce=*/true};
/// A text that was to be appended to, with nothing appended or null.
constexpr Promise UNFINISHED{nullptr, nullptr, /*halfDone=*/true, /*onlyOnce=*/true};

Formatter german() { return Formatter(Formatter::SHORT, Formatter::LONG, "de_DE"); }

template <class Operation>
Row onFormatter(const char* name, const Operation& operation, Promise promise = {}) {
    return row(name, german, operation, promise);
}

/// A text that grows out of its object.
UnicodeString full() {
    UnicodeString text(27, u'x', 27);
    while (text.length() < text.getCapacity()) {
        text.append(u'x');
    }
    return text;
}

template <class Operation>
Row appends(const char* name, const Operation& operation, Promise promise = {}) {
    return row(name, full, operation, promise);
}

/// The formatted text of a number.
template <class Number>
void addNumber(Rows& rows, const char* type) {
    static const std::string name =
        std::string("Formatter::formatNumber(icu::UnicodeString&, ") + type + ") const";
    static const std::unique_ptr<Formatter> formatter(
        new Formatter(Formatter::SHORT, Formatter::LONG, "de_DE"));
    rows.push_back(row(
        name.c_str(), full,
        [](UnicodeString& out) { formatter->formatNumber(out, static_cast<Number>(101)); },
        UNFINISHED));
}

struct Values {
    std::string state() const {
        return std::to_string(number) + "," + std::to_string(big) + "," + std::to_string(real);
    }
    int number = 7;
    long big = 7;
    double real = 7;
};

const UnicodeString& wrongNumber() {
    static const UnicodeString text =
        UnicodeString(u" ").append(UnicodeString(600, u'x', 600)).append(u' ');
    return text;
}

const UnicodeString& wideNumber() {
    static const UnicodeString text = UnicodeString(600, u' ', 600).append(u"42 ");
    return text;
}

/// White space makes parsers copy the text, which is then a number or is none.
template <class Parse>
void addParser(Rows& rows, const char* name, const Parse& parse) {
    rows.push_back(callOf(name, [=] { return parse(wideNumber()); }));
    rows.push_back(callOf(name, [=] { return parse(wrongNumber()); }));
}

Rows rowsOfNumbers() {
    static const std::unique_ptr<Formatter> formatter(
        new Formatter(Formatter::SHORT, Formatter::LONG, "de_DE"));
    static const UnicodeString integer(u"1.234 and more");
    static const UnicodeString fraction(u"1.234,5");
    Rows rows = {
        builds<Formatter>(
            "Formatter::Formatter()", [](auto& it) { it.emplace(); }, FORMATS),
        builds<Formatter>(
            "Formatter::Formatter(nx::oss::Formatter::Style, "
            "nx::oss::Formatter::Style, char const*)",
            [](auto& it) { it.emplace(Formatter::FULL, Formatter::LONG, "fr_FR"); }, FORMATS),
        destroys<Formatter>(
            "Formatter::~Formatter()",
            [](auto& it) { it.emplace(Formatter::FULL, Formatter::LONG, "fr_FR"); }),
        callOf("Formatter::doubleToString(char*, int, double)",
               [] { return Formatter::doubleToString(room, 999, -1.7e308); }),
        appends(
            "Formatter::doubleToString(icu::UnicodeString&, double)",
            [](UnicodeString& out) { Formatter::doubleToString(out, -1.7e308); }, NULL_TEXT),
        appends("Formatter::formatHex(icu::UnicodeString&, unsigned long, bool)",
                [](UnicodeString& out) { Formatter::formatHex(out, ~0UL, true); }),
        onFormatter("Formatter::getDateStyle() const",
                    [](Formatter& f) { return f.getDateStyle(); }),
        callOf(
            "Formatter::getDefaultInstance()",
            []() -> auto& { return Formatter::getDefaultInstance(); }),
        onFormatter("Formatter::getICUStyle(nx::oss::Formatter::Style) const",
                    [](Formatter& f) { return f.getICUStyle(Formatter::FULL); }),
        onFormatter("Formatter::getLocale() const", [](Formatter& f) { return f.getLocale(); }),
        onFormatter("Formatter::getTimeStyle() const",
                    [](Formatter& f) { return f.getTimeStyle(); }),
        appends(
            "Formatter::int32ToString(icu::UnicodeString&, int)",
            [](UnicodeString& out) { Formatter::int32ToString(out, -12); }, NULL_TEXT),
        appends(
            "Formatter::int64ToString(icu::UnicodeString&, long)",
            [](UnicodeString& out) { Formatter::int64ToString(out, -12); }, NULL_TEXT),
        appends(
            "Formatter::uint32ToString(icu::UnicodeString&, unsigned int)",
            [](UnicodeString& out) { Formatter::uint32ToString(out, 12); }, NULL_TEXT),
        appends(
            "Formatter::uint64ToString(icu::UnicodeString&, unsigned long)",
            [](UnicodeString& out) { Formatter::uint64ToString(out, 12); }, NULL_TEXT),
        row(
            "Formatter::parseAs(double&, icu::UnicodeString const&) const", [] { return Values(); },
            [](Values& v) { return formatter->parseAs(v.real, fraction); }),
        row(
            "Formatter::parseAs(int&, icu::UnicodeString const&) const", [] { return Values(); },
            [](Values& v) { return formatter->parseAs(v.number, integer); }),
        row(
            "Formatter::parseAs(long&, icu::UnicodeString const&) const", [] { return Values(); },
            [](Values& v) { return formatter->parseAs(v.big, integer); }),
        onFormatter(
            "Formatter::setSettings(nx::oss::Formatter::Style, nx::oss::Formatter::Style, "
            "char const*)",
            [](Formatter& f) { f.setSettings(Formatter::FULL, Formatter::FULL, "fr_FR"); },
            FORMATS),
        callOf("Formatter::stringToDouble(char const*)",
               [] { return Formatter::stringToDouble("\xFF"); }),
        callOf("Formatter::stringToDouble(char const*)",
               [] {
                   static const std::string wide = std::string(600, ' ') + "42";
                   return Formatter::stringToDouble(wide.c_str());
               }),
        callOf("Formatter::stringToDouble(char const*)",
               [] { return Formatter::stringToDouble(static_cast<const char*>(nullptr)); }),
        callOf("hasValidDigits(char const*, bool)", [] { return hasValidDigits("-12", true); }),
    };
    addParser(rows, "Formatter::stringToDouble(icu::UnicodeString const&)",
              [](const UnicodeString& text) { return Formatter::stringToDouble(text); });
    addParser(rows, "Formatter::stringToInt32(icu::UnicodeString const&)",
              [](const UnicodeString& text) { return Formatter::stringToInt32(text); });
    addParser(rows, "Formatter::stringToInt64(icu::UnicodeString const&)",
              [](const UnicodeString& text) { return Formatter::stringToInt64(text); });
    addParser(rows, "Formatter::stringToUint32(icu::UnicodeString const&)",
              [](const UnicodeString& text) { return Formatter::stringToUint32(text); });
    addParser(rows, "Formatter::stringToUint64(icu::UnicodeString const&)",
              [](const UnicodeString& text) { return Formatter::stringToUint64(text); });
    forEachNumberType(
        [&rows](auto number, const char* type) { addNumber<decltype(number)>(rows, type); });
    return rows;
}

// --- Locales ------------------------------------------------------------------------------------

NLSUtility& locales() { return NLSUtility::getInstance(); }

Rows rowsOfLocales() {
    return {
        callOf("NLSUtility::NLSUtility()", [] { const NLSUtility utility; }),
        destroys<NLSUtility>("NLSUtility::~NLSUtility()", [](auto& it) { it.emplace(); }),
        callOf("NLSUtility::getCommandWindowCodePage()",
               [] { return NLSUtility::getCommandWindowCodePage(); }),
        callOf("NLSUtility::getDefaultCodePage()", [] { return NLSUtility::getDefaultCodePage(); }),
        callOf("NLSUtility::getDefaultLocale() const", [] { return locales().getDefaultLocale(); }),
        callOf("NLSUtility::getEnvironmentLocale()",
               [] { return locales().getEnvironmentLocale(); }),
        callOf("NLSUtility::getInstance()",
               [] { return NLSUtility::getInstance().getNumPrimaryLocales(); }),
        row(
            "NLSUtility::getLocale(icu::Locale&, char const*) const",
            [] { return icu::Locale("fr"); },
            [](icu::Locale& out) { locales().getLocale(out, "de-CH.UTF-8"); }),
        row(
            "NLSUtility::getLocale(icu::Locale&, char const*) const",
            [] { return icu::Locale("fr"); },
            [](icu::Locale& out) { locales().getLocale(out, nullptr); }),
        callOf("NLSUtility::getNumPrimaryLocales() const",
               [] { return locales().getNumPrimaryLocales(); }),
        callOf("NLSUtility::getPrimaryLocales() const",
               [] { return locales().getPrimaryLocales()[0]; }),
        callOf("NLSUtility::getStandardLocaleValue(char const*) const",
               [] { return locales().getStandardLocaleValue("de-CH.UTF-8"); }),
        callOf("NLSUtility::isSupported(char const*) const",
               [] { return locales().isSupported("no such locale"); }),
        callOf("compare(nx::oss::NLSConfigEntry*, nx::oss::NLSConfigEntry*)",
               [] {
                   NLSConfigEntry a{"A", "a"};
                   NLSConfigEntry b{"B", "b"};
                   return compare(&a, &b);
               }),
    };
}

// --- UTF-8 --------------------------------------------------------------------------------------

/// An iterator that lacks memory has no text and says so.
constexpr Promise FALSE_OR_EMPTY{nullptr, "gives 0.000000"};

struct Walk {
    std::string state() const { return stateOf(it); }
    UTF8Iterator it{"caf\xC3\xA9"};
};

template <class Operation>
Row onWalk(const char* name, const Operation& operation) {
    return row(
        name, [] { return Walk(); }, [=](Walk& walk) { return operation(walk.it); });
}

Rows rowsOfIterators() {
    static UnicodeString text = longText();
    static const UTF8Iterator source(longBytes().c_str());
    static const std::string malformed = longBytes() + "\xFF";
    // A constructor cannot refuse: it makes an iterator without text.
    constexpr Promise empty{nullptr, nullptr, false, false, false, "without text"};
    return {
        builds<UTF8Iterator>("UTF8Iterator::UTF8Iterator()", [](auto& it) { it.emplace(); }),
        builds<UTF8Iterator>(
            "UTF8Iterator::UTF8Iterator(char const*)",
            [](auto& it) { it.emplace(longBytes().c_str()); }, empty),
        builds<UTF8Iterator>(
            "UTF8Iterator::UTF8Iterator(char const*)",
            [](auto& it) { it.emplace(malformed.c_str()); }, empty),
        builds<UTF8Iterator>(
            "UTF8Iterator::UTF8Iterator(icu::UnicodeString&)", [](auto& it) { it.emplace(text); },
            empty),
        builds<UTF8Iterator>(
            "UTF8Iterator::UTF8Iterator(nx::oss::UTF8Iterator const&)",
            [](auto& it) { it.emplace(source); }, empty),
        destroys<UTF8Iterator>("UTF8Iterator::~UTF8Iterator()",
                               [](auto& it) { it.emplace(longBytes().c_str()); }),
        onWalk("UTF8Iterator::getFirstChar()", [](UTF8Iterator& it) { return it.getFirstChar(); }),
        onWalk("UTF8Iterator::getNextChar()", [](UTF8Iterator& it) { return it.getNextChar(); }),
        onWalk("UTF8Iterator::getString() const", [](UTF8Iterator& it) { return it.getString(); }),
        onWalk("UTF8Iterator::hasMoreChars() const",
               [](UTF8Iterator& it) { return it.hasMoreChars(); }),
        onWalk("UTF8Iterator::isEmpty() const", [](UTF8Iterator& it) { return it.isEmpty(); }),
        onWalk("UTF8Iterator::length() const", [](UTF8Iterator& it) { return it.length(); }),
        onWalk("UTF8Iterator::numChars() const", [](UTF8Iterator& it) { return it.numChars(); }),
        row(
            "UTF8Iterator::setString(char const*)", [] { return UTF8Iterator(); },
            [](UTF8Iterator& it) { return it.setString(longBytes().c_str()); }, FALSE_OR_EMPTY),
        row(
            "UTF8Iterator::setString(char const*)", [] { return UTF8Iterator(); },
            [](UTF8Iterator& it) { return it.setString(malformed.c_str()); }, FALSE_OR_EMPTY),
    };
}

UTF8String nearlyFull() { return UTF8String(std::string(4'090, 't').c_str()); }

template <class Operation>
Row onString(const char* name, const Operation& operation, Promise promise = {}) {
    return row(name, nearlyFull, operation, promise);
}

Rows rowsOfStrings() {
    static const UTF8String source(longBytes().c_str());
    static char bytes[] = "abc";
    return {
        builds<UTF8String>("UTF8String::UTF8String()", [](auto& it) { it.emplace(); }),
        builds<UTF8String>("UTF8String::UTF8String(char const*)",
                           [](auto& it) { it.emplace(longBytes().c_str()); }),
        builds<UTF8String>("UTF8String::UTF8String(icu::UnicodeString const&)",
                           [](auto& it) { it.emplace(longText()); }),
        builds<UTF8String>("UTF8String::UTF8String(int)", [](auto& it) { it.emplace(10'000); }),
        builds<UTF8String>("UTF8String::UTF8String(nx::oss::UTF8String const&)",
                           [](auto& it) { it.emplace(source); }),
        destroys<UTF8String>("UTF8String::~UTF8String()", [](auto& it) { it.emplace(10'000); }),
        onString("UTF8String::appendString(char const*)",
                 [](UTF8String& s) { s.appendString(longBytes().c_str()); }),
        onString("UTF8String::appendString(char const*, int)",
                 [](UTF8String& s) { s.appendString(longBytes().c_str(), 100); }),
        onString("UTF8String::appendString(icu::UnicodeString const&)",
                 [](UTF8String& s) { s.appendString(longText()); }),
        onString("UTF8String::appendString(nx::oss::UTF8String const&)",
                 [](UTF8String& s) { s.appendString(s); }),
        onString("UTF8String::compare(char const*) const",
                 [](UTF8String& s) { return s.compare("u"); }),
        onString("UTF8String::compare(nx::oss::UTF8String const&) const",
                 [](UTF8String& s) { return s.compare(source); }),
        onString("UTF8String::getString() const", [](UTF8String& s) { return s.getString(); }),
        onString("UTF8String::getString(char*, int, char const*) const",
                 [](UTF8String& s) { return s.getString(room, 8'192, "Shift_JIS"); }),
        onString("UTF8String::getString(char*, int, char const*) const",
                 [](UTF8String& s) { return s.getString(room, 5, "EUC-JP"); }),
        row(
            "UTF8String::getString(icu::UnicodeString&) const",
            [] { return UnicodeString("before"); },
            [](UnicodeString& out) { source.getString(out); }, UNFINISHED),
        row(
            "UTF8String::getUTF8Iterator(nx::oss::UTF8Iterator&) const",
            [] { return UTF8Iterator(); },
            [](UTF8Iterator& it) { return source.getUTF8Iterator(it); }, FALSE_OR_EMPTY),
        onString("UTF8String::insertString(int, char const*)",
                 [](UTF8String& s) { s.insertString(3, longBytes().c_str()); }),
        onString("UTF8String::insertString(int, char const*, int)",
                 [](UTF8String& s) { s.insertString(3, s.getString() + 1, 50); }),
        onString("UTF8String::insertString(int, icu::UnicodeString const&)",
                 [](UTF8String& s) { s.insertString(3, longText()); }),
        onString("UTF8String::insertString(int, nx::oss::UTF8String const&)",
                 [](UTF8String& s) { s.insertString(3, source); }),
        onString("UTF8String::numChars() const", [](UTF8String& s) { return s.numChars(); }),
        row(
            "UTF8String::numChars() const", [] { return UTF8String("\x80"); },
            [](UTF8String& s) { return s.numChars(); }),
        onString("UTF8String::operator=(icu::UnicodeString const&)",
                 [](UTF8String& s) { s = longText(); }, {"0/4096:"}),
        onString("UTF8String::operator=(nx::oss::UTF8String const&)",
                 [](UTF8String& s) { s = source; }),
        callOf("cLCHAR(char*, int)", [] { return cLCHAR(bytes, 3); }),
        callOf("cUTF8(char*)", [] { return cUTF8(bytes); }),
    };
}

// --- Tokens -------------------------------------------------------------------------------------

const UnicodeString& threeTokens() {
    static const UnicodeString text =
        UnicodeString(longText()).append(u',').append(longText()).append(u",c");
    return text;
}

StringTokenizer tokens() { return StringTokenizer(threeTokens(), ","); }

template <class Operation>
Row onTokens(const char* name, const Operation& operation, Promise promise = {}) {
    return row(name, tokens, operation, promise);
}

Rows rowsOfTokenizers() {
    static const std::string bytes = longBytes() + "\xC3\xA9," + longBytes();
    static const std::string delimiters = "," + std::string(1'000, '.') + "\xC3\xBC";
    // Going back to the first token comes before it is handed out.
    return {
        builds<StringTokenizer>(
            "StringTokenizer::StringTokenizer(char const*, char const*, char const*)",
            [](auto& it) { it.emplace(bytes.c_str(), delimiters.c_str(), "UTF-8"); }),
        builds<StringTokenizer>(
            "StringTokenizer::StringTokenizer(char const*, char const*, char const*)",
            [](auto& it) { it.emplace(bytes.c_str(), ",", "Shift_JIS"); }),
        builds<StringTokenizer>(
            "StringTokenizer::StringTokenizer(icu::UnicodeString const&, char const*)",
            [](auto& it) { it.emplace(threeTokens(), delimiters.c_str()); }),
        destroys<StringTokenizer>("StringTokenizer::~StringTokenizer()",
                                  [](auto& it) { it.emplace(threeTokens(), ","); }),
        onTokens("StringTokenizer::countTokens() const",
                 [](StringTokenizer& t) { return t.countTokens(); }),
        onTokens("StringTokenizer::getFirstToken()",
                 [](StringTokenizer& t) { return t.getFirstToken(); }),
        row(
            "StringTokenizer::getFirstToken()",
            [] { return StringTokenizer("abc", nullptr, "UTF-16"); },
            [](StringTokenizer& t) { return t.getFirstToken(); }),
        onTokens("StringTokenizer::getFirstTokenString()",
                 [](StringTokenizer& t) { return t.getFirstTokenString(); }),
        onTokens("StringTokenizer::getNextToken()",
                 [](StringTokenizer& t) { return t.getNextToken(); }),
        onTokens("StringTokenizer::getNextTokenString()",
                 [](StringTokenizer& t) { return t.getNextTokenString(); }),
        onTokens("StringTokenizer::hasMoreTokens() const",
                 [](StringTokenizer& t) { return t.hasMoreTokens(); }),
        onTokens("StringTokenizer::parseString(icu::UnicodeString const&, icu::UnicodeString "
                 "const&)",
                 [](StringTokenizer& t) { t.parseString(longText(), borrowed()); }, {"0-"}),
    };
}

}  // namespace

Rows rowsOfTexts() {
    Rows rows = rowsOfConversions();
    for (const Rows& more : {rowsOfNumbers(), rowsOfLocales(), rowsOfIterators(), rowsOfStrings(),
                             rowsOfTokenizers()}) {
        rows.insert(rows.end(), more.begin(), more.end());
    }
    return rows;
}

}  // namespace nx::test
