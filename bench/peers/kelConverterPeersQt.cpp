#include <QString>
#include <QStringConverter>
#include <memory>

#include "kelConverterBench.h"

namespace nx::oss::bench {

namespace {

QString textOf(const Conversion& conversion) {
    return QString::fromUtf16(conversion.text.data(),
                              static_cast<qsizetype>(conversion.text.size()));
}

std::string bytesOf(const QByteArray& bytes) { return bytes.toStdString(); }

void addFromText(const Conversion& conversion) {
    addToBuffer(conversion.name, conversion, "Qt QStringEncoder",
                [text = textOf(conversion), encoder = std::make_shared<QStringEncoder>(
                                                conversion.to)](char* dest, std::size_t) {
                    return static_cast<std::size_t>(encoder->appendToBuffer(dest, text) - dest);
                });
    if (conversion.isTo("UTF-8")) {
        addToString(
            conversion, "Qt QString", [text = textOf(conversion)] { return text.toUtf8(); },
            bytesOf);
    } else if (conversion.isTo("ISO-8859-1")) {
        addToString(
            conversion, "Qt QString", [text = textOf(conversion)] { return text.toLatin1(); },
            bytesOf);
    }
}

void addToText(const Conversion& conversion) {
    addToBuffer(
        conversion.name, conversion, "Qt QStringDecoder",
        [source = QByteArray::fromStdString(conversion.source),
         decoder = std::make_shared<QStringDecoder>(conversion.from)](char* dest, std::size_t) {
            decoder->resetState();
            return static_cast<std::size_t>(reinterpret_cast<char*>(decoder->appendToBuffer(
                                                reinterpret_cast<QChar*>(dest), source)) -
                                            dest);
        });
}

void addBetweenBytes(const Conversion& conversion) {
    addToBuffer(
        conversion.name, conversion, "Qt QStringDecoder + QStringEncoder",
        [source = QByteArray::fromStdString(conversion.source),
         decoder = std::make_shared<QStringDecoder>(conversion.from),
         encoder = std::make_shared<QStringEncoder>(conversion.to)](char* dest, std::size_t) {
            decoder->resetState();
            const QString text = decoder->decode(source);
            return static_cast<std::size_t>(encoder->appendToBuffer(dest, text) - dest);
        });
}

}  // namespace

void addQt(const Conversion& conversion) {
    if (!QStringEncoder(conversion.to).isValid() ||
        !QStringDecoder(conversion.bytesFrom()).isValid()) {
        return;
    }
    if (conversion.fromText()) {
        addFromText(conversion);
    } else if (conversion.isTo("UTF-16LE")) {
        addToText(conversion);
    } else {
        addBetweenBytes(conversion);
    }
}

}  // namespace nx::oss::bench
