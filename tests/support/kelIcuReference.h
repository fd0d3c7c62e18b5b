#pragma once

#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unicode/ucnv.h>

namespace nx::oss::test {

/// ICU's own conversions, made with converters that no code under test has seen: one for all texts
/// where it is a mere table, a new one for each text otherwise, and for text with lone surrogates.
class IcuReference {
  public:
    explicit IcuReference(const std::string& name);
    ~IcuReference();
    IcuReference(const IcuReference&) = delete;
    IcuReference& operator=(const IcuReference&) = delete;

    UConverterType type() const { return ucnv_getType(converter_); }

    /// Sets `failed` if the converter gives up.
    std::u16string decode(const std::string& bytes, bool* failed = nullptr) const;
    std::string encode(const std::u16string& text) const;

  private:
    void renew(bool completely) const;

    std::string name_;
    mutable UConverter* converter_ = nullptr;
};

/// Names of all converters of ICU.
std::vector<std::string> icuConverterNames();

/// Names parameterised tests by code page.
std::string nameOfCodePageTest(const ::testing::TestParamInfo<std::string>& parameter);

/// Text of all kinds: runs of ASCII, letters of many scripts, surrogates, paired and lone,
/// combining marks, ignorable characters, private use, and units that the code page has.
std::u16string randomText(std::mt19937& random, std::size_t length,
                          const std::u16string& likelyUnits);

/// Bytes of all kinds: valid text in the code page, spoiled, or anything.
std::string randomBytes(std::mt19937& random, std::size_t length, const IcuReference& codePage,
                        const std::u16string& likelyUnits);

/// Units that one and two bytes stand for, at random.
std::u16string unitsOf(std::mt19937& random, const IcuReference& codePage);

}  // namespace nx::oss::test
