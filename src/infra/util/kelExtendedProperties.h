#pragma once

#include <cstddef>
#include <iosfwd>
#include <list>
#include <map>
#include <memory>
#include <utility>

#include <unicode/unistr.h>

#include <infra/oss/kelByteArrayOutputStream.h>
#include <infra/oss/kelExport.h>
#include <infra/oss/kelOutputStream.h>

namespace nx::util {

namespace detail {
class PropertyIndex;
}

/// A set of configuration properties: pairs of key and value, read from and written to a
/// line-oriented text, with typed getters and `%name%` references between values.
///
///     nx::util::ExtendedProperties settings;
///     settings.loadFromString(data, length);
///     const unsigned int port = settings.getPropertyAsUInt32("port", 4711u);
///     const icu::UnicodeString& host = settings.requireProperty("host");
///
/// Keys are compared exactly and ordered by UTF-16 code units; "" is a valid key. Values are kept
/// as given. Iteration, store() and list() go in key order.
///
/// Errors are thrown as PropertiesException with file "src/infra/util/kelExtendedProperties":
///
/// - "ERR_PROPERTY_MISSING" (key), line 629;
/// - "ERR_PROPERTY_WRONG_TYPE" (key, value without white space around it, type word), with a line
///   and a word for each typed getter;
/// - "ERR_PROPERTIES_BAD_REFERENCE" (property, name referred to), line 542;
/// - "ERR_PROPERTIES_CYCLIC_REFERENCE" (name), careful: without file name and with line 0.
///
/// Memory exhaustion ends in std::bad_alloc. An operation on one pair has changed nothing then, and
/// neither has copy(); loading and resolving keep what they have done so far.
///
/// docs/properties-format.md describes the text format.
///
/// Thread-safety: any number of threads may read at the same time; everything that is not const
/// needs exclusive access.
class KELINFRA_EXPORT ExtendedProperties {
  public:
    /// Walks the pairs in key order: `first` is the key, `second` the value.
    typedef std::map<icu::UnicodeString, icu::UnicodeString>::const_iterator const_iterator;

    /// @name The characters and names of the text format
    /// @{

    /// A tab.
    static constexpr char charTab = '\t';
    /// Ends a line.
    static constexpr char charLineFeed = '\n';
    /// Ends a line, alone or before a line feed.
    static constexpr char charReturn = '\r';
    /// A blank.
    static constexpr char charBlank = ' ';
    /// Begins a comment.
    static constexpr char charExclMark = '!';
    /// Begins a comment.
    static constexpr char charPound = '#';
    /// Stands around the name of a reference.
    static constexpr char charPercent = '%';
    /// Assigns.
    static constexpr char charColon = ':';
    /// Assigns.
    static constexpr char charEquals = '=';
    /// Begins an escape, or continues a line.
    static constexpr char charEscape = '\\';
    /// Escaped: a line feed.
    static constexpr char charN = 'n';
    /// Escaped: a carriage return.
    static constexpr char charR = 'r';
    /// Escaped: a tab.
    static constexpr char charT = 't';
    /// Escaped: a character by its number.
    static constexpr char charU = 'u';

    /// The code page of the text format.
    static constexpr const char* EncodingISOLatin1 = "ISO8859_1";
    /// The file-name suffix for the backup copy of a stored file. For those who save files; nothing
    /// here uses it.
    static constexpr const char* backupFileSuffix = ".kvbk";
    /// @}

    /// Empty.
    ExtendedProperties();
    ExtendedProperties(const ExtendedProperties&) = delete;
    ExtendedProperties& operator=(const ExtendedProperties&) = delete;
    virtual ~ExtendedProperties();

    /// Makes this set equal to `other`, include names too. Copying a set onto itself does nothing.
    void copy(const ExtendedProperties& other);

    /// Stores the pair; an earlier value of the key is replaced. The arguments may refer into this
    /// set.
    void putProperty(const icu::UnicodeString& key, const icu::UnicodeString& value);
    /// Stores a number in decimal.
    void putPropertyAsInt32(const icu::UnicodeString& key, int value);
    /// As putPropertyAsInt32().
    void putPropertyAsUint32(const icu::UnicodeString& key, unsigned int value);
    /// As putPropertyAsInt32().
    void putPropertyAsInt64(const icu::UnicodeString& key, long value);
    /// As putPropertyAsInt32().
    void putPropertyAsUint64(const icu::UnicodeString& key, unsigned long value);

    /// Whether the key is there.
    bool hasProperty(const icu::UnicodeString& key) const;
    /// Removes the pair; an absent key is no error.
    void removeProperty(const icu::UnicodeString& key);

