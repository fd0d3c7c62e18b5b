#include "kelprops/kelPropertyEdit.h"

#include <infra/util/kelExtendedProperties.h>

#include <algorithm>
#include <vector>

#include "common/kelReport.h"
#include "kelprops/kelPropertyFile.h"
#include "kelprops/kelPropertyScan.h"

namespace tools {

namespace {

using nx::util::ExtendedProperties;

/// The line end that the file uses, by its first line.
std::string lineEndOf(std::string_view text) {
    const std::size_t first = text.find_first_of("\r\n");
    if (first == std::string_view::npos) {
        return "\n";
    }
    const bool isPair = text.substr(first, 2) == "\r\n";
    return std::string(text.substr(first, isPair ? 2 : 1));
}

/// The text with all its lines ended, so that more can follow without changing what it says.
std::string ended(std::string_view text) {
    std::string whole(text);
    if (!whole.empty() && whole.back() != '\n' && whole.back() != '\r') {
        whole += lineEndOf(text);
    }
    return whole;
}

bool isEqual(const ExtendedProperties& a, const ExtendedProperties& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end());
}

/// Whether the changed text says what the old one did, and the new pair. A key that only came out
/// of an unended last line, which is mended on the way, does not count.
bool saysTheSame(std::string_view before, std::string_view after, const icu::UnicodeString& key,
                 const icu::UnicodeString& value) {
    ExtendedProperties wanted;
    wanted.load(before.data(), before.size());
    wanted.putProperty(key, value);
    ExtendedProperties found;
    found.load(after.data(), after.size());
    return isEqual(wanted, found);
}

std::string replaced(std::string_view text, std::size_t begin, std::size_t end,
                     const std::string& by) {
    return ended(std::string(text.substr(0, begin)) + by + std::string(text.substr(end)));
}

}  // namespace

std::string withProperty(std::string_view text, const icu::UnicodeString& key,
                         const icu::UnicodeString& value) {
    const std::string whole = ended(text);
    ScannedLine last;
    for (ScannedLine line : scanProperties(whole)) {
        if (line.kind == ScannedLine::PAIR && line.key == key) {
            last = std::move(line);
        }
    }
    std::vector<std::string> ways;
    if (last.kind == ScannedLine::PAIR) {
        // A line that has a value keeps its assignment; another one gets one.
        ways.push_back(replaced(whole, last.valueBegin, last.valueEnd, writtenValue(value)));
        ways.push_back(replaced(whole, last.keyBegin, last.valueEnd, writtenPair(key, value)));
    } else {
        ways.push_back(whole + writtenPair(key, value) + lineEndOf(text));
    }
    for (const std::string& changed : ways) {
        if (saysTheSame(whole, changed, key, value)) {
            return changed;
        }
    }
    throw Failure("the file cannot be changed without changing more than '" + printable(key) +
                  "'; 'kelprops check' tells what is odd in it");
}

}  // namespace tools
