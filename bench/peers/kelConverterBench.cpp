#include "kelConverterBench.h"

#include <infra/oss/kelConverter.h>

#include <cstring>

namespace nx::oss::bench {

namespace {

int length(std::size_t size) { return static_cast<int>(size); }

icu::UnicodeString textOf(const Conversion& conversion) {
    return {conversion.text.data(), length(conversion.text.size())};
}

void addOursFromText(const Conversion& conversion) {
    const char* const to = conversion.to;
    addToBuffer(
        conversion.name, conversion, "kelinfra, text form",
        [to, text = textOf(conversion)](char* dest, std::size_t capacity) {
            return static_cast<std::size_t>(Converter::convert(dest, length(capacity), to, text)) -
                   1;
        });
    addToBuffer(conversion.name, conversion, "kelinfra, bytes form",
                [to, text = textOf(conversion)](char* dest, std::size_t capacity) {
                    return static_cast<std::size_t>(
                        Converter::convertToBytes(dest, length(capacity), to, text));
                });
}

void addOursFromBytes(const Conversion& conversion) {
    const char* const to = conversion.to;
    const char* const from = conversion.from;
    addToBuffer(
        conversion.name, conversion, "kelinfra, text form",
        [to, from, source = conversion.source](char* dest, std::size_t capacity) {
            return static_cast<std::size_t>(Converter::convert(
                       dest, length(capacity), to, source.data(), length(source.size()), from)) -
                   1;
        });
    addToBuffer(conversion.name, conversion, "kelinfra, bytes form",
                [to, from, source = conversion.source](char* dest, std::size_t capacity) {
                    return static_cast<std::size_t>(Converter::convertToBytes(
                        dest, length(capacity), to, source.data(), length(source.size()), from));
                });
}

void addLimit(const Conversion& conversion) {
    addRow(conversion.name, "(limit) memcpy of the larger side",
           [size = std::max(conversion.sourceSize(), conversion.expected.size()),
            source = destination()](benchmark::State& state) {
               auto& dest = destination();
               for (auto step : state) {
                   std::memcpy(dest.data(), source.data(), size);
                   benchmark::ClobberMemory();
               }
           });
}

void addConversion(const Conversion& conversion) {
    if (conversion.fromText()) {
        addOursFromText(conversion);
    } else {
        addOursFromBytes(conversion);
    }
    addLimit(conversion);
    addIcu(conversion);
    addIconv(conversion);
#ifdef KELINFRA_BENCH_QT
    addQt(conversion);
#endif
#ifdef KELINFRA_BENCH_POCO
    addPoco(conversion);
#endif
#ifdef KELINFRA_BENCH_BOOST
    addBoost(conversion);
#endif
#ifdef KELINFRA_BENCH_GLIB
    addGlib(conversion);
#endif
}

void addSizeQuery(const Conversion& conversion) {
    const std::string workload = "size query + " + conversion.name;
    const char* const to = conversion.to;
    const auto query = [to](const icu::UnicodeString& text) {
        benchmark::DoNotOptimize(Converter::convertToBytes(nullptr, 0, to, text));
    };
    addToBuffer(
        workload, conversion, "kelinfra, text form",
        [to, query, text = textOf(conversion)](char* dest, std::size_t capacity) {
            query(text);
            return static_cast<std::size_t>(Converter::convert(dest, length(capacity), to, text)) -
                   1;
        });
    addToBuffer(workload, conversion, "kelinfra, bytes form",
                [to, query, text = textOf(conversion)](char* dest, std::size_t capacity) {
                    query(text);
                    return static_cast<std::size_t>(
                        Converter::convertToBytes(dest, length(capacity), to, text));
                });
    addIcuWithSizeQuery(workload, conversion);
}

}  // namespace

}  // namespace nx::oss::bench

int main(int argc, char** argv) {
    using namespace nx::oss::bench;
    initializeWithPeers(argc, argv);
    for (const Conversion& conversion : conversions()) {
        addConversion(conversion);
        if (conversion.name.find("UTF-16 -> UTF-8, Latin") == 0) {
            addSizeQuery(conversion);
        }
    }
    return run();
}
