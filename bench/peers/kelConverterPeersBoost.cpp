#include <boost/locale/encoding.hpp>
#include <boost/locale/encoding_utf.hpp>

#include "kelConverterBench.h"

namespace nx::oss::bench {

namespace {

namespace conv = boost::locale::conv;

template <class Unit, class Source>
void addBetweenUtf(const Conversion& conversion, const Source& source) {
    addToString(conversion, "Boost.Locale utf_to_utf",
                [source] { return conv::utf_to_utf<Unit>(source); });
}

void addBetween(const Conversion& conversion) {
    addToString(
        conversion, "Boost.Locale between",
        [source = conversion.bytes(), to = std::string(conversion.to),
         from = std::string(conversion.bytesFrom())] { return conv::between(source, to, from); });
}

}  // namespace

void addBoost(const Conversion& conversion) {
    if (conversion.fromText() && conversion.isTo("UTF-8")) {
        addBetweenUtf<char>(conversion, conversion.text);
    } else if (conversion.isTo("UTF-16LE")) {
        addBetweenUtf<char16_t>(conversion, conversion.source);
    } else {
        addBetween(conversion);
    }
}

}  // namespace nx::oss::bench
