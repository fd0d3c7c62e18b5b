#include <cstring>
#include <string>
#include <vector>

#include "infra/detail/kelKernels.h"
#include "kelBench.h"
#include "kelConverterSamples.h"

namespace nx::oss::bench {

namespace {

using detail::Kernels;

constexpr std::size_t SIZES[] = {4, 16, 64, 65536};

/// One text in the forms that kernels read, and room for what they write.
struct Sample {
    std::u16string text;
    std::string utf8;
    std::string latin1;
    std::vector<char> bytes;
    std::vector<char16_t> units;

    explicit Sample(const std::u16string& content)
        : text(content),
          utf8(inCodePage(content, "UTF-8")),
          latin1(inCodePage(content, "ISO-8859-1")),
          bytes(content.size() * 3 + 8),
          units(utf8.size() + 8) {}
};

struct Kernel {
    const char* name;
    bool latin1Only;
    /// Runs the kernel once; the number tells tables apart that disagree.
    std::size_t (*run)(const Kernels& kernels, Sample& sample);
};

std::size_t total(detail::Progress progress) { return progress.read * 4 + progress.written; }

constexpr Kernel KERNELS[] = {
    {"utf16ToUtf8", false,
     [](const Kernels& kernels, Sample& s) {
         return total(
             kernels.utf16ToUtf8(s.text.data(), s.text.size(), s.bytes.data(), s.bytes.size()));
     }},
    {"utf8LengthOfUtf16", false,
     [](const Kernels& kernels, Sample& s) {
         return kernels.utf8LengthOfUtf16(s.text.data(), s.text.size());
     }},
    {"utf8ToUtf16", false,
     [](const Kernels& kernels, Sample& s) {
         return total(
             kernels.utf8ToUtf16(s.utf8.data(), s.utf8.size(), s.units.data(), s.units.size()));
     }},
    {"utf16ToLatin1", true,
     [](const Kernels& kernels, Sample& s) {
         return kernels.utf16ToLatin1(s.text.data(), s.text.size(), s.bytes.data());
     }},
    {"latin1PrefixLength", true,
     [](const Kernels& kernels, Sample& s) {
         return kernels.latin1PrefixLength(s.text.data(), s.text.size());
     }},
    {"latin1ToUtf16", true,
     [](const Kernels& kernels, Sample& s) {
         kernels.latin1ToUtf16(s.latin1.data(), s.latin1.size(), s.units.data());
         return std::size_t{s.units[0]};
     }},
    {"latin1ToUtf8", true,
     [](const Kernels& kernels, Sample& s) {
         return total(kernels.latin1ToUtf8(s.latin1.data(), s.latin1.size(), s.bytes.data(),
                                           s.bytes.size()));
     }},
    {"utf8LengthOfLatin1", true,
     [](const Kernels& kernels, Sample& s) {
         return kernels.utf8LengthOfLatin1(s.latin1.data(), s.latin1.size());
     }},
    {"wellFormedUtf16Prefix", false,
     [](const Kernels& kernels, Sample& s) {
         return kernels.wellFormedUtf16Prefix(s.text.data(), s.text.size());
     }},
    // The caller knows where a text begins, not where it ends.
    {"strlen + copyUtf8Text", false,
     [](const Kernels& kernels, Sample& s) {
         const char* const text = s.utf8.c_str();
         return kernels.copyUtf8Text(text, std::strlen(text), s.bytes.data());
     }},
    {"swapUtf16", false,
     [](const Kernels& kernels, Sample& s) {
         kernels.swapUtf16(s.text.data(), s.text.size(), s.bytes.data());
         return static_cast<std::size_t>(s.bytes[1]);
     }},
};

void addContender(const std::string& workload, const std::string& contender, const Kernel& kernel,
                  const Kernels& table, const Sample& original) {
    addRow(workload, contender, [&kernel, &table, original](benchmark::State& state) {
        Sample sample = original;
        for (auto step : state) {
            benchmark::DoNotOptimize(kernel.run(table, sample));
            benchmark::ClobberMemory();
        }
        state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(sample.text.size() * 2));
    });
}

void addKernel(const Kernel& kernel, const std::string& script, const Sample& original) {
    const std::string workload = std::string(kernel.name) + ", " + script + ", " +
                                 std::to_string(original.text.size()) + " units";
    Sample sample = original;
    require(kernel.run(detail::kernels(), sample) == kernel.run(detail::scalarKernels(), sample),
            workload);
    addContender(workload, "kelinfra", kernel, detail::kernels(), sample);
    addContender(workload, "plain version", kernel, detail::scalarKernels(), sample);
}

void addKernels(const std::string& name, Script script) {
    for (const std::size_t size : SIZES) {
        const Sample sample(textOf(script, size));
        for (const Kernel& kernel : KERNELS) {
            if (!kernel.latin1Only || script == Script::LATIN) {
                addKernel(kernel, name, sample);
            }
        }
    }
}

}  // namespace

}  // namespace nx::oss::bench

int main(int argc, char** argv) {
    using namespace nx::oss::bench;
    initialize(argc, argv);
    addKernels("ASCII", Script::ASCII);
    addKernels("Latin", Script::LATIN);
    addKernels("CJK", Script::CJK);
    return run();
}
