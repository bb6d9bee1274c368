// SPDX-License-Identifier: MIT
#include "codec/decoder/part_scan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "codec/decoder/stream_facts.h"
#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/joined_clips.h"
#include "tests/support/media_reading.h"

namespace codec {
namespace {

using test_support::JoinedClip;
using test_support::JoinedCoding;
using test_support::JoinRecordings;

bool MayRestartIn(const std::string& path) {
  InputFile input;
  EXPECT_EQ(input.Open(path), 0);
  return MayRestart(input.Context());
}

TEST(PartScan, LooksAtRecordingsOnly) {
  EXPECT_TRUE(MayRestartIn(Clip(test_support::ClipKind::kTransport)));
  EXPECT_FALSE(MayRestartIn(Clip(test_support::ClipKind::kH264Short)));
  EXPECT_FALSE(MayRestartIn(Clip(test_support::ClipKind::kVp9)));
}

TEST(PartScan, FindsNoPartsInOneRecordingButItsEnd) {
  PartScan scan(0, 1);
  ASSERT_EQ(scan.Run(Clip(test_support::ClipKind::kTransport), false), 0);
  EXPECT_EQ(scan.Parts(), nullptr);
  EXPECT_FALSE(scan.Obstacle().has_value());
  const std::optional<ScannedLength> length = scan.Length();
  ASSERT_TRUE(length.has_value());
  // Six seconds from about eleven.
  EXPECT_NEAR(length->end, 17.5, 0.2);
  const std::vector<double> times =
      test_support::VideoTimes(Clip(test_support::ClipKind::kTransport));
  EXPECT_NEAR(length->picture, *std::max_element(times.begin(), times.end()), 0.001);
  EXPECT_FALSE(length->lacksTimes);
}

TEST(PartScan, FindsTheBordersToTheByte) {
  for (const JoinedCoding coding :
       {JoinedCoding::kVob, JoinedCoding::kMpeg2, JoinedCoding::kH264}) {
    const JoinedClip clip = JoinRecordings("scan" + std::to_string(static_cast<int>(coding)),
                                           coding, {{0, 50, 0}, {50, 50, 0}, {100, 50, 99}});
    PartScan scan(0, 1);
    ASSERT_EQ(scan.Run(clip.path, false), 0);
    const std::shared_ptr<const JoinedParts> parts = scan.Parts();
    ASSERT_NE(parts, nullptr);
    ASSERT_EQ(parts->Count(), 3U);
    int64_t border = 0;
    for (size_t i = 1; i < 3; ++i) {
      border += static_cast<int64_t>(std::filesystem::file_size(clip.parts[i - 1]));
      // Headers lie before the first packet.
      EXPECT_GE(parts->Parts()[i].position, border);
      EXPECT_LT(parts->Parts()[i].position, border + 4096);
    }
  }
}

TEST(PartScan, EndsAtTheFirstRestartIfThereIsToBeNone) {
  const JoinedClip clip =
      JoinRecordings("scan_refused", JoinedCoding::kH264, {{0, 50, 0}, {50, 50, 0}, {0, 50, 0}});
  PartScan scan(0, 1);
  ASSERT_EQ(scan.Run(clip.path, true), 0);
  EXPECT_EQ(scan.Parts(), nullptr);
  ASSERT_TRUE(scan.Obstacle().has_value());
  EXPECT_EQ(scan.Obstacle()->what, "its clock restarts");
  EXPECT_TRUE(scan.Obstacle()->isRestart);
  EXPECT_NEAR(scan.Obstacle()->seconds, 2, 0.1);
}

TEST(PartScan, RefusesStreamsOfAnotherNumber) {
  const JoinedClip clip = JoinRecordings("scan_numbers", JoinedCoding::kMpeg2,
                                         {{0, 50, 0}, {50, 50, 0, "-mpegts_start_pid 0x300"}});
  PartScan scan(0, 1);
  ASSERT_EQ(scan.Run(clip.path, false), 0);
  EXPECT_EQ(scan.Parts(), nullptr);
  ASSERT_TRUE(scan.Obstacle().has_value());
  EXPECT_NE(scan.Obstacle()->what.find("its video goes on in another stream"), std::string::npos);
  EXPECT_GE(scan.Obstacle()->position,
            static_cast<int64_t>(std::filesystem::file_size(clip.parts[0])));
  EXPECT_NEAR(scan.Obstacle()->seconds, 2, 0.1);
  // A program may choose the second one.
  PartScan other(2, 3);
  ASSERT_EQ(other.Run(clip.path, false), 0);
  ASSERT_TRUE(other.Obstacle().has_value());
  EXPECT_NE(other.Obstacle()->what.find("its video begins in another stream"), std::string::npos);
}

TEST(PartScan, RefusesOggOfSeveralStreamsThatIsChained) {
  const auto make = [](const std::string& name, const std::string& picture) {
    std::vector<std::string> words;
    test_support::AppendWords(
        "-f lavfi -i " + picture + " -f lavfi -i sine=440 -c:v libtheora -c:a libvorbis -ac 2 -t 3",
        &words);
    return test_support::CustomClip(name, words);
  };
  const std::string first = make("chain_a.ogv", "testsrc2=size=320x180");
  const std::string path = test_support::JoinFiles(
      "chain.ogv", {first, make("chain_b.ogv", "testsrc2=size=160x96:rate=30")});
  PartScan scan(0, 1);
  ASSERT_EQ(scan.Run(path, false), 0);
  ASSERT_TRUE(scan.Obstacle().has_value());
  EXPECT_EQ(scan.Obstacle()->what, "FFmpeg cannot go on");
  EXPECT_NEAR(scan.Obstacle()->seconds, 3, 0.1);
  EXPECT_FALSE(scan.Obstacle()->isRestart);
}

TEST(PartScan, FailsWhereTheFileCannotBeOpened) {
  PartScan scan(0, 1);
  EXPECT_EQ(scan.Run("no such file.ts", false), -1);
}

}  // namespace
}  // namespace codec
