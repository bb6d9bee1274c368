// SPDX-License-Identifier: MIT
#include "base/plain_number.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <array>
#include <clocale>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <locale>

#include "app/byte_size.h"
#include "codec/format/media_format.h"
#include "tests/support/command.h"

namespace but {
namespace {

using test_support::ScratchPath;

TEST(PlainNumber, ReadsTheNumberThatATextBeginsWith) {
  EXPECT_EQ(ReadPlainNumber("29.97"), 29.97);
  EXPECT_EQ(ReadPlainNumber("  -1.5e2x"), -150);
  EXPECT_EQ(ReadPlainNumber("1,5"), 1);
  EXPECT_EQ(ReadPlainNumber("x"), 0);
  EXPECT_EQ(ReadPlainNumber(""), 0);
  char* rest = nullptr;
  EXPECT_EQ(ReadPlainNumber("90deg", &rest), 90);
  EXPECT_STREQ(rest, "deg");
}

TEST(PlainNumber, WritesWhatIsReadAsTheSame) {
  for (const double number : {0.0, 2.5, 0.1, 29.970029970029969, 359999.123456789, -1e-9,
                              std::numeric_limits<double>::max()}) {
    EXPECT_EQ(ReadPlainNumber(PlainNumberText(number).c_str()), number);
  }
  EXPECT_EQ(PlainNumberText(2.5), "2.5");
}

// A locale that writes 1,5, as a program that shows windows may set it for the whole process.
class PlainNumberInALocale : public testing::Test {
 protected:
  void SetUp() override {
    const std::string folder = ScratchPath("locales");
    std::filesystem::create_directories(folder);
    test_support::Run({"localedef", "-c", "-i", "de_DE", "-f", "UTF-8", folder + "/de_DE.UTF-8"});
    setenv("LOCPATH", folder.c_str(), 1);
    if (std::setlocale(LC_NUMERIC, "de_DE.UTF-8") == nullptr) {
      GTEST_SKIP() << "the host cannot make this locale";
    }
    std::array<char, 8> text{};
    std::snprintf(text.data(), text.size(), "%.1f", 1.5);
    ASSERT_STREQ(text.data(), "1,5");
    std::locale::global(std::locale("de_DE.UTF-8"));
  }
  void TearDown() override {
    std::locale::global(std::locale::classic());
    std::setlocale(LC_NUMERIC, "C");
    unsetenv("LOCPATH");
  }
};

TEST_F(PlainNumberInALocale, KeepsThePoint) {
  EXPECT_EQ(PlainNumberText(1234.5), "1234.5");
  EXPECT_EQ(ReadPlainNumber("1234.5"), 1234.5);
}

TEST_F(PlainNumberInALocale, IsWhatABagOfSettingsHolds) {
  codec::MediaFormat format;
  format.SetDouble("frame-rate", 29.97);
  double rate = 0;
  EXPECT_EQ(format.GetDouble("frame-rate", rate), 0);
  EXPECT_EQ(rate, 29.97);
}

// Programs of C give sizes as texts.
TEST_F(PlainNumberInALocale, IsWhatASizeIsGivenAs) { EXPECT_EQ(app::ParseByteSize("1.5K"), 1536); }

}  // namespace
}  // namespace but
