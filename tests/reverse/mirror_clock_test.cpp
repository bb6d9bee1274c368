// SPDX-License-Identifier: MIT
// Sound whose stamps and samples do not agree: each sample is at most 40 ms from the time that its
// stamp gives to it, whatever a walk makes of the rest.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tests/codec/decoder/linear_sound.h"
#include "tests/reverse/mirror_job.h"
#include "tests/support/clips.h"
#include "tests/support/command.h"

namespace codec {
namespace {

struct ClockClip {
  const char* name;
  const char* stamps;  // what ffmpeg makes of those of the sound
  double end;          // seconds, of the sound
};

constexpr ClockClip kClips[] = {
    {"slow", "PTS*1.001", 60},
    {"fast", "PTS*0.99", 59},
    {"overlapping", "PTS*0.9", 54},
    {"holes", "PTS*1.1", 64},
};

// Noise, of which no piece is like another.
std::string PathOf(const ClockClip& clip) {
  std::vector<std::string> words = {"-f", "lavfi", "-i", test_support::SceneFilter(64, 48, "10"),
                                    "-f", "lavfi", "-i", "anoisesrc=r=16000:a=0.3:seed=7:d=60"};
  test_support::AppendWords(std::string("-t 66 -c:v libx264 -preset ultrafast -g 50 -af asetpts=") +
                                clip.stamps + " -c:a pcm_s16le",
                            &words);
  return test_support::CustomClip(std::string("mirror_clock_") + clip.name + ".mkv", words);
}

// Whether the samples that are written from here on are those of the block, from this one back.
bool IsHere(const float* written, const LinearSound& sound, const LinearBlock& block, int last) {
  constexpr int kSamples = 12;
  if (last < kSamples) return false;
  const float* const samples = sound.samples.data() + block.offset;
  for (int i = 0; i < kSamples; ++i) {
    if (written[2 * i] != samples[2 * (last - i)]) return false;
  }
  return true;
}

// How far, in seconds, the written samples are from the time of their stamp, if they are of a block
// within a tenth of a second.
std::optional<double> Distance(const float* written, const LinearSound& sound, double time) {
  for (const LinearBlock& block : sound.blocks) {
    if (block.time > time + 0.1 || block.time + block.length < time - 0.1) continue;
    for (int last = 0; last < block.samples; ++last) {
      if (!IsHere(written, sound, block, last)) continue;
      return block.time + static_cast<double>(last) / sound.sampleRate - time;
    }
  }
  return std::nullopt;
}

TEST(MirrorClock, KeepsEachSampleNearItsStamp) {
  for (const ClockClip& clip : kClips) {
    const std::string path = PathOf(clip);
    const LinearSound sound = DecodeLinearly(path);
    for (const auto& [start, end] : {std::pair(0.0, clip.end), std::pair(20.3, 41.7)}) {
      const MirrorRecord record = Mirror(path, start, end);
      const auto count = static_cast<int>(record.samples.size() / 2);
      ASSERT_NEAR(count, (end - start) * sound.sampleRate, 1) << clip.name;
      int found = 0;
      int looked = 0;
      double farthest = 0;
      constexpr int kEvery = 509;
      for (int i = 0; i + kEvery < count; i += kEvery, ++looked) {
        const double time = end - static_cast<double>(i + 1) / sound.sampleRate;
        const std::optional<double> distance =
            Distance(record.samples.data() + 2 * static_cast<size_t>(i), sound, time);
        if (!distance.has_value()) continue;
        ++found;
        farthest = std::max(farthest, std::abs(*distance));
      }
      // The stamps are rounded to a millisecond.
      EXPECT_LE(farthest, 0.0411) << clip.name << " from " << start;
      // The others are silence, or look at a seam.
      EXPECT_GE(found, looked * 8 / 10) << clip.name << " from " << start << " of " << looked;
    }
  }
}

}  // namespace
}  // namespace codec
