#include <iconv.h>
#include <unicode/ucnv.h>
#include <unicode/unistr.h>
#include <unicode/ustring.h>

#include <memory>

#include "kelConverterBench.h"

namespace nx::oss::bench {

namespace {

using IcuConverter = std::shared_ptr<UConverter>;

IcuConverter openIcu(const char* name) {
    UErrorCode status = U_ZERO_ERROR;
    IcuConverter converter(ucnv_open(name, &status), ucnv_close);
    require(U_SUCCESS(status), name);
    return converter;
}

int32_t length(std::size_t size) { return static_cast<int32_t>(size); }

// The calls with a converter that stays open, or with none at all.

std::size_t toUtf8(char* dest, std::size_t capacity, const UChar* text, int32_t size) {
    UErrorCode status = U_ZERO_ERROR;
    int32_t written = 0;
    u_strToUTF8WithSub(dest, length(capacity), &written, text, size, 0xFFFD, nullptr, &status);
    return static_cast<std::size_t>(written);
}

std::size_t fromText(UConverter* converter, char* dest, std::size_t capacity, const UChar* text,
                     int32_t size) {
    UErrorCode status = U_ZERO_ERROR;
    return static_cast<std::size_t>(
        ucnv_fromUChars(converter, dest, length(capacity), text, size, &status));
}

std::size_t extract(const icu::UnicodeString& text, char* dest, std::size_t capacity,
                    const char* codePage) {
    return static_cast<std::size_t>(
        text.extract(0, text.length(), dest, static_cast<uint32_t>(capacity), codePage));
}

void addIcuFromText(const Conversion& conversion) {
    const std::u16string& units = conversion.text;
    if (conversion.isTo("UTF-8")) {
        addToBuffer(conversion.name, conversion, "ICU u_strToUTF8",
                    [units](char* dest, std::size_t capacity) {
                        return toUtf8(dest, capacity, units.data(), length(units.size()));
                    });
    }
    addToBuffer(conversion.name, conversion, "ICU ucnv open",
                [units, converter = openIcu(conversion.to)](char* dest, std::size_t capacity) {
                    return fromText(converter.get(), dest, capacity, units.data(),
                                    length(units.size()));
                });
    addToBuffer(
        conversion.name, conversion, "ICU extract",
        [text = icu::UnicodeString(units.data(), length(units.size())), to = conversion.to](
            char* dest, std::size_t capacity) { return extract(text, dest, capacity, to); });
}

std::size_t convertOpen(UConverter* to, UConverter* from, char* dest, std::size_t capacity,
                        const std::string& source) {
    UChar pivot[1024];
    UChar* pivotSource = pivot;
    UChar* pivotTarget = pivot;
    char* target = dest;
    const char* next = source.data();
    UErrorCode status = U_ZERO_ERROR;
    ucnv_convertEx(to, from, &target, dest + capacity, &next, source.data() + source.size(), pivot,
                   &pivotSource, &pivotTarget, pivot + 1024, /*reset=*/true, /*flush=*/true,
                   &status);
    return static_cast<std::size_t>(target - dest);
}

// Straight between UTF-8 and a converter's code page.
void addIcuAlgorithmic(const Conversion& conversion) {
    if (conversion.isTo("UTF-8")) {
        addToBuffer(conversion.name, conversion, "ICU ucnv_toAlgorithmic",
                    [converter = openIcu(conversion.from), source = conversion.source](
                        char* dest, std::size_t capacity) {
                        UErrorCode status = U_ZERO_ERROR;
                        return static_cast<std::size_t>(
                            ucnv_toAlgorithmic(UCNV_UTF8, converter.get(), dest, length(capacity),
                                               source.data(), length(source.size()), &status));
                    });
    } else if (conversion.isFrom("UTF-8")) {
        addToBuffer(conversion.name, conversion, "ICU ucnv_fromAlgorithmic",
                    [converter = openIcu(conversion.to), source = conversion.source](
                        char* dest, std::size_t capacity) {
                        UErrorCode status = U_ZERO_ERROR;
                        return static_cast<std::size_t>(
                            ucnv_fromAlgorithmic(converter.get(), UCNV_UTF8, dest, length(capacity),
                                                 source.data(), length(source.size()), &status));
                    });
    }
}

void addIcuFromUtf8(const Conversion& conversion) {
    addToBuffer(conversion.name, conversion, "ICU u_strFromUTF8",
                [source = conversion.source](char* dest, std::size_t capacity) {
                    UErrorCode status = U_ZERO_ERROR;
                    int32_t written = 0;
                    u_strFromUTF8WithSub(reinterpret_cast<UChar*>(dest), length(capacity / 2),
                                         &written, source.data(), length(source.size()), 0xFFFD,
                                         nullptr, &status);
                    return static_cast<std::size_t>(written) * sizeof(UChar);
                });
}

void addIcuFromBytes(const Conversion& conversion) {
    if (conversion.isFrom("UTF-8") && conversion.isTo("UTF-16LE")) {
        addIcuFromUtf8(conversion);
    }
    addToBuffer(conversion.name, conversion, "ICU ucnv_convertEx",
                [to = openIcu(conversion.to), from = openIcu(conversion.from),
                 source = conversion.source](char* dest, std::size_t capacity) {
                    return convertOpen(to.get(), from.get(), dest, capacity, source);
                });
    addIcuAlgorithmic(conversion);
    addToBuffer(conversion.name, conversion, "ICU extract",
                [source = conversion.source, from = conversion.from, to = conversion.to](
                    char* dest, std::size_t capacity) {
                    const icu::UnicodeString text(source.data(), length(source.size()), from);
                    return extract(text, dest, capacity, to);
                });
}

using IconvHandle = std::shared_ptr<void>;

IconvHandle openIconv(const Conversion& conversion) {
    IconvHandle handle(iconv_open(conversion.to, conversion.bytesFrom()), iconv_close);
    require(handle.get() != reinterpret_cast<void*>(-1), "iconv_open");
    return handle;
}

std::size_t convertIconv(iconv_t handle, std::string& source, char* dest, std::size_t capacity) {
    char* next = source.data();
    std::size_t left = source.size();
    char* target = dest;
    iconv(handle, &next, &left, &target, &capacity);
    return static_cast<std::size_t>(target - dest);
}

}  // namespace

void addIcu(const Conversion& conversion) {
    if (conversion.fromText()) {
        addIcuFromText(conversion);
    } else {
        addIcuFromBytes(conversion);
    }
}

void addIcuWithSizeQuery(const std::string& workload, const Conversion& conversion) {
    const std::u16string& units = conversion.text;
    addToBuffer(workload, conversion, "ICU u_strToUTF8", [units](char* dest, std::size_t capacity) {
        benchmark::DoNotOptimize(toUtf8(nullptr, 0, units.data(), length(units.size())));
        return toUtf8(dest, capacity, units.data(), length(units.size()));
    });
    addToBuffer(workload, conversion, "ICU ucnv open",
                [units, converter = openIcu(conversion.to)](char* dest, std::size_t capacity) {
                    benchmark::DoNotOptimize(
                        fromText(converter.get(), nullptr, 0, units.data(), length(units.size())));
                    return fromText(converter.get(), dest, capacity, units.data(),
                                    length(units.size()));
                });
    addToBuffer(workload, conversion, "ICU extract",
                [text = icu::UnicodeString(units.data(), length(units.size())), to = conversion.to](
                    char* dest, std::size_t capacity) {
                    benchmark::DoNotOptimize(extract(text, nullptr, 0, to));
                    return extract(text, dest, capacity, to);
                });
}

void addIconv(const Conversion& conversion) {
    addToBuffer(conversion.name, conversion, "iconv open",
                [handle = openIconv(conversion), source = conversion.bytes()](
                    char* dest, std::size_t capacity) mutable {
                    iconv(handle.get(), nullptr, nullptr, nullptr, nullptr);
                    return convertIconv(handle.get(), source, dest, capacity);
                });
    addToBuffer(
        conversion.name, conversion, "iconv per call",
        [conversion, source = conversion.bytes()](char* dest, std::size_t capacity) mutable {
            return convertIconv(openIconv(conversion).get(), source, dest, capacity);
        });
}

}  // namespace nx::oss::bench
