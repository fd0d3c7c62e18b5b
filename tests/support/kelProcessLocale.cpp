// Part of every test program that also runs in other process locales: KELINFRA_LOCALE names the one
// to switch to, KELINFRA_DECIMAL_POINT what it must bring. No test runs when the switch fails.

#include <langinfo.h>

#include <clocale>
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

namespace nx::test {
namespace {

class ProcessLocale : public testing::Environment {
  public:
    void SetUp() override {
        if (const char* const wanted = std::getenv("KELINFRA_LOCALE")) {
            ASSERT_NE(std::setlocale(LC_ALL, wanted), nullptr)
                << "there is no locale " << wanted << " in " << std::getenv("LOCPATH");
            ASSERT_STREQ(std::localeconv()->decimal_point, std::getenv("KELINFRA_DECIMAL_POINT"));
        }
        name_ = std::setlocale(LC_ALL, nullptr);
    }
    void TearDown() override {
        EXPECT_EQ(name_, std::setlocale(LC_ALL, nullptr)) << "the tests changed the locale";
    }

  private:
    std::string name_;
};

const testing::Environment* const PROCESS_LOCALE =
    testing::AddGlobalTestEnvironment(new ProcessLocale);

}  // namespace
}  // namespace nx::test
