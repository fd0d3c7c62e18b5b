#include <infra/oss/kelDataBuffer.h>

#include <cstdint>
#include <iostream>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "reference/kelTextBufferModel.h"

namespace nx::oss {
namespace {

constexpr int SEQUENCES = 20'000;
constexpr int STEPS = 12;

class Random {
  public:
    explicit Random(std::uint32_t seed) : engine_(seed) {}

    int below(int limit) { return static_cast<int>(engine_() % static_cast<unsigned>(limit)); }

    /// Few different characters, so that needles match often; now and then a NUL.
    std::string text(int longest, bool withNul) {
        std::string result(static_cast<std::size_t>(below(longest + 1)), '\0');
        for (char& c : result) {
            c = withNul && below(20) == 0 ? '\0' : static_cast<char>('a' + below(3));
        }
        return result;
    }

  private:
    std::mt19937 engine_;
};

void step(Random& random, DataBuffer& buffer, test::TextBufferModel& model) {
    const int position = random.below(static_cast<int>(model.content.size()) + 5) - 2;
    const std::string needle = std::string(1, static_cast<char>('a' + random.below(3))) +
                               random.text(2, /*withNul=*/false);
    const std::string replacement = random.text(4, /*withNul=*/false);
    switch (random.below(6)) {
        case 0: {
            const std::string text =
                random.text(random.below(8) == 0 ? 5000 : 30, /*withNul=*/true);
            const int count = static_cast<int>(text.size());
            buffer.saveString(position, text.data(), count);
            model.insert(position, text, count);
            break;
        }
        case 1: {
            const std::string text = random.text(40, /*withNul=*/false);
            buffer.appendString(text.c_str());
            model.insert(static_cast<int>(model.content.size()), text,
                         static_cast<int>(text.size()));
            break;
        }
        case 2: {
            const int n = random.below(8) - 1;
            const int count = random.below(5);
            EXPECT_EQ(buffer.replace(needle.c_str(), replacement.c_str(), n, count),
                      count < 1 ? 0 : model.replace(needle, replacement, n, count));
            break;
        }
        case 3: {
            const long all = model.occurrences(needle);
            EXPECT_EQ(buffer.occurrences(needle.c_str()), all);
            EXPECT_EQ(buffer.replaceAll(needle.c_str(), replacement.c_str()),
                      model.replace(needle, replacement, all, all));
            break;
        }
        case 4:
            EXPECT_EQ(buffer.indexOf(position, needle.c_str()), model.indexOf(position, needle));
            break;
        default: {
            // The buffer's own content, inserted into itself.
            const std::string own = std::string(model.content.c_str());
            buffer.insertString(position, buffer.getString());
            model.insert(position, own, static_cast<int>(own.size()));
        }
    }
}

TEST(DataBufferProperty, RandomOperationsGiveWhatTheSlowModelGives) {
    const std::uint32_t seed = std::random_device{}();
    std::cout << "seed " << seed << '\n';
    Random random(seed);
    for (int sequence = 0; sequence < SEQUENCES; ++sequence) {
        DataBuffer buffer;
        test::TextBufferModel model;
        for (int i = 0; i < STEPS; ++i) {
            step(random, buffer, model);
            ASSERT_EQ(std::string(buffer.getString(), static_cast<std::size_t>(buffer.length())),
                      model.content);
            ASSERT_EQ(buffer.getString()[buffer.length()], '\0');
            ASSERT_EQ(buffer.capacity(), model.capacity);
        }
    }
}

}  // namespace
}  // namespace nx::oss
