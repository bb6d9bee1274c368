// SPDX-License-Identifier: MIT
// The sound of a file of several parts, read backwards.
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "codec/decoder/part_scan.h"
#include "codec/decoder/sound_walk.h"
#include "tests/codec/decoder/linear_sound.h"
#include "tests/support/joined_clips.h"

namespace codec {
namespace {

using test_support::JoinedClip;
using test_support::JoinedCoding;

constexpr double kFloor = -60;  // dB

class JoinedSoundTest : public testing::TestWithParam<JoinedCoding> {};

// Each block of each part, decoded alone, is met by the walk at its place on the line. The first
// blocks of a part are left out: the decoder is still ringing with the part before.
TEST_P(JoinedSoundTest, IsThatOfThePartsDecodedAlone) {
  constexpr size_t kRinging = 3;
  const std::string name = "sound" + std::to_string(static_cast<int>(GetParam()));
  const JoinedClip clip =
      test_support::JoinRecordings(name, GetParam(), {{0, 60, 4000}, {60, 60, 0}, {120, 60, 0}});
  PartScan scan(0, 1);
  ASSERT_EQ(scan.Run(clip.path, false), 0);
  const std::shared_ptr<const JoinedParts> parts = scan.Parts();
  ASSERT_NE(parts, nullptr);
  ASSERT_EQ(parts->Count(), clip.parts.size());
  SoundWalk walk;
  ASSERT_EQ(walk.Open(clip.path, 1, parts), 0);
  SoundStretch stretch;
  for (size_t part = parts->Count(); part-- > 0;) {
    const LinearSound linear = DecodeLinearly(clip.parts[part]);
    PartScan alone(0, 1);
    ASSERT_EQ(alone.Run(clip.parts[part], false), 0);
    const JoinedParts::Part& laid = parts->Parts()[part];
    const double shift = static_cast<double>(laid.end + laid.shift) / 1e6 - alone.Length()->end;
    for (size_t i = linear.blocks.size(); i-- > kRinging;) {
      const LinearBlock& wanted = linear.blocks[i];
      const double time = wanted.time + shift;
      ASSERT_EQ(walk.Read(time + 0.001, time + 0.002, &stretch), 0);
      const StretchBlock* met = nullptr;
      for (const StretchBlock& block : stretch.blocks) {
        if (std::abs(block.time - time) < 1e-4) met = &block;
      }
      ASSERT_NE(met, nullptr) << part << ' ' << i;
      ASSERT_EQ(met->samples, wanted.samples);
      EXPECT_LT(
          LargestDifference(stretch.Of(*met), &linear.samples[wanted.offset], met->samples, 1024),
          kFloor)
          << part << ' ' << i;
    }
  }
  EXPECT_EQ(walk.Opens(), 1);
}

INSTANTIATE_TEST_SUITE_P(Codings, JoinedSoundTest,
                         testing::Values(JoinedCoding::kVob, JoinedCoding::kMpeg2,
                                         JoinedCoding::kH264));

}  // namespace
}  // namespace codec
