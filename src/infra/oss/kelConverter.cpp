#include <infra/oss/kelConverter.h>

#include <infra/oss/kelNLSException.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>

#include <unicode/ucnv.h>

#include "infra/detail/kelCodePageName.h"
#include "infra/detail/kelConversionBuffer.h"
#include "infra/detail/kelRaise.h"
#include "infra/detail/kelTraceScope.h"
#include "infra/detail/kelTranscode.h"

namespace nx::oss {

using detail::TraceExit;
using detail::TracePoint;
using detail::TraceScope;

namespace {

constexpr const char* FILE_NAME = "kelConverter.cpp";
constexpr const char* UTF_16 = "UTF-16";

/// The name as errors and debug lines show it.
const char* shownName(const char* codePage) {
    return detail::isDefaultCodePage(codePage) ? ucnv_getDefaultName() : codePage;
}

/// A conversion as its caller asked for it.
struct Request {
    char* dest;
    int destLength;
    const char* toCodePage;
    bool nullTerminate;

    int terminatorSize() const { return nullTerminate ? 1 : 0; }
    std::size_t capacity() const {
        return dest == nullptr || destLength < 1 ? 0 : static_cast<std::size_t>(destLength);
    }
};

[[noreturn]] void raiseTooSmall(const Request& request) {
    detail::raise<NLSException>({"ERR_BUFFER_SIZE_TOO_SMALL", FILE_NAME}, request.destLength);
}

[[noreturn]] void raiseConversionError(const char* from, const Request& request) {
    detail::raise<NLSException>({"ERR_CONV_CONVERSION_ERROR", FILE_NAME}, from,
                                shownName(request.toCodePage));
}

// --- debug lines: what is printed before and after a conversion while the switch is on ---

[[gnu::cold]] void printSizeFailed(const Request& request, int errorNumber, int size) {
    std::printf("DEBUG: Call to extract to get size failed - errno: %d ", errorNumber);
    std::printf("size: %d toCodePage: %s.\n", size, shownName(request.toCodePage));
}

[[gnu::cold]] void printSize(const Request& request, int errorNumber, int size) {
    std::printf("DEBUG: Called extract to get size - errno: %d ", errorNumber);
    std::printf("size: %d toCodePage: %s.\n", size, shownName(request.toCodePage));
}

[[gnu::cold]] void printConversionFailed(const Request& request, int errorNumber, int size) {
    std::printf("DEBUG: Call to extract to convert data failed - errno: %d ", errorNumber);
    std::printf("size: %d destLength: %d toCodePage: %s.\n", size, request.destLength,
                shownName(request.toCodePage));
}

[[gnu::cold]] void printConversionTooSmall(const Request& request, long size) {
    std::printf("DEBUG: Call to extract to convert data failed because the ");
    std::printf("destination buffer was too small - size: %ld destLength: %d.\n", size,
                request.destLength);
}

[[gnu::cold]] void printConverted(const Request& request, int errorNumber, int size) {
    std::printf("DEBUG: Called extract to convert data - errno: %d ", errorNumber);
    std::printf("size: %d destLength: %d toCodePage: %s.\n", size, request.destLength,
                shownName(request.toCodePage));
    if (request.nullTerminate) {
        std::printf("DEBUG: converted data: [%s]\n", request.dest);
    } else {
        std::printf("DEBUG: converted data is binary\n");
    }
}

[[gnu::cold]] void printPurpose(const Request& request) {
    std::printf("DEBUG: %s\n", request.dest != nullptr ? "Converting data" : "Getting the size");
}

[[gnu::cold]] void printText(const Request& request, const icu::UnicodeString& src) {
    std::printf("DEBUG: convert parameters - ToCP: [%s] Data is String object\n",
                shownName(request.toCodePage));
    std::printf("DEBUG: Destination length: [%d] Data size: [%d]\n", request.destLength,
                src.length());
    printPurpose(request);
}

[[gnu::cold]] void printBytes(const Request& request, const char* src, int srcLength,
                              const char* fromCodePage, bool sourceIsText) {
    std::printf("DEBUG: convert parameters - FromCP: [%s] ToCP: [%s]\n", shownName(fromCodePage),
                shownName(request.toCodePage));
    std::printf("DEBUG: Destination length: [%d]\n", request.destLength);
    if (sourceIsText) {
        // Not past the bytes that the caller vouches for.
        const std::size_t limit = srcLength < 1 ? 0 : static_cast<std::size_t>(srcLength);
        const int size = src == nullptr ? 0 : static_cast<int>(strnlen(src, limit));
        std::printf("DEBUG: Data length: [%d] Data size: [%d]\n", srcLength, size);
        std::printf("DEBUG: Data: [%.*s]\n", src == nullptr ? INT_MAX : size,
                    src == nullptr ? "(null)" : src);
    } else {
        std::printf("DEBUG: Data length: [%d] Data is binary\n", srcLength);
    }
    printPurpose(request);
}

// --- the steps that both kinds of source share ---

/// There is nothing to convert.
int finishEmpty(const Request& request, bool debug) {
    if (debug) {
        std::printf("DEBUG: No data was passed\n");
    }
    if (request.nullTerminate && request.capacity() > 0) {
        request.dest[0] = '\0';
    }
    return request.terminatorSize();
}

int finishSizeQuery(const Request& request, std::size_t result, const char* from, bool debug,
                    int errorNumber) {
    const long size = static_cast<long>(result) + request.terminatorSize();
    if (result == 0 || size > INT_MAX) {
        if (debug) {
            printSizeFailed(request, errorNumber, 0);
        }
        raiseConversionError(from, request);
    }
    if (debug) {
        printSize(request, errorNumber, static_cast<int>(size));
    }
    return static_cast<int>(size);
}

int finishConversion(const Request& request, std::size_t result, const char* from, bool debug,
                     int errorNumber) {
    if (result == 0) {
        if (debug) {
            printConversionFailed(request, errorNumber, 0);
        }
        raiseConversionError(from, request);
    }
    const long size = static_cast<long>(result) + request.terminatorSize();
    if (size > request.destLength) {
        if (debug) {
            printConversionTooSmall(request, size);
        }
        raiseTooSmall(request);
    }
    if (request.nullTerminate) {
        request.dest[result] = '\0';
    }
    if (debug) {
        printConverted(request, errorNumber, static_cast<int>(size));
    }
    return static_cast<int>(size);
}

int finish(const Request& request, std::size_t result, const char* from, bool debug,
           int errorNumber) {
    return request.dest == nullptr ? finishSizeQuery(request, result, from, debug, errorNumber)
                                   : finishConversion(request, result, from, debug, errorNumber);
}

bool sameCodePage(const char* a, const char* b) {
    if (detail::isDefaultCodePage(a) || detail::isDefaultCodePage(b)) {
        return detail::isDefaultCodePage(a) && detail::isDefaultCodePage(b);
    }
    return std::strcmp(a, b) == 0;
}

/// Source and destination are in the same code page: the bytes are copied as they are.
int copyBytes(const Request& request, const char* src, int srcLength, bool debug) {
    const long needed = static_cast<long>(srcLength) + request.terminatorSize();
    if (request.dest == nullptr) {
        if (needed > INT_MAX) {
            raiseConversionError(shownName(request.toCodePage), request);
        }
        if (debug) {
            std::printf("DEBUG: Returning just the size with both code pages ");
            std::printf("the same - size: %ld\n", needed);
        }
        return static_cast<int>(needed);
    }
    if (needed > request.destLength) {
        if (debug) {
            std::printf("DEBUG: Could not convert data because the destination");
            std::printf(" buffer was too small - size: %ld destLength: %d.\n", needed,
                        request.destLength);
        }
        raiseTooSmall(request);
    }
    std::memmove(request.dest, src, static_cast<std::size_t>(srcLength));
    if (request.nullTerminate) {
        request.dest[srcLength] = '\0';
    }
    if (debug) {
        std::printf("DEBUG: Returning the passed data string - size: %ld.\n", needed);
    }
    return static_cast<int>(needed);
}

int lengthOf(const char* src) {
    const std::size_t length = src == nullptr ? 0 : std::strlen(src);
    return static_cast<int>(std::min<std::size_t>(length, INT_MAX));
}

/// The core for text, watched by the host's trace facility and by those who read the debug lines.
[[gnu::noinline]] int convertText(char* dest, int destLength, const char* toCodePage,
                                  bool nullTerminate, const icu::UnicodeString& src) {
    TraceScope trace(TracePoint::CONVERTER_CONVERT_TEXT);
    const Request request{dest, destLength, toCodePage, nullTerminate};
    const bool debug = Converter::debugMode;
    if (debug) {
        printText(request, src);
    }
    if (src.isEmpty()) {
        return finishEmpty(request, debug);
    }
    const std::size_t result = detail::encode(dest, request.capacity(), toCodePage, src.getBuffer(),
                                              static_cast<std::size_t>(src.length()));
    return finish(request, result, UTF_16, debug, debug ? errno : 0);
}

/// The core for text when nobody watches, for a code page whose kind is known.
[[gnu::noinline]] int convertUnwatched(char* dest, int destLength, const char* toCodePage,
                                       bool nullTerminate, const icu::UnicodeString& src,
                                       detail::CodePageKind kind) {
    const int terminatorSize = nullTerminate ? 1 : 0;
    const std::size_t size =
        destLength <= terminatorSize
            ? 0
            : detail::tryEncode(dest, static_cast<std::size_t>(destLength - terminatorSize), kind,
                                src.getBuffer(), static_cast<std::size_t>(src.length()));
    if (size == 0) {
        return convertText(dest, destLength, toCodePage, nullTerminate, src);
    }
    if (nullTerminate) {
        dest[size] = '\0';
    }
    return static_cast<int>(size) + terminatorSize;
}

/// The core for text, by the shortest way that leads to the result.
///
/// Why: short ASCII needs no call here, so everything stays in registers that nobody has to save.
[[gnu::always_inline]] inline int convertPlainText(char* dest, int destLength,
                                                   const char* toCodePage, bool nullTerminate,
                                                   const icu::UnicodeString& src) {
    if (dest == nullptr || Converter::debugMode || detail::traceFacilityPresent()) {
        return convertText(dest, destLength, toCodePage, nullTerminate, src);
    }
    const detail::CodePageKind kind = detail::kindOfName(toCodePage);
    const int terminatorSize = nullTerminate ? 1 : 0;
    const int length = src.length();
    const auto units = static_cast<std::size_t>(length);
    if (!detail::isShort(units) || destLength < length + terminatorSize ||
        !detail::tryEncodeShort(dest, kind, src.getBuffer(), units)) {
        return convertUnwatched(dest, destLength, toCodePage, nullTerminate, src, kind);
    }
    if (nullTerminate) {
        dest[length] = '\0';
    }
    return length + terminatorSize;
}

}  // namespace

bool Converter::debugMode = false;

Converter::Converter() { TraceExit trace(TracePoint::CONVERTER_CONSTRUCT); }

Converter::~Converter() { TraceExit trace(TracePoint::CONVERTER_DESTROY); }

int Converter::convert(char* dest, int destLength, const char* toCodePage, bool nullTerminate,
                       const icu::UnicodeString& src) {
    return convertPlainText(dest, destLength, toCodePage, nullTerminate, src);
}

int Converter::convert(char* dest, int destLength, const char* toCodePage,
                       const icu::UnicodeString& src) {
    return convertPlainText(dest, destLength, toCodePage, /*nullTerminate=*/true, src);
}

int Converter::convertToBytes(char* dest, int destLength, const char* toCodePage,
                              const icu::UnicodeString& src) {
    return convertPlainText(dest, destLength, toCodePage, /*nullTerminate=*/false, src);
}

int Converter::convert(char* dest, int destLength, const char* toCodePage, bool nullTerminate,
                       const char* src, int srcLength, const char* fromCodePage,
                       bool sourceIsText) {
    TraceScope trace(TracePoint::CONVERTER_CONVERT_BYTES);
    const Request request{dest, destLength, toCodePage, nullTerminate};
    const bool debug = debugMode;
    if (debug) {
        printBytes(request, src, srcLength, fromCodePage, sourceIsText);
    }
    if (src == nullptr) {
        if (debug) {
            std::printf("DEBUG: No data buffer was passed\n");
        }
        return 0;
    }
    if (srcLength < 1) {
        return finishEmpty(request, debug);
    }
    if (sameCodePage(fromCodePage, toCodePage)) {
        return copyBytes(request, src, srcLength, debug);
    }
    const std::size_t result = detail::transcode(dest, request.capacity(), toCodePage, src,
                                                 static_cast<std::size_t>(srcLength), fromCodePage);
    const int errorNumber = debug ? errno : 0;
    if (debug) {
        std::printf("DEBUG: Called String constructor - errno: %d\n", errorNumber);
    }
    return finish(request, result, shownName(fromCodePage), debug, errorNumber);
}

int Converter::convert(char* dest, int destLength, const char* toCodePage, const char* src,
                       int srcLength, const char* fromCodePage) {
    return convert(dest, destLength, toCodePage, /*nullTerminate=*/true, src, srcLength,
                   fromCodePage, /*sourceIsText=*/false);
}

int Converter::convert(char* dest, int destLength, const char* toCodePage, const char* src,
                       const char* fromCodePage) {
    return convert(dest, destLength, toCodePage, /*nullTerminate=*/true, src, lengthOf(src),
                   fromCodePage, /*sourceIsText=*/true);
}

int Converter::convertToBytes(char* dest, int destLength, const char* toCodePage, const char* src,
                              int srcLength, const char* fromCodePage) {
    return convert(dest, destLength, toCodePage, /*nullTerminate=*/false, src, srcLength,
                   fromCodePage, /*sourceIsText=*/false);
}

int Converter::convertToBytes(char* dest, int destLength, const char* toCodePage, const char* src,
                              const char* fromCodePage) {
    return convert(dest, destLength, toCodePage, /*nullTerminate=*/false, src, lengthOf(src),
                   fromCodePage, /*sourceIsText=*/true);
}

void Converter::setDebugging(bool on) { debugMode = on; }

unsigned long Converter::fill(char* dest, unsigned long capacity, const char* toCodePage,
                              const icu::UnicodeString& src) {
    if (src.isEmpty()) {
        return 0;
    }
    return detail::encode(dest, capacity, toCodePage, src.getBuffer(),
                          static_cast<std::size_t>(src.length()));
}

void Converter::raiseOutOfMemory() {
    detail::raise<NLSException>({"NX_ERR_OUT_OF_MEMORY", detail::CONVERSION_BUFFER_FILE},
                                "Converter::convert()");
}

}  // namespace nx::oss
