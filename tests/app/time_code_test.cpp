// SPDX-License-Identifier: MIT
#include "app/time_code.h"

#include <gtest/gtest.h>

namespace app {
namespace {

TEST(TimeCode, ReadsMinutesAndHours) {
  const std::vector<std::pair<const char*, double>> rows = {
      {"1:30", 90},           {"0:02", 2},       {"0:5", 5},
      {"00:01:30.5", 90.5},   {"1:00:00", 3600}, {"100:00", 6000},
      {"100:59:59", 363599},  {"0:05.25", 5.25}, {"-0:30", -30},
      {"-1:00:00.5", -3600.5}};
  for (const auto& [text, seconds] : rows) {
    const std::optional<double> read = ParseTimeCode(text);
    ASSERT_TRUE(read.has_value()) << text;
    EXPECT_DOUBLE_EQ(*read, seconds) << text;
  }
}

TEST(TimeCode, RefusesEverythingElse) {
  for (const char* text :
       {"",       "90",     "1.5",     ":",       "1:",    ":30",   "1:60",  "1:75",
        "1:2:",   "1::2",   "1:60:00", "1:2:3:4", "1:300", "1:30x", "x1:30", "1:30.",
        "1:30.x", "1.5:30", "--1:30",  "+1:30",   "1: 30", "1:-30", "abc",   "1:3e1"}) {
    EXPECT_FALSE(ParseTimeCode(text).has_value()) << text;
  }
}

}  // namespace
}  // namespace app
