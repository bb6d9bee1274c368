// SPDX-License-Identifier: MIT
#include "app/byte_size.h"

#include <gtest/gtest.h>

namespace app {
namespace {

constexpr int64_t kMegabyte = int64_t{1} << 20;

TEST(ByteSize, ReadsNumbersAndUnits) {
  EXPECT_EQ(ParseByteSize("1"), 1);
  EXPECT_EQ(ParseByteSize("314572800"), 300 * kMegabyte);
  EXPECT_EQ(ParseByteSize("2k"), 2048);
  EXPECT_EQ(ParseByteSize("300M"), 300 * kMegabyte);
  EXPECT_EQ(ParseByteSize("300m"), 300 * kMegabyte);
  EXPECT_EQ(ParseByteSize("300MB"), 300 * kMegabyte);
  EXPECT_EQ(ParseByteSize("300MiB"), 300 * kMegabyte);
  EXPECT_EQ(ParseByteSize("1.5G"), 1536 * kMegabyte);
  EXPECT_EQ(ParseByteSize(".5g"), 512 * kMegabyte);
  EXPECT_EQ(ParseByteSize("2.T"), 2048 * 1024 * kMegabyte);
  EXPECT_EQ(ParseByteSize("8B"), 8);
  EXPECT_EQ(ParseByteSize("8000000T"), int64_t{8000000} << 40);
}

TEST(ByteSize, RefusesEverythingElse) {
  for (const char* text : {"",         " ",
                           ".",        "M",
                           "0",        "0G",
                           "0.1",      "-1",
                           "+1",       "-300M",
                           "1e9",      "0x10",
                           "inf",      "nan",
                           "300 M",    " 300M",
                           "300M ",    "1.2.3",
                           "1..2M",    "300Q",
                           "300MBB",   "300iB",
                           "300Mi",    "300M1",
                           "9000000T", "99999999999999999999",
                           "-v",       "half"}) {
    EXPECT_EQ(ParseByteSize(text), -1) << text;
  }
}

}  // namespace
}  // namespace app