    /// The first of the pairs in key order. Iterators stay valid until their pair is removed.
    const_iterator begin() const;
    /// Behind the last pair.
    const_iterator end() const;
    /// A copy of the pair at `it`, which must not be end().
    std::pair<icu::UnicodeString, icu::UnicodeString> get(const const_iterator& it) const;

    /// The stored value, or `def` when the key is absent. The address is valid until the pair is
    /// changed or removed. Throws "ERR_PROPERTY_MISSING" when the key is absent and `required`.
    const icu::UnicodeString* getProperty(const icu::UnicodeString& key,
                                          const icu::UnicodeString* def, bool required) const;
    /// A copy of the stored value or of `def`.
    icu::UnicodeString getProperty(const icu::UnicodeString& key,
                                   const icu::UnicodeString& def) const;
    /// The stored value; valid until the pair is changed or removed. Throws "ERR_PROPERTY_MISSING".
    const icu::UnicodeString& requireProperty(const icu::UnicodeString& key) const;

    /// @name Typed getters
    /// Three for each type: with the address of a default, null meaning that the property is
    /// required; with a default; and required. White space around the value is ignored. An absent
    /// key gives the default as it is, or throws "ERR_PROPERTY_MISSING" without one. A value that
    /// is not of the type throws "ERR_PROPERTY_WRONG_TYPE". The set is not changed.
    ///
    /// Careful: numbers are checked for their digits, not for their range; see Formatter. A "port"
    /// of 4294967376 reads as 80.
    ///
    /// Careful: with a literal 0 as default most of these calls are ambiguous; write 0u, 0L, 0.0 or
    /// false. A string literal as default of a boolean counts as true.
    /// @{

    /// "true", "yes", "on", "1" and "false", "no", "off", "0", exactly so. Type word "boolean",
    /// line 686.
    bool getPropertyAsBoolean(const icu::UnicodeString& key, const bool* def) const;
    bool getPropertyAsBoolean(const icu::UnicodeString& key, bool def) const;
    /// The value of a required property, as getPropertyAsBoolean() reads it.
    bool requirePropertyAsBoolean(const icu::UnicodeString& key) const;

    /// Parsed by Formatter::stringToInt32. Type word "integer", line 724.
    int getPropertyAsInt32(const icu::UnicodeString& key, const int* def) const;
    int getPropertyAsInt32(const icu::UnicodeString& key, int def) const;
    /// The value of a required property, as getPropertyAsInt32() reads it.
    int requirePropertyAsInt32(const icu::UnicodeString& key) const;

    /// Parsed by Formatter::stringToUint32. Type word "uint32" for a valid signed number, "integer"
    /// for anything else; line 761.
    unsigned int getPropertyAsUInt32(const icu::UnicodeString& key, const unsigned int* def) const;
    unsigned int getPropertyAsUInt32(const icu::UnicodeString& key, unsigned int def) const;
    /// The value of a required property, as getPropertyAsUInt32() reads it.
    unsigned int requirePropertyAsUInt32(const icu::UnicodeString& key) const;

    /// Parsed by Formatter::stringToInt64. Type word "int64", line 808.
    long getPropertyAsInt64(const icu::UnicodeString& key, const long* def) const;
    long getPropertyAsInt64(const icu::UnicodeString& key, long def) const;
    /// The value of a required property, as getPropertyAsInt64() reads it.
    long requirePropertyAsInt64(const icu::UnicodeString& key) const;

    /// Parsed by Formatter::stringToUint64. Type word "uint64" for a valid signed number, "longint"
    /// for anything else; line 844.
    unsigned long getPropertyAsUInt64(const icu::UnicodeString& key,
                                      const unsigned long* def) const;
    unsigned long getPropertyAsUInt64(const icu::UnicodeString& key, unsigned long def) const;
    /// The value of a required property, as getPropertyAsUInt64() reads it.
    unsigned long requirePropertyAsUInt64(const icu::UnicodeString& key) const;

    /// Parsed by Formatter::stringToDouble. Type word "double", line 890.
    double getPropertyAsDouble(const icu::UnicodeString& key, const double* def) const;
    double getPropertyAsDouble(const icu::UnicodeString& key, double def) const;
    /// The value of a required property, as getPropertyAsDouble() reads it.
    double requirePropertyAsDouble(const icu::UnicodeString& key) const;

    /// @}

