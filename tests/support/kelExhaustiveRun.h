#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <numeric>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace nx::test {

/// Which of `total` numbered cases a test looks at that knows all there are: as many as the
/// environment variable KELINFRA_CASES says, each of them once when it says `total` or more. The
/// numbers are spread evenly over all, always the same ones.
class ExhaustiveRun {
  public:
    ExhaustiveRun(std::uint64_t total, std::uint64_t usualCases)
        : total_(total), cases_(std::min(total, wanted(usualCases))), step_(stepOf(total)) {
        std::cout << cases_ << " of " << total_ << " cases" << std::endl;
        testing::Test::RecordProperty("cases", std::to_string(cases_));
    }

    /// Calls `look` with each number until it returns false.
    template <class Look>
    void forEach(const Look& look) const {
        std::uint64_t number = 0;
        for (std::uint64_t i = 0; i < cases_ && look(number); ++i) {
            number += step_;
            number -= number >= total_ ? total_ : 0;
        }
    }

  private:
    static std::uint64_t wanted(std::uint64_t usualCases) {
        const char* const cases = std::getenv("KELINFRA_CASES");
        return cases == nullptr ? usualCases : std::strtoull(cases, nullptr, 10);
    }

    /// Near the golden section, and without a divisor in common with the total, so that all numbers
    /// come before one comes again.
    static std::uint64_t stepOf(std::uint64_t total) {
        std::uint64_t step = total * 618 / 1000 + 1;
        while (std::gcd(step, total) != 1) {
            ++step;
        }
        return step;
    }

    std::uint64_t total_;
    std::uint64_t cases_;
    std::uint64_t step_;
};

/// All texts of up to `longest` of the characters, numbered from the shortest on.
class TextsOf {
  public:
    TextsOf(std::string_view characters, unsigned longest)
        : characters_(characters), longest_(longest) {}

    std::uint64_t count() const {
        std::uint64_t sum = 0;
        std::uint64_t ofLength = 1;
        for (unsigned length = 0; length <= longest_; ++length) {
            sum += ofLength;
            ofLength *= characters_.size();
        }
        return sum;
    }

    std::string text(std::uint64_t number) const {
        const std::uint64_t base = characters_.size();
        std::string result;
        // Numbering in which no digit is zero: every text has one number.
        for (; number > 0; number = (number - 1) / base) {
            result += characters_[(number - 1) % base];
        }
        return result;
    }

  private:
    std::string characters_;
    unsigned longest_;
};

/// The 256 bytes, for TextsOf.
inline std::string allBytes() {
    std::string bytes(256, '\0');
    std::iota(bytes.begin(), bytes.end(), '\0');
    return bytes;
}

}  // namespace nx::test
