#include <QString>

#include "kelNumberBench.h"

namespace nx::oss::bench {

namespace {

const auto QSTRING = [](const std::string& text) { return QString::fromStdString(text); };
const auto BYTES = [](const QString& text) { return text.toStdString(); };

template <class Number, class Parse>
void addQtParser(const Numbers<Number>& numbers, Parse parse) {
    addParser(numbers, "Qt QString", QSTRING, [parse](const QString& text) {
        bool ok = false;
        const auto value = static_cast<Number>(parse(text, &ok));
        require(ok, "Qt QString");
        return value;
    });
}

}  // namespace

void addQt(const NumberSamples& samples) {
    const auto toDouble = [](const QString& text, bool* ok) { return text.toDouble(ok); };
    addQtParser(samples.parsedInt32, [](const QString& text, bool* ok) { return text.toInt(ok); });
    addQtParser(samples.parsedInt64,
                [](const QString& text, bool* ok) { return text.toLongLong(ok); });
    addQtParser(samples.parsedMoney, toDouble);
    addQtParser(samples.parsedExact, toDouble);
    for (const auto* numbers : {&samples.printedSmall, &samples.printedLarge}) {
        addPrinter(
            *numbers, "Qt QString", [](double value) { return QString::number(value, 'f', 6); },
            BYTES);
    }
    addPrinter(
        samples.printedInt64, "Qt QString",
        [](std::int64_t value) { return QString::number(static_cast<qlonglong>(value)); }, BYTES);
}

}  // namespace nx::oss::bench
