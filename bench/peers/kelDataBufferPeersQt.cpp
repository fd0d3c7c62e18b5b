#include <QByteArray>
#include <QByteArrayMatcher>

#include "kelDataBufferBench.h"

namespace nx::oss::bench {

namespace {

QByteArray bytesOf(std::string_view text) {
    return QByteArray(text.data(), static_cast<qsizetype>(text.size()));
}

/// Bytes that compare with std::string.
struct Result {
    QByteArray bytes;
    bool operator==(const std::string& other) const { return bytes == bytesOf(other); }
};

}  // namespace

void addQtAppend() {
    addAppend("Qt QByteArray", [](std::size_t count) {
        QByteArray text;
        for (std::size_t i = 0; i < count; ++i) {
            text.append(APPENDED.data(), static_cast<qsizetype>(APPENDED.size()));
        }
        return static_cast<std::size_t>(text.size());
    });
}

void addQt(const SearchSample& sample) {
    const QByteArray needle = bytesOf(NEEDLE);
    addCompared(indexOfWorkload(sample), "Qt QByteArray", indexOfNeedle(sample),
                [text = bytesOf(sample.once), needle] {
                    return static_cast<std::size_t>(text.indexOf(needle));
                });
    addCompared(indexOfWorkload(sample), "Qt QByteArrayMatcher", indexOfNeedle(sample),
                [text = bytesOf(sample.once), matcher = QByteArrayMatcher(needle)] {
                    return static_cast<std::size_t>(matcher.indexIn(text));
                });
    addCompared(occurrencesWorkload(sample), "Qt QByteArray", sample.matches,
                [text = bytesOf(sample.often), needle] {
                    return static_cast<std::size_t>(text.count(needle));
                });
    addReplace(sample, "Qt QByteArray",
               [text = bytesOf(sample.often), needle](std::string_view replacement) {
                   QByteArray copy = text;
                   copy.replace(needle, bytesOf(replacement));
                   return Result{std::move(copy)};
               });
}

void addQt(const HexSample& sample) {
    addCompared(encodeWorkload(sample), "Qt QByteArray", sample.digits,
                [bytes = bytesOf(sample.bytes)] { return bytes.toHex().toStdString(); });
    // Skips characters that are no digits.
    addCompared(
        decodeWorkload(sample), "(partial) Qt QByteArray", sample.bytes,
        [digits = bytesOf(sample.digits)] { return QByteArray::fromHex(digits).toStdString(); });
}

}  // namespace nx::oss::bench
