#include "kelBase64Bench.h"

#include <infra/util/kelBase64.h>
#include <infra/util/kelBase64Exception.h>

#include <cstring>
#include <random>

#include "infra/detail/kelKernels.h"

namespace nx::oss::bench {

namespace {

using util::Base64;

struct NamedSize {
    const char* name;
    std::size_t bytes;
};
constexpr NamedSize SIZES[] = {{"6 B", 6},   {"16 B", 16},    {"48 B", 48},
                               {"64 B", 64}, {"4 KiB", 4096}, {"1 MiB", 1 << 20}};

Base64Sample sampleOf(const NamedSize& size) {
    std::mt19937 random(1);
    Base64Sample sample{size.name, std::string(size.bytes, '\0'), {}};
    for (char& byte : sample.bytes) {
        byte = static_cast<char>(random());
    }
    sample.text.resize(Base64::encodeSize(size.bytes));
    for (std::size_t i = 0; i < sample.text.size(); ++i) {
        unsigned value = 0;
        for (std::size_t bit = 6 * i; bit < 6 * i + 6; ++bit) {
            const unsigned byte =
                bit / 8 < size.bytes ? static_cast<unsigned char>(sample.bytes[bit / 8]) : 0;
            value = 2 * value + (byte >> (7 - bit % 8) & 1);
        }
        const bool padded = 6 * i >= 8 * size.bytes;
        sample.text[i] = padded ? static_cast<char16_t>(Base64::fillChar)
                                : static_cast<char16_t>(Base64::encode(static_cast<char>(value),
                                                                       /*safe=*/false));
    }
    return sample;
}

std::size_t encode(const std::string& bytes, char16_t* text) {
    return Base64::encode(reinterpret_cast<unsigned short*>(text), (bytes.size() + 2) / 3 * 4,
                          bytes.data(), bytes.size());
}

std::size_t decode(const std::u16string& text, char* bytes) {
    try {
        return Base64::decode(bytes, text.size() / 4 * 3,
                              reinterpret_cast<const unsigned short*>(text.data()), text.size());
    } catch (const util::Base64Exception&) {
        return REFUSED;
    }
}

/// Runs with one table of kernels, whichever ran before.
template <class Run>
auto withKernels(const detail::Kernels& table, Run run) {
    return [&table, run](const auto& source, auto* dest) {
        detail::chosenKernels.store(&table, std::memory_order_relaxed);
        return run(source, dest);
    };
}

void addOurs(const Base64Sample& sample) {
    const detail::Kernels& usual = detail::chooseKernels();
    const detail::Kernels& plain = detail::scalarKernels();
    addEncoder(sample, "kelinfra", withKernels(usual, encode));
    addEncoder(sample, "kelinfra, plain kernels", withKernels(plain, encode));
    addDecoder(sample, "kelinfra", withKernels(usual, decode));
    addDecoder(sample, "kelinfra, plain kernels", withKernels(plain, decode));
}

void addLimits(const Base64Sample& sample) {
    const std::size_t size = sample.text.size() * sizeof(char16_t);
    const auto copy = [size](const std::u16string& source, char16_t* dest) {
        std::memcpy(dest, source.data(), size);
        return size;
    };
    for (const char* const direction : {"encode ", "decode "}) {
        addBase64Row(direction + sample.name, "(limit) memcpy of the text", sample.bytes.size(),
                     sample.text, std::vector<char16_t>(sample.text.size()), copy);
    }
}

}  // namespace

}  // namespace nx::oss::bench

int main(int argc, char** argv) {
    using namespace nx::oss::bench;
    initializeWithPeers(argc, argv);
    for (const NamedSize& size : SIZES) {
        const Base64Sample sample = sampleOf(size);
        addOurs(sample);
        addLimits(sample);
#ifdef KELINFRA_BENCH_ABSL
        addAbsl(sample);
#endif
#ifdef KELINFRA_BENCH_BOOST
        addBoost(sample);
#endif
#ifdef KELINFRA_BENCH_GLIB
        addGlib(sample);
#endif
#ifdef KELINFRA_BENCH_POCO
        addPoco(sample);
#endif
#ifdef KELINFRA_BENCH_QT
        addQt(sample);
#endif
    }
    return run();
}
