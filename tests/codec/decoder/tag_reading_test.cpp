// SPDX-License-Identifier: MIT
#include "codec/decoder/tag_reading.h"

#include <gtest/gtest.h>

namespace codec {
namespace {

std::string Text(const std::vector<Chapter>& chapters) {
  std::string text;
  for (const Chapter& chapter : chapters) {
    text += chapter.title + " " + std::to_string(chapter.start).substr(0, 4) + "-" +
            std::to_string(chapter.end).substr(0, 4) + ", ";
  }
  return text;
}

const std::vector<Chapter> kChapters = {{10, 12, "a"}, {12, 15, "b"}, {15, 20, "c"}};

TEST(MirroredChapters, BeginAsFarFromTheStartAsTheyEndedFromTheEnd) {
  EXPECT_EQ(Text(MirroredChapters(kChapters, 10, 0, 10)),
            "c 0.00-5.00, b 5.00-8.00, a 8.00-10.0, ");
}

TEST(MirroredChapters, AreCutToTheRange) {
  EXPECT_EQ(Text(MirroredChapters(kChapters, 10, 1, 4)), "b 0.00-2.00, a 2.00-3.00, ");
  EXPECT_EQ(Text(MirroredChapters(kChapters, 10, 2, 5)), "b 0.00-3.00, ");
  EXPECT_EQ(Text(MirroredChapters(kChapters, 10, 20, 30)), "");
}

TEST(MirroredChapters, KeepWhatOverlaps) {
  EXPECT_EQ(Text(MirroredChapters({{0, 4, "a"}, {1, 2, "b"}}, 0, 0, 4)),
            "a 0.00-4.00, b 2.00-3.00, ");
}

}  // namespace
}  // namespace codec
