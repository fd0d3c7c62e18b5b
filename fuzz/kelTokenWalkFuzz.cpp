// Feeds a list of operations to one StringTokenizer, now and then with a failing allocation, and
// compares every token and the place of the walk with those of a slow splitter.
//
// Input: a byte that chooses the code page, then operations, each a letter, the number of the
// allocation that fails and, for a new text, delimiters and text.

#include <vector>

#include <infra/oss/kelStringTokenizer.h>

#include "kelFuzzFaults.h"
#include "kelFuzzInput.h"
#include "reference/kelTokenReference.h"

namespace {

using nx::oss::StringTokenizer;

constexpr const char* CODE_PAGES[] = {"UTF-8", "ISO-8859-1", "UTF-16BE", "Shift_JIS"};

struct Model {
    const char* codePage;
    std::vector<std::u16string> tokens;
    std::size_t next = 0;

    std::u16string token() const { return next < tokens.size() ? tokens[next] : u""; }
    /// The bytes that ICU makes of the token; those of a large buffer end at their first NUL.
    std::string bytes() const {
        const icu::UnicodeString text = icuOf(token());
        std::string result(static_cast<std::size_t>(text.length()) * 4 + 8, '\0');
        result.resize(static_cast<std::size_t>(text.extract(
            0, text.length(), &result[0], static_cast<std::uint32_t>(result.size()), codePage)));
        return result.size() > 4096 ? result.c_str() : result;
    }
};

void parse(FuzzInput& input, std::size_t failing, StringTokenizer& tokenizer, Model& model) {
    const std::u16string delimiters = input.units();
    const std::u16string text = input.units();
    const icu::UnicodeString textToSplit = icuOf(text);
    const icu::UnicodeString set = icuOf(delimiters);
    const bool done = carriedOut(failing, [&] { tokenizer.parseString(textToSplit, set); });
    model.tokens.clear();
    model.next = 0;
    if (done) {
        model.tokens = nx::test::reference::tokensOf(text, delimiters);
    }
}

/// A call that throws hands out nothing; asked for the first, it has gone back to it all the same.
void handOutString(bool first, std::size_t failing, StringTokenizer& tokenizer, Model& model) {
    model.next = first ? 0 : model.next;
    icu::UnicodeString token;
    const bool done = carriedOut(failing, [&] {
        token = first ? tokenizer.getFirstTokenString() : tokenizer.getNextTokenString();
    });
    // The copy above may fail as well, silently: ICU then leaves a null text.
    require(!done || token.isBogus() || unitsOf(token) == model.token(), "text of a token");
    model.next += done && model.next < model.tokens.size() ? 1 : 0;
}

void handOutBytes(bool first, std::size_t failing, StringTokenizer& tokenizer, Model& model) {
    model.next = first ? 0 : model.next;
    const char* token = nullptr;
    if (!carriedOut(failing, [&] {
            token = first ? tokenizer.getFirstToken() : tokenizer.getNextToken();
        })) {
        return;
    }
    const std::string wanted = model.bytes();
    require(std::string(token, wanted.size() + 1) == wanted + '\0', "bytes of a token");
    model.next += model.next < model.tokens.size() ? 1 : 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    Model model{CODE_PAGES[input.byte() % 4], {}};
    StringTokenizer tokenizer("", nullptr, model.codePage);
    while (!input.isEmpty()) {
        const unsigned operation = input.byte();
        const std::size_t failing = input.byte() % 8;
        switch (operation % 5) {
            case 0:
                parse(input, failing, tokenizer, model);
                break;
            case 1:
            case 2:
                handOutString(operation % 5 == 1, failing, tokenizer, model);
                break;
            default:
                handOutBytes(operation % 5 == 3, failing, tokenizer, model);
        }
        require(tokenizer.countTokens() == static_cast<int>(model.tokens.size()), "count");
        require(tokenizer.hasMoreTokens() == (model.next < model.tokens.size()), "more tokens");
    }
    return 0;
}
