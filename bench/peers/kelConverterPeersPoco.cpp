#include <Poco/Encodings.h>
#include <Poco/TextConverter.h>
#include <Poco/TextEncoding.h>
#include <Poco/UTF16Encoding.h>
#include <Poco/UnicodeConverter.h>

#include <memory>

#include "kelConverterBench.h"

namespace nx::oss::bench {

namespace {

std::string pocoName(const std::string& codePage) {
    // Its Shift_JIS is the superset of Windows.
    return codePage == "Shift_JIS" ? "windows-932" : codePage;
}

Poco::TextEncoding& sourceEncoding(const Conversion& conversion) {
    static Poco::UTF16Encoding text(Poco::UTF16Encoding::LITTLE_ENDIAN_BYTE_ORDER);
    return conversion.fromText() ? text : Poco::TextEncoding::byName(pocoName(conversion.from));
}

void addTextConverter(const Conversion& conversion) {
    Poco::TextEncoding& from = sourceEncoding(conversion);
    Poco::TextEncoding& to = Poco::TextEncoding::byName(pocoName(conversion.to));
    addToString(
        conversion, "POCO",
        [source = conversion.bytes(), converter = std::make_shared<Poco::TextConverter>(from, to)] {
            std::string result;
            converter->convert(source, result);
            return result;
        });
}

void addUnicodeConverter(const Conversion& conversion) {
    if (conversion.fromText()) {
        addToString(conversion, "POCO",
                    [text = Poco::UTF16String(conversion.text.begin(), conversion.text.end())] {
                        std::string result;
                        Poco::UnicodeConverter::convert(text, result);
                        return result;
                    });
    } else {
        addToString(conversion, "POCO", [source = conversion.source] {
            Poco::UTF16String result;
            Poco::UnicodeConverter::convert(source, result);
            return result;
        });
    }
}

}  // namespace

void addPoco(const Conversion& conversion) {
    static const bool registered = (Poco::registerExtraEncodings(), true);
    benchmark::DoNotOptimize(registered);
    if (conversion.isTo("UTF-16LE") || (conversion.fromText() && conversion.isTo("UTF-8"))) {
        addUnicodeConverter(conversion);
    } else {
        addTextConverter(conversion);
    }
}

}  // namespace nx::oss::bench
