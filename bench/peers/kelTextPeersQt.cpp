#include <QList>
#include <QString>
#include <QUtf8StringView>

#include "kelTextBench.h"

namespace nx::oss::bench {

namespace {

QUtf8StringView viewOf(const std::string& text) {
    return {text.data(), static_cast<qsizetype>(text.size())};
}

}  // namespace

/// Qt counts no characters of UTF-8, and walks them only through UTF-16.
void addQt(const TextSample& sample) {
    addValidate(sample, "Qt", [](const std::string& text) { return viewOf(text).isValidUtf8(); });
    addWalk(sample, "Qt toUcs4", [](const std::string& text) {
        std::uint64_t sum = 0;
        for (const char32_t c : QString::fromUtf8(viewOf(text)).toUcs4()) {
            sum += c;
        }
        return sum;
    });
}

}  // namespace nx::oss::bench
