// SPDX-License-Identifier: MIT
#include "reverse/mirror_description.h"

#include <gtest/gtest.h>

#include <string>

#include "codec/utils/orientation.h"
#include "tests/support/log_capture.h"

namespace codec {
namespace {

// EXIF's numbers.
constexpr int kMirroredPictures = 2;
constexpr int kQuarterTurn = 6;

std::string TextOf(const MediaFormat& format, const char* key) {
  std::string text;
  format.GetString(key, text);
  return text;
}

MediaFormat Oriented(int orientation, const char* path) {
  MediaInfo info;
  info.orientation = orientation;
  info.sample_aspect_num = 4;
  info.sample_aspect_den = 3;
  MediaFormat format;
  format.SetString("output-path", path);
  DescribeOrientation(info, &format);
  return format;
}

TEST(MirrorDescription, LeavesTheTurnToPlayersIfTheContainerCan) {
  EXPECT_EQ(TextOf(Oriented(kUpright, "a.mp4"), "rotate"), "");
  const MediaFormat told = Oriented(kQuarterTurn, "a.mp4");
  EXPECT_EQ(TextOf(told, "rotate"), std::to_string(TurnOf(kQuarterTurn)));
  EXPECT_EQ(TextOf(told, "orientation"), "");
}

TEST(MirrorDescription, HasOtherPicturesBroughtUpright) {
  const MediaFormat turned = Oriented(kQuarterTurn, "a.avi");
  EXPECT_EQ(TextOf(turned, "rotate"), "0");
  EXPECT_EQ(TextOf(turned, "orientation"), std::to_string(kQuarterTurn));
  EXPECT_EQ(TextOf(turned, "sample_aspect_num"), "3");
  EXPECT_EQ(TextOf(turned, "sample_aspect_den"), "4");
  const MediaFormat mirrored = Oriented(kMirroredPictures, "a.mp4");
  EXPECT_EQ(TextOf(mirrored, "orientation"), std::to_string(kMirroredPictures));
  EXPECT_EQ(TextOf(mirrored, "sample_aspect_num"), "");
}

TEST(MirrorDescription, ShowsTheOtherFieldFirst) {
  const test_support::LogCapture log;
  const auto described = [](FieldOrder order) {
    MediaInfo info;
    info.field_order = order;
    MediaFormat format;
    DescribeFields(info, &format);
    return TextOf(format, "field-order");
  };
  EXPECT_EQ(described(FieldOrder::kTopFirst), "bb");
  EXPECT_EQ(described(FieldOrder::kBottomFirst), "tt");
  EXPECT_EQ(described(FieldOrder::kProgressive), "");
  EXPECT_EQ(log.CountContaining(kLogWarn, "codec::Reverse", "single fields"), 0);
  EXPECT_EQ(described(FieldOrder::kSingle), "");
  EXPECT_EQ(log.CountContaining(kLogWarn, "codec::Reverse", "single fields"), 1);
}

TEST(MirrorDescription, NamesTagsLanguagesAndChapters) {
  ClipTags tags;
  tags.tags = {{"title", "Waves"}};
  tags.soundLanguage = "eng";
  MediaFormat format;
  DescribeTags(tags, {}, &format);
  EXPECT_EQ(TextOf(format, "tag.title"), "Waves");
  EXPECT_EQ(TextOf(format, "audio-language"), "eng");
  EXPECT_EQ(format.Entries().size(), 2U);
  Chapter chapter;
  chapter.start = 1;
  chapter.end = 2;
  chapter.title = "One";
  DescribeTags(tags, {chapter, chapter}, &format);
  const std::string chapters = TextOf(format, "chapters");
  const std::string half = chapters.substr(0, chapters.size() / 2);
  EXPECT_EQ(chapters, half + half);
  EXPECT_NE(half.find("1000 2000 One"), std::string::npos) << chapters;
}

}  // namespace
}  // namespace codec
