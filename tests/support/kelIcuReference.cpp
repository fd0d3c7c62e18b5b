#include "support/kelIcuReference.h"

#include <cctype>
#include <iterator>
#include <stdexcept>

namespace nx::oss::test {

IcuReference::IcuReference(const std::string& name) : name_(name) { renew(true); }

void IcuReference::renew(bool completely) const {
    if (!completely && (type() == UCNV_SBCS || type() == UCNV_MBCS)) {
        ucnv_reset(converter_);
        return;
    }
    ucnv_close(converter_);
    UErrorCode status = U_ZERO_ERROR;
    converter_ = ucnv_open(name_.c_str(), &status);
    if (U_FAILURE(status)) {
        throw std::runtime_error("ICU has no converter " + name_);
    }
}

IcuReference::~IcuReference() { ucnv_close(converter_); }

namespace {

bool hasLoneSurrogate(const std::u16string& text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        if ((text[i] & 0xF800) != 0xD800) {
            continue;
        }
        const bool isPair =
            (text[i] & 0x400) == 0 && i + 1 < text.size() && (text[i + 1] & 0xFC00) == 0xDC00;
        if (!isPair) {
            return true;
        }
        ++i;
    }
    return false;
}

}  // namespace

std::u16string IcuReference::decode(const std::string& bytes, bool* failed) const {
    std::u16string text(bytes.size() * 4 + 32, u'\0');
    renew(false);
    UErrorCode status = U_ZERO_ERROR;
    const char* source = bytes.data();
    char16_t* target = text.data();
    ucnv_toUnicode(converter_, &target, text.data() + text.size(), &source,
                   bytes.data() + bytes.size(), nullptr, true, &status);
    if (status == U_BUFFER_OVERFLOW_ERROR) {
        throw std::runtime_error("unexpectedly long text");
    }
    if (failed != nullptr) {
        *failed = U_FAILURE(status);
    }
    text.resize(static_cast<std::size_t>(target - text.data()));
    return text;
}

std::string IcuReference::encode(const std::u16string& text) const {
    std::string bytes(text.size() * 10 + 64, '\0');
    renew(hasLoneSurrogate(text));
    UErrorCode status = U_ZERO_ERROR;
    const char16_t* source = text.data();
    char* target = bytes.data();
    ucnv_fromUnicode(converter_, &target, bytes.data() + bytes.size(), &source,
                     text.data() + text.size(), nullptr, true, &status);
    if (status == U_BUFFER_OVERFLOW_ERROR) {
        throw std::runtime_error("unexpectedly long result");
    }
    bytes.resize(static_cast<std::size_t>(target - bytes.data()));
    return bytes;
}

std::vector<std::string> icuConverterNames() {
    std::vector<std::string> names;
    for (int32_t i = 0; i < ucnv_countAvailable(); ++i) {
        names.emplace_back(ucnv_getAvailableName(i));
    }
    return names;
}

std::string nameOfCodePageTest(const ::testing::TestParamInfo<std::string>& parameter) {
    std::string name = std::to_string(parameter.index) + "_";
    for (const char c : parameter.param) {
        name += std::isalnum(static_cast<unsigned char>(c)) != 0 ? c : '_';
    }
    return name;
}

namespace {

struct Range {
    char16_t first;
    char16_t last;
};

constexpr Range RANGES[] = {
    {0x0000, 0x007F}, {0x0020, 0x007E}, {0x0080, 0x00FF}, {0x00AD, 0x00AD}, {0x0100, 0x052F},
    {0x0300, 0x036F}, {0x0590, 0x06FF}, {0x0900, 0x0DFF}, {0x0E00, 0x0E7F}, {0x1E00, 0x1EFF},
    {0x2000, 0x206F}, {0x2070, 0x2BFF}, {0x3000, 0x30FF}, {0x3099, 0x309C}, {0x31F0, 0x31FF},
    {0x4E00, 0x9FFF}, {0xAC00, 0xD7A3}, {0xD800, 0xDBFF}, {0xDC00, 0xDFFF}, {0xE000, 0xF8FF},
    {0xF900, 0xFAFF}, {0xFE00, 0xFE0F}, {0xFE30, 0xFFEF}, {0xFEFF, 0xFEFF}, {0xFFF0, 0xFFFF}};

unsigned below(std::mt19937& random, std::size_t end) {
    return static_cast<unsigned>(random() % end);
}

char16_t unitOf(std::mt19937& random, Range range) {
    return static_cast<char16_t>(range.first + below(random, range.last - range.first + 1u));
}

void addPair(std::mt19937& random, std::u16string& text) {
    text += unitOf(random, {0xD800, 0xDBFF});
    text += unitOf(random, {0xDC00, 0xDFFF});
}

}  // namespace

std::u16string randomText(std::mt19937& random, std::size_t length,
                          const std::u16string& likelyUnits) {
    std::u16string text;
    while (text.size() < length) {
        const unsigned choice = below(random, 12);
        if (choice == 0) {
            text.append(below(random, 24), unitOf(random, {0x20, 0x7E}));
        } else if (choice == 1) {
            addPair(random, text);
        } else if (choice < 9 && !likelyUnits.empty()) {
            text += likelyUnits[below(random, likelyUnits.size())];
        } else {
            text += unitOf(random, RANGES[below(random, std::size(RANGES))]);
        }
    }
    text.resize(length);
    return text;
}

std::string randomBytes(std::mt19937& random, std::size_t length, const IcuReference& codePage,
                        const std::u16string& likelyUnits) {
    const unsigned choice = below(random, 4);
    std::string bytes;
    if (choice < 3) {
        bytes = codePage.encode(randomText(random, length, likelyUnits));
    }
    if (choice == 0) {
        return bytes;
    }
    while (bytes.size() < length) {
        bytes += static_cast<char>(random());
    }
    for (unsigned spoiled = below(random, 4); spoiled > 0 && !bytes.empty(); --spoiled) {
        bytes[below(random, bytes.size())] = static_cast<char>(random());
    }
    return bytes;
}

std::u16string unitsOf(std::mt19937& random, const IcuReference& codePage) {
    std::u16string units;
    for (int i = 0; i < 600; ++i) {
        units += codePage.decode({static_cast<char>(random()), static_cast<char>(random())});
    }
    return units;
}

}  // namespace nx::oss::test
