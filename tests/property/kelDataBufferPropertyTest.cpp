#include <infra/oss/kelDataBuffer.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "reference/kelTextBufferModel.h"
#include "support/kelRandomRun.h"

namespace nx::oss {
namespace {

using test::TextBufferModel;

constexpr long USUAL_STEPS = 200'000;
constexpr int STEPS_OF_A_BUFFER = 14;

class Random {
  public:
    explicit Random(std::uint64_t seed) : engine_(seed) {}

    int below(int limit) { return static_cast<int>(engine_() % static_cast<unsigned>(limit)); }
    std::uint64_t bits() { return engine_(); }

    /// Few different characters, so that needles match often; now and then a NUL.
    std::string text(int longest, bool withNul) {
        std::string result(static_cast<std::size_t>(below(longest + 1)), '\0');
        for (char& c : result) {
            c = withNul && below(20) == 0 ? '\0' : static_cast<char>('a' + below(3));
        }
        return result;
    }

  private:
    std::mt19937_64 engine_;
};

/// A buffer and its model, to which the same is done.
class Pair {
  public:
    explicit Pair(Random& random) : random_(random) {
        if (random_.below(4) == 0) {
            const int size = random_.below(9'000);
            buffer_ = std::make_unique<DataBuffer>(size);
            model_.capacity = std::max(size, 4096);
        }
    }

    void step() {
        switch (random_.below(13)) {
            case 0:
                return insertCounted();
            case 1:
                return insertTerminated();
            case 2:
                return replaceWindow();
            case 3:
                return replaceAll();
            case 4:
                return replaceNth();
            case 5:
                return search();
            case 6:
                return insertNumber();
            case 7:
                return insertBinary();
            case 8:
                return insertItself();
            case 9:
                return insertUnicode();
            case 10:
                return copy();
            case 11:
                return random_.below(6) == 0 ? forget() : insertCounted();
            default:
                return appendSelf();
        }
    }

    void compare() const {
        ASSERT_EQ(std::string(buffer_->getString(), static_cast<std::size_t>(buffer_->length())),
                  model_.content);
        ASSERT_EQ(buffer_->capacity(), model_.capacity);
        if (!model_.content.empty()) {  // forgotten bytes may stand behind an empty content
            ASSERT_EQ(buffer_->getString()[buffer_->length()], '\0');
        }
    }

  private:
    int position() { return random_.below(static_cast<int>(model_.content.size()) + 5) - 2; }
    int length() const { return static_cast<int>(model_.content.size()); }
    int longest() { return random_.below(8) == 0 ? 5'000 : 30; }
    std::string needle() {
        return std::string(1, static_cast<char>('a' + random_.below(3))) + random_.text(2, false);
    }

    void insertCounted() {
        const std::string text = random_.text(longest(), /*withNul=*/true);
        const int at = position();
        buffer_->saveString(at, text.data(), static_cast<int>(text.size()));
        model_.insert(at, text, static_cast<int>(text.size()));
    }
    void insertTerminated() {
        const std::string text = random_.text(longest(), /*withNul=*/false);
        const int at = position();
        buffer_->insertString(at, text.c_str());
        model_.insert(at, text, static_cast<int>(text.size()));
    }
    void replaceWindow() {
        const std::string text = needle();
        const std::string replacement = random_.text(4, false);
        const int n = random_.below(8) - 1;
        const int count = random_.below(6) - 1;
        EXPECT_EQ(buffer_->replace(text.c_str(), replacement.c_str(), n, count),
                  count < 1 ? 0 : model_.replace(text, replacement, n, count));
    }
    void replaceAll() {
        const std::string text = needle();
        const std::string replacement = random_.text(4, false);
        const long all = model_.occurrences(text);
        EXPECT_EQ(buffer_->replaceAll(text.c_str(), replacement.c_str()),
                  model_.replace(text, replacement, all, all));
    }
    void replaceNth() {
        const std::string text = needle();
        const std::string replacement = random_.text(4, false);
        const int n = random_.below(10) - 1;
        const bool exists = n >= 1 && model_.occurrences(text) >= n;
        EXPECT_EQ(buffer_->replace(text.c_str(), replacement.c_str(), n),
                  exists ? model_.replace(text, replacement, n, 1) : 0);
    }
    void search() {
        const std::string text = needle();
        const int start = position();
        const int end = position();
        const int found = model_.indexOf(start, text);
        EXPECT_EQ(buffer_->occurrences(text.c_str()), model_.occurrences(text));
        EXPECT_EQ(buffer_->indexOf(start, text.c_str()), found);
        const bool inside = found >= 0 && end >= 0 && found + static_cast<int>(text.size()) <= end;
        EXPECT_EQ(buffer_->indexOf(start, end, text.c_str()), inside ? found : -1);
    }
    void insertNumber() {
        char text[512];
        const int at = position();
        const auto number = static_cast<long>(random_.bits() >> random_.below(64));
        if (random_.below(2) == 0) {
            buffer_->insertNumber(at, number);
            std::snprintf(text, sizeof text, "%ld", number);
        } else {
            buffer_->insertNumber(at, static_cast<double>(number) / 1024);
            std::snprintf(text, sizeof text, "%lf", static_cast<double>(number) / 1024);
        }
        model_.insert(at, text, static_cast<int>(std::string(text).size()));
    }
    void insertBinary() {
        const std::string bytes = random_.text(random_.below(20) == 0 ? 2'100 : 20, true);
        const bool upperCase = random_.below(2) == 0;
        const int at = position();
        std::string text = bytes.empty() ? "" : "X'";
        for (const char c : bytes) {
            char digits[3];
            std::snprintf(digits, sizeof digits, upperCase ? "%02X" : "%02x",
                          static_cast<unsigned>(static_cast<unsigned char>(c)));
            text += digits;
        }
        text += bytes.empty() ? "" : "'";
        buffer_->saveBinary(at, bytes.data(), static_cast<int>(bytes.size()), upperCase);
        model_.insert(at, text, static_cast<int>(text.size()));
    }
    void insertItself() {
        if (length() == 0 || length() > 20'000) {
            return;
        }
        const int at = position();
        const int from = random_.below(length());
        const int count = random_.below(length() - from + 1);
        const std::string own = model_.content.substr(static_cast<std::size_t>(from));
        buffer_->saveString(at, buffer_->getString() + from, count);
        model_.insert(at, own, count);
    }
    void insertUnicode() {
        const std::string text = random_.text(longest(), /*withNul=*/true);
        const icu::UnicodeString wide = icu::UnicodeString::fromUTF8(text);
        const int at = position();
        const bool latin = random_.below(2) == 0;
        const bool append = random_.below(2) == 0;
        if (append) {
            buffer_->appendString(wide, latin ? "ISO-8859-1" : "UTF-8");
        } else {
            buffer_->insertString(at, wide, latin ? "windows-1252" : nullptr);
        }
        model_.insert(append ? length() : at, text, static_cast<int>(text.size()));
    }
    void copy() {
        auto copied = std::make_unique<DataBuffer>(*buffer_);
        if (random_.below(2) == 0) {
            *buffer_ = DataBuffer("something else");
            *buffer_ = *copied;
        }
        buffer_ = std::move(copied);
        model_.capacity = length() > 4096 ? length() + 4096 : 4096;
    }
    void forget() {
        buffer_->clear(/*keepBytes=*/random_.below(2) == 0);
        model_ = TextBufferModel();
    }
    void appendSelf() {
        if (length() > 20'000) {
            return forget();
        }
        buffer_->appendString(*buffer_);
        model_.insert(length(), std::string(model_.content), length());
    }

    Random& random_;
    std::unique_ptr<DataBuffer> buffer_ = std::make_unique<DataBuffer>();
    TextBufferModel model_;
};

TEST(DataBufferProperty, RandomOperationsGiveWhatTheSlowModelGives) {
    const test::RandomRun run(USUAL_STEPS);
    Random random(run.seed());
    for (long done = 0; done < run.cases();) {
        Pair pair(random);
        for (int i = 0; i < STEPS_OF_A_BUFFER; ++i, ++done) {
            pair.step();
            pair.compare();
            if (testing::Test::HasFailure()) {
                FAIL() << "step " << i << " of a buffer, seed " << run.seed();
            }
        }
    }
}

TEST(DataBufferProperty, BinaryFormsAreReadBackWhateverTheBytes) {
    const test::RandomRun run(100'000);
    Random random(run.seed());
    for (long i = 0; i < run.cases(); ++i) {
        std::string bytes(static_cast<std::size_t>(random.below(80)), '\0');
        for (char& c : bytes) {
            c = static_cast<char>(random.below(256));
        }
        DataBuffer buffer;
        buffer.appendBinary(bytes.data(), static_cast<int>(bytes.size()), random.below(2) == 0);
        if (bytes.empty()) {
            ASSERT_EQ(buffer.length(), 0);
            continue;
        }
        std::string read(bytes.size(), '?');
        ASSERT_EQ(buffer.getBinary(read.data(), static_cast<int>(read.size())),
                  static_cast<int>(bytes.size()));
        ASSERT_EQ(read, bytes);
    }
}

}  // namespace
}  // namespace nx::oss
