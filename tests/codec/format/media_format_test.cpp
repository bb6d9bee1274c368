// SPDX-License-Identifier: MIT
#include "codec/format/media_format.h"

#include <gtest/gtest.h>

#include "tests/support/log_capture.h"

namespace codec {
namespace {

TEST(MediaFormat, ReturnsWhatWasStored) {
  MediaFormat format;
  format.SetInt32("width", 1920);
  int width = 0;
  EXPECT_EQ(format.GetInt32("width", width), 0);
  EXPECT_EQ(width, 1920);
}

TEST(MediaFormat, LeavesTheOutputAloneWhenAKeyIsAbsent) {
  const MediaFormat format;
  int number = 7;
  double real = 2.5;
  std::string text = "kept";
  EXPECT_EQ(format.GetInt32("width", number), -1);
  EXPECT_EQ(format.GetDouble("speed", real), -1);
  EXPECT_EQ(format.GetString("preset", text), -1);
  EXPECT_EQ(number, 7);
  EXPECT_EQ(real, 2.5);
  EXPECT_EQ(text, "kept");
}

TEST(MediaFormat, KeepsOneValuePerKeyWhateverSetterWroteIt) {
  MediaFormat format;
  format.SetInt32("gop", 30);
  format.SetString("gop", "x");
  ASSERT_EQ(format.Entries().size(), 1U);
  EXPECT_EQ(format.Entries().at("gop"), "x");
  int gop = 5;
  EXPECT_EQ(format.GetInt32("gop", gop), 0);
  EXPECT_EQ(gop, 0);
}

TEST(MediaFormat, StoresSixSignificantDigits) {
  MediaFormat format;
  format.SetDouble("frame-rate", 29.970029);
  EXPECT_EQ(format.Entries().at("frame-rate"), "29.97");
  format.SetDouble("frame-rate", 30);
  EXPECT_EQ(format.Entries().at("frame-rate"), "30");
  format.SetDouble("frame-rate", 1e6);
  EXPECT_EQ(format.Entries().at("frame-rate"), "1e+06");
}

TEST(MediaFormat, ReadsTheLeadingNumber) {
  MediaFormat format;
  format.SetString("a", "  12abc");
  format.SetString("b", "1.5x");
  int number = 0;
  double real = 0;
  EXPECT_EQ(format.GetInt32("a", number), 0);
  EXPECT_EQ(number, 12);
  EXPECT_EQ(format.GetDouble("b", real), 0);
  EXPECT_EQ(real, 1.5);
}

TEST(MediaFormat, KeepsValuesAsWritten) {
  MediaFormat format;
  format.SetString("output-path", "  A b/C.MP4 ");
  std::string text;
  EXPECT_EQ(format.GetString("output-path", text), 0);
  EXPECT_EQ(text, "  A b/C.MP4 ");
  format.SetInt32("x", -1);
  EXPECT_EQ(format.GetString("x", text), 0);
  EXPECT_EQ(text, "-1");
}

TEST(MediaFormat, DumpsAnEmptyBagAsTheClosingLine) {
  const test_support::LogCapture log;
  MediaFormat().Dump();
  ASSERT_EQ(log.Lines().size(), 1U);
  EXPECT_EQ(log.Lines()[0],
            (test_support::LogLine{kLogDebug, "codec::MediaFormat", std::string(26, '-')}));
}

TEST(MediaFormat, DumpsInKeyOrder) {
  MediaFormat format;
  format.SetString("b", "2");
  format.SetString("a", "1");
  format.SetString("ab", "3");
  const test_support::LogCapture log;
  format.Dump();
  EXPECT_EQ(log.Texts("codec::MediaFormat"),
            (std::vector<std::string>{"a===>1", "ab===>3", "b===>2", std::string(26, '-')}));
}

TEST(MediaFormat, CopiesShareNothing) {
  MediaFormat source;
  source.SetInt32("width", 1);
  MediaFormat copy = source;
  copy.SetInt32("width", 2);
  copy.SetInt32("height", 3);
  EXPECT_EQ(source.Entries().at("width"), "1");
  EXPECT_EQ(source.Entries().size(), 1U);
}

}  // namespace
}  // namespace codec
