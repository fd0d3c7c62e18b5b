// The guide's page on settings: files, defaults, ranges, saving.
#include <infra/oss/kelOutputStream.h>
#include <infra/oss/kelUTF8String.h>
#include <infra/util/kelExtendedProperties.h>
#include <infra/util/kelPropertiesException.h>

#include <unicode/ustream.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace {

using nx::util::ExtendedProperties;

// [file]
void addFile(ExtendedProperties& settings, const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw std::runtime_error("cannot read " + path);
    }
    std::string text((std::istreambuf_iterator<char>(file)),
                     std::istreambuf_iterator<char>());
    text += '\n';  // a last line without its end would be read differently
    settings.load(text.data(), text.size());
}
// [file]

// [layers]
// What the program brings along, then what the user has written; references
// last.
void loadSettings(ExtendedProperties& settings, const std::string& path) {
    constexpr char DEFAULTS[] =
        "host = localhost\n"
        "port = 8080\n"
        "url = http://%host%:%port%/\n";
    settings.load(DEFAULTS, std::strlen(DEFAULTS));
    addFile(settings, path);
    settings.resolveProperties();
}
// [layers]

// [range]
// A port. The getters count digits only; the 64-bit one shows whatever is out
// of range.
unsigned short requirePort(const ExtendedProperties& settings,
                           const icu::UnicodeString& key) {
    const unsigned long port = settings.requirePropertyAsUInt64(key);
    if (port > 65535) {
        throw std::runtime_error("no port: " + std::to_string(port));
    }
    return static_cast<unsigned short>(port);
}
// [range]

// [save]
class FileStream : public nx::oss::OutputStream {
  public:
    explicit FileStream(const std::string& path)
        : file_(path, std::ios::binary) {
        file_.exceptions(std::ios::badbit | std::ios::failbit);
    }
    using OutputStream::write;
    void write(char c) override { file_.put(c); }
    void flush() override { file_.flush(); }

  private:
    std::ofstream file_;
};

// Keeps a copy of the old file, which must exist. Whenever the program ends,
// one of them is whole.
void save(ExtendedProperties& settings, const std::string& path) {
    const std::string whole = path + ".new";
    {
        FileStream out(whole);
        settings.store(out);
    }
    std::filesystem::copy_file(
        path, path + ExtendedProperties::backupFileSuffix,
        std::filesystem::copy_options::overwrite_existing);
    std::filesystem::rename(whole, path);
}
// [save]

// Prints a file with LF for its line ends.
void show(const char* path) {
    std::ifstream file(path);
    std::copy_if(std::istreambuf_iterator<char>(file),
                 std::istreambuf_iterator<char>(),
                 std::ostreambuf_iterator<char>(std::cout),
                 [](char c) { return c != '\r'; });
}

void useSettings() {
    ExtendedProperties settings;
    loadSettings(settings, "mine.properties");
    // [typed]
    const icu::UnicodeString& url = settings.requireProperty("url");
    const bool isVerbose = settings.getPropertyAsBoolean("verbose", false);
    const double share = settings.getPropertyAsDouble("share", 0.5);
    // [typed]
    std::cout << url << " " << requirePort(settings, "port") << " " << isVerbose
              << " " << share << "\n";
}

void changeSettings() {
    ExtendedProperties settings;
    addFile(settings, "mine.properties");  // not expanded: a stored set is to
                                           // keep its references
    settings.putPropertyAsUint32("port", 4711);
    save(settings, "mine.properties");
    show("mine.properties");
}

void showMistakes() {
    // [mistakes]
    for (const char* const text :
         {"port = http\n", "port = %base%1\n", "Port = 80\n"}) {
        try {
            ExtendedProperties settings;
            settings.loadFromString(text, std::strlen(text));
            requirePort(settings, "port");
        } catch (const nx::util::PropertiesException& failure) {
            icu::UnicodeString report;
            std::cout << failure.messages.getFirstMessage().toString(report)
                      << "\n";
        }
    }
    // [mistakes]
}

}  // namespace

int main() {
    std::ofstream("mine.properties") << "host = example.org\nverbose = yes";
    useSettings();
    changeSettings();
    show("mine.properties.kvbk");
    std::cout << "\n";
    showMistakes();
}
