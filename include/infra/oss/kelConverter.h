#pragma once

#include <unicode/unistr.h>

#include <infra/oss/kelBaseException.h>
#include <infra/oss/kelExport.h>
#include <infra/oss/kelSizeableBuffer.h>

namespace nx::oss {

/// Converts text between code pages.
///
/// Two kinds of source: an icu::UnicodeString (UTF-16), and bytes in a named code page. Two forms
/// for each: the text form (convert) puts one zero byte after the converted bytes and counts it,
/// whatever the target code page; the bytes form (convertToBytes) writes exactly the converted
/// bytes.
///
/// Common rules:
///
/// - A code page is a NUL-terminated ICU converter name such as "UTF-8", "ISO-8859-1" or
///   "Shift_JIS". A null or empty name means ICU's default converter, which is UTF-8 on this
///   platform whatever the process locale.
/// - Sizes are bytes. `destLength` is the capacity of `dest`; below 1 nothing is written and,
///   unless there is nothing to convert, the buffer error is thrown.
/// - A null `dest` asks only for the size: the same number that the conversion would return.
/// - Characters that the target cannot hold and malformed source bytes are replaced as ICU replaces
///   them (its substitution character); they are no error.
/// - For byte sources, a null `src` gives 0, whatever the form. An empty source, a `srcLength`
///   below 1 included, gives 0 in the bytes form and 1 in the text form, with a zero stored in
///   `dest[0]` when there is room; code-page names are not looked at then.
/// - Byte sources whose two code-page names are equal letter by letter (or both null or empty) are
///   copied, not converted: malformed bytes stay, and the name need not exist. "UTF-8" and "utf-8"
///   are different names here.
///
/// Errors, all NLSException with file "kelConverter.cpp":
///
/// - "ERR_BUFFER_SIZE_TOO_SMALL" (`destLength`): the result, terminator counted, does not fit. A
///   text conversion that fills `dest` exactly fails too: one byte must stay free for the zero.
///   `dest` may hold part of the result.
/// - "ERR_CONV_CONVERSION_ERROR" (source name, target name; "UTF-16" for an icu::UnicodeString, the
///   default converter's name for a null or empty one): a name is unknown, or a source that is not
///   empty converts to nothing at all, such as a lone byte order mark from "UTF-16", or the result
///   is larger than an int can say.
///
/// All operations are reentrant: any number of threads may convert at the same time. Converters
/// that ICU opens for a name are kept open by the thread that used them.
class KELINFRA_EXPORT Converter {
  public:
    Converter();
    ~Converter();

    /// Core for text: returns the number of bytes, terminator included when `nullTerminate` is set.
    static int convert(char* dest, int destLength, const char* toCodePage, bool nullTerminate,
                       const icu::UnicodeString& src);
    /// Text form.
    static int convert(char* dest, int destLength, const char* toCodePage,
                       const icu::UnicodeString& src);
    /// Bytes form.
    static int convertToBytes(char* dest, int destLength, const char* toCodePage,
                              const icu::UnicodeString& src);

    /// Core for bytes: returns the number of bytes, terminator included when `nullTerminate` is
    /// set. `sourceIsText` tells the debug lines whether `src` can be shown and changes nothing
    /// else.
    static int convert(char* dest, int destLength, const char* toCodePage, bool nullTerminate,
                       const char* src, int srcLength, const char* fromCodePage, bool sourceIsText);
    /// Text form of `srcLength` bytes.
    static int convert(char* dest, int destLength, const char* toCodePage, const char* src,
                       int srcLength, const char* fromCodePage);
    /// Text form of NUL-terminated bytes.
    static int convert(char* dest, int destLength, const char* toCodePage, const char* src,
                       const char* fromCodePage);
    /// Bytes form of `srcLength` bytes.
    static int convertToBytes(char* dest, int destLength, const char* toCodePage, const char* src,
                              int srcLength, const char* fromCodePage);
    /// Bytes form of NUL-terminated bytes; the zero byte is not converted.
    static int convertToBytes(char* dest, int destLength, const char* toCodePage, const char* src,
                              const char* fromCodePage);

    /// Converts `src` into `buffer`, which grows as needed, and returns its data: a NUL-terminated
    /// string, valid as long as the buffer.
    ///
    /// The result is an empty string when `src` is empty, when the code page is unknown, and when
    /// the buffer's maximum forbids the size needed: never a truncated one. Text that holds U+0000
    /// ends there for readers of C strings.
    ///
    /// Throws NLSException "NX_ERR_OUT_OF_MEMORY" ("Converter::convert()"), file
    /// "include/infra/oss/kelConverter", when growing the buffer throws a BaseException; other
    /// exceptions, std::bad_alloc among them, pass through.
    template <unsigned long N>
    static inline char* convert(SizeableBuffer<char, N>& buffer, const char* toCodePage,
                                const icu::UnicodeString& src);

    /// Sets debugMode.
    static void setDebugging(bool on);

    /// When true, every conversion prints lines that begin with "DEBUG: " to standard output. Not
    /// locked: set it before conversions run.
    static bool debugMode;

  private:
    /// Converts `src` into `capacity` bytes and returns how many it takes; 0 for an unknown code
    /// page. Writes nothing past `capacity`, no terminator, and no part of a result that does not
    /// fit.
    static unsigned long fill(char* dest, unsigned long capacity, const char* toCodePage,
                              const icu::UnicodeString& src);
    [[noreturn]] static void raiseOutOfMemory();
    template <unsigned long N>
    static inline bool grow(SizeableBuffer<char, N>& buffer, unsigned long size);
};

// Why inline: what the library instantiates for itself is not for programs, which have their own.
template <unsigned long N>
bool Converter::grow(SizeableBuffer<char, N>& buffer, unsigned long size) {
    try {
        return buffer.resize(size);
    } catch (const BaseException&) {
        raiseOutOfMemory();
    }
}

template <unsigned long N>
char* Converter::convert(SizeableBuffer<char, N>& buffer, const char* toCodePage,
                         const icu::UnicodeString& src) {
    unsigned long length = fill(buffer.data(), buffer.capacity() - 1, toCodePage, src);
    if (length > buffer.capacity() - 1) {
        length = grow(buffer, length + 1) ? fill(buffer.data(), length, toCodePage, src) : 0;
    }
    buffer.data()[length] = '\0';
    return buffer.data();
}

}  // namespace nx::oss
