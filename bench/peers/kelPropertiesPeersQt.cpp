#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QSettings>
#include <QString>
#include <cstdio>
#include <fstream>
#include <memory>

#include "kelPropertiesBench.h"

namespace nx::oss::bench {

namespace {

constexpr const char* CONTENDER = "Qt QSettings";

/// A file in memory, as it reads nothing but files. It ends with the object.
class MemoryFile {
  public:
    explicit MemoryFile(const std::string& text) {
        const int descriptor = mkstemp(name_.data());
        require(descriptor != -1, "mkstemp");
        close(descriptor);
        std::ofstream(name_, std::ios::binary) << text;
    }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    ~MemoryFile() { std::remove(name_.c_str()); }

    QString name() const { return QString::fromStdString(name_); }

    /// Makes the reader believe that the file has changed, as it remembers what it has read.
    void touch() {
        const timespec time{1'000'000 + ++touched_, 0};
        const timespec times[] = {time, time};
        require(utimensat(AT_FDCWD, name_.c_str(), times, 0) == 0, "utimensat");
    }

  private:
    // What mkstemp() replaces are six letters X.
    std::string name_ = "/dev/shm/kelPropertiesBench" + std::string(6, 'X');
    long touched_ = 0;
};

/// Its escapes have no fixed number of digits, so no hexadecimal digit may follow one.
std::string qtText(const PropertiesSample& sample) {
    std::string text = "[General]\n";
    for (const auto& [key, value] : sample.pairs) {
        text += key + '=';
        for (const char16_t unit : QString::fromStdString(value).toStdU16String()) {
            char escape[16];
            std::snprintf(escape, sizeof escape, unit < 0x80 ? "%c" : "\\x%x",
                          static_cast<unsigned>(unit));
            text += escape;
        }
        text += '\n';
    }
    return text;
}

QString keyOf(const PropertiesSample& sample, std::size_t i) {
    return QString::fromStdString(sample.pairs[i].first);
}

double typed(const QSettings& settings, const QString& key, ValueKind kind) {
    switch (kind) {
        case ValueKind::INTEGER:
            return settings.value(key).toInt();
        case ValueKind::BOOLEAN:
            return static_cast<double>(settings.value(key).toBool());
        default:
            return settings.value(key).toDouble();
    }
}

void addParse(const PropertiesSample& sample, const std::shared_ptr<MemoryFile>& file) {
    addPerElement(sample.workload("parse", "line"), CONTENDER, sample.lines,
                  [file, key = keyOf(sample, 0)] {
                      file->touch();
                      const QSettings settings(file->name(), QSettings::IniFormat);
                      benchmark::DoNotOptimize(settings.contains(key));
                  });
}

void addReading(const PropertiesSample& sample, const std::shared_ptr<QSettings>& settings) {
    const auto keys = std::make_shared<std::vector<QString>>();
    for (std::size_t i = 0; i < sample.lines; ++i) {
        keys->push_back(keyOf(sample, i));
    }
    const auto get = [settings, keys](std::size_t i) {
        return settings->value((*keys)[i]).toString();
    };
    addLookup(
        sample, CONTENDER,
        [get](std::size_t i, const std::string& value) { return get(i).toStdString() == value; },
        [get](std::size_t i) { benchmark::DoNotOptimize(get(i)); });
    addTyped(sample, CONTENDER,
             [settings, keys](std::size_t i) { return typed(*settings, (*keys)[i], kindOf(i)); });
}

void addStore(const PropertiesSample& sample, const std::shared_ptr<MemoryFile>& file,
              const std::shared_ptr<QSettings>& settings) {
    addPerElement("store " + std::to_string(sample.lines) + " [per pair]", CONTENDER, sample.lines,
                  [file, settings, key = keyOf(sample, 0), change = 0]() mutable {
                      settings->setValue(key, ++change);
                      settings->sync();
                  });
}

}  // namespace

void addPropertiesQt(const PropertiesSample& sample) {
    if (sample.shape == "rich" || sample.shape == "refs") {
        return;
    }
    const auto file = std::make_shared<MemoryFile>(qtText(sample));
    {
        const QSettings settings(file->name(), QSettings::IniFormat);
        for (std::size_t i = 0; i < sample.lines; ++i) {
            require(
                settings.value(keyOf(sample, i)).toString().toStdString() == sample.pairs[i].second,
                sample.workload("parse", CONTENDER));
        }
    }
    addParse(sample, file);
    if (sample.isPlain()) {
        // Files of their own, as settings on one file share what they hold.
        const auto read = std::make_shared<MemoryFile>(qtText(sample));
        addReading(sample, std::make_shared<QSettings>(read->name(), QSettings::IniFormat));
        const auto written = std::make_shared<MemoryFile>(qtText(sample));
        addStore(sample, written,
                 std::make_shared<QSettings>(written->name(), QSettings::IniFormat));
    }
}

}  // namespace nx::oss::bench