    /// Replaces every reference `%name%` in every value by the fully expanded value of the property
    /// `name`.
    ///
    /// Careful: there is no escape for '%'. A single one is kept, but a second one makes the text
    /// between them a name, also when one of them comes out of another value.
    ///
    /// Throws "ERR_PROPERTIES_BAD_REFERENCE" and "ERR_PROPERTIES_CYCLIC_REFERENCE". Values expanded
    /// before the error stay expanded. Throws std::bad_alloc when a value outgrows what a
    /// UnicodeString can hold. Takes time linear in the size of the result, however deep references
    /// are.
    void resolveProperties();
    /// Expands the references in `value`, the value of the property `name`. `inProgress` holds the
    /// names under expansion; meeting one of them again is the cyclic error. On an error the names
    /// still under way stay in it, and values keep the substitutions made so far.
    void resolveProperty(std::list<icu::UnicodeString>& inProgress, const icu::UnicodeString& name,
                         icu::UnicodeString& value);

    /// Adds a name to the list that store() writes as "#include" lines. Duplicates are kept.
    void addInclude(const icu::UnicodeString& name);
    /// The include names in the order they were added.
    const std::list<icu::UnicodeString>& getIncludes() const;

    /// @name Reading
    /// `data` is `len` bytes of text in ISO-8859-1 and needs no terminator; positions are byte
    /// offsets, advanced in place. Any bytes yield some set of pairs: reading never fails on
    /// content. The skipping operations leave `pos` where it is when there is nothing to skip, at
    /// `len` too.
    /// @{

    /// Adds every pair of the text; a key that is there already gets the new value.
    void load(const char* data, std::size_t len);
    /// load(), then resolveProperties() when `resolve` is set. `flag` has no effect.
    void loadFromString(const char* data, std::size_t len, bool flag, bool resolve);
    /// load(), then resolveProperties().
    void loadFromString(const char* data, std::size_t len);
    /// The same for text, which is converted to ISO-8859-1 first: what that cannot hold becomes its
    /// substitution byte. The set is unchanged when the conversion fails: NLSException
    /// "NX_ERR_OUT_OF_MEMORY" ("Converter::convertToBytes()"), file
    /// "include/infra/oss/kelConverter", when memory for the bytes is exhausted.
    ///
    /// Careful: some characters that ISO-8859-1 lacks convert to nothing, U+FEFF and U+200D among
    /// them. A text of only such characters is NLSException "ERR_CONV_CONVERSION_ERROR" ("UTF-16",
    /// "ISO8859_1").
    void loadFromString(const icu::UnicodeString& text);
    /// Reads one logical line and stores its pair, if it has one. False when nothing was left to
    /// read.
    ///
    /// Careful: a comment that ends with the text, without a line end, yields the pair "" = "".
    bool loadLine(std::size_t& pos, const char* data, std::size_t len);

    /// Appends the character that the escape just behind a backslash stands for. A null `out`
    /// counts as empty; it is null when std::bad_alloc is thrown.
    ///
    /// Careful: the four digits of `\uXXXX` count only when at least one byte follows them.
    static void readEscaped(icu::UnicodeString& out, std::size_t& pos, const char* data,
                            std::size_t len);
    /// Skips white space with at most one ':' or '=' in it.
    static void skipAssignOp(std::size_t& pos, const char* data, std::size_t len);
    /// Skips blanks, tabs and continued line ends.
    static void skipWhiteSpace(std::size_t& pos, const char* data, std::size_t len);
    /// Skips one line end: CR LF, CR or LF.
    static void skipNewLine(std::size_t& pos, const char* data, std::size_t len);
    /// Skips to the start of the next line.
    static void skipLine(std::size_t& pos, const char* data, std::size_t len);

    /// @}

    /// @name Writing
    /// Errors of the stream pass through; what was written stays written.
    /// @{

    /// Writes header, include names and pairs in key order, with CR LF as line ends, and flushes
    /// the stream, which stays open. Only write(char) and write(const char*) are used.
    ///
    /// What does not survive store and load: blanks at the start of a value, characters above
    /// U+FFFF, lone surrogates and noncharacters.
    void store(oss::OutputStream& out);
    /// Writes one string. Characters above 127 become `\uXXXX`; `escapeSpecial` escapes line ends,
    /// tabs and the characters of the format, `escapeBlank` blanks.
    ///
    /// Careful: a character above U+FFFF is written twice, each time as the low 16 bits of its
    /// number.
    static void writeString(oss::OutputStream& out, const icu::UnicodeString& text,
                            bool escapeBlank, bool escapeSpecial);
    /// Writes the line "-- listing properties --" and a line key=value for each pair, nothing
    /// escaped or shortened, in UTF-8, for diagnostics. Include names are not listed.
    void list(std::ostream& os);
    /// @}

  private:
    using Map = std::map<icu::UnicodeString, icu::UnicodeString>;

    KELINFRA_INTERNAL static bool storeAtOnce(oss::ByteArrayOutputStream& out,
                                              const Map::value_type& pair);

    Map propertyMap_;
    std::list<icu::UnicodeString> includeList_;
    std::unique_ptr<detail::PropertyIndex> index_;
};

}  // namespace nx::util
