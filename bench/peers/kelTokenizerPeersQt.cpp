#include <QRegularExpression>
#include <QString>
#include <QStringList>

#include "kelTokenizerBench.h"

namespace nx::oss::bench {

namespace {

template <class Take>
void takeAll(const QStringList& tokens, Take take) {
    for (const QString& token : tokens) {
        take({reinterpret_cast<const char16_t*>(token.utf16()),
              static_cast<std::size_t>(token.size())});
    }
}

}  // namespace

void addQt(const TokenSample& sample) {
    const QString text = QString::fromStdU16String(sample.units);
    addSplit<char16_t>(sample, "Qt simplified + split", [text](const std::u16string&, auto take) {
        takeAll(text.simplified().split(u' ', Qt::SkipEmptyParts), take);
    });
    addSplit<char16_t>(
        sample, "Qt split by an expression",
        [text, delimiters = QRegularExpression("[ \r\n\t]+")](const std::u16string&, auto take) {
            takeAll(text.split(delimiters, Qt::SkipEmptyParts), take);
        });
}

}  // namespace nx::oss::bench
