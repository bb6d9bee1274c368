// SPDX-License-Identifier: MIT
// What a mirrored job hands to its writer, against ffmpeg's own decode of the whole source.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>
#include <string>
#include <vector>

#include "tests/codec/decoder/linear_sound.h"
#include "tests/codec/decoder/sound_clips.h"
#include "tests/reverse/mirror_job.h"
#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/media_reading.h"
#include "tests/support/same_items.h"

namespace codec {
namespace {

using test_support::Clip;
using test_support::ClipKind;
using test_support::CustomClip;

// A clip's stamps as seconds from the zero of the mirror.
double Zero(const std::vector<double>& pictures, const LinearSound& sound) {
  constexpr double kEarly = 0.1;
  const double first = pictures.front();
  if (sound.blocks.empty()) return first;
  return sound.blocks.front().time < first - kEarly ? sound.blocks.front().time : first;
}

// What is at most left out at the end of a clip: what containers round its length up by.
constexpr double kRounding = 0.0015;

bool TellsLength(const std::string& path) {
  const std::string length = test_support::ContainerFields(path)["duration"];
  return !length.empty() && length != "N/A";
}

struct Range {
  double start;
  double end;
};
// One of them is a picture long, one is silent in clips whose sound is late or has a hole.
constexpr Range kRanges[] = {{0, 0}, {2, 5}, {1.3, 4.7}, {3.08, 3.12}, {2.2, 3.2}};

// The linear decode on the time line: silence where nothing sounds, blocks within 40 ms of where
// the one before them ends are contiguous.
std::vector<float> LaidOut(const LinearSound& sound, double zero, double start, double end) {
  const int rate = sound.sampleRate;
  const auto first = static_cast<int64_t>(std::ceil((start - 1e-6) * rate));
  const auto last = static_cast<int64_t>(std::ceil((end - 1e-6) * rate));
  std::vector<float> line(static_cast<size_t>(last - first) * 2);
  int64_t place = std::numeric_limits<int64_t>::min() / 2;
  for (const LinearBlock& block : sound.blocks) {
    const auto stamp = static_cast<int64_t>(std::llround((block.time - zero) * rate));
    if (std::abs(stamp - place) > rate / 25) place = stamp;
    for (int i = 0; i < block.samples; ++i, ++place) {
      if (place < first || place >= last) continue;
      const float* const sample = sound.samples.data() + block.offset + 2 * static_cast<size_t>(i);
      std::copy_n(sample, 2, line.begin() + 2 * (place - first));
    }
  }
  return line;
}

std::vector<float> Backward(const std::vector<float>& samples) {
  std::vector<float> backward;
  backward.reserve(samples.size());
  for (size_t i = samples.size(); i > 0; i -= 2) {
    backward.insert(backward.end(), samples.begin() + static_cast<std::ptrdiff_t>(i) - 2,
                    samples.begin() + static_cast<std::ptrdiff_t>(i));
  }
  return backward;
}

// The power in dB of what is left of a window after the best shift of at most `lag` samples.
double BestDifference(const std::vector<float>& expected, const std::vector<float>& written,
                      size_t at, size_t window, int lag) {
  double best = 0;
  for (int shift = -lag; shift <= lag; ++shift) {
    const int64_t from = static_cast<int64_t>(at) + shift;
    if (from < 0 ||
        from + static_cast<int64_t>(window) > static_cast<int64_t>(written.size() / 2)) {
      continue;
    }
    const double difference = LargestDifference(expected.data() + 2 * at, written.data() + 2 * from,
                                                static_cast<int>(window), static_cast<int>(window));
    best = std::min(best, difference);
    if (best < -60) break;
  }
  return best;
}

class MirrorSound : public testing::TestWithParam<SoundClip> {};

TEST_P(MirrorSound, IsOneLinearDecodeBackward) {
  const std::string path = PathOf(GetParam());
  const LinearSound sound = DecodeLinearly(path, Mix::kNormalized);
  const double zero = Zero(test_support::VideoTimes(path), sound);
  // A container that rounds stamps may move all of a stretch by a millisecond.
  const int lag = sound.sampleRate / 1000 + 1;
  for (const Range& range : kRanges) {
    // What the length of a file is that does not tell it, is not a matter of its sound.
    if (range.end <= 0 && !TellsLength(path)) continue;
    const double end = range.end > 0 ? range.end : test_support::EndTime(path) - zero;
    std::vector<float> expected = Backward(LaidOut(sound, zero, range.start, end));
    const MirrorRecord record = Mirror(path, range.start, range.end);
    if (range.end <= 0 && record.samples.size() < expected.size()) {
      const size_t left = expected.size() - record.samples.size();
      ASSERT_LE(static_cast<double>(left) / 2 / sound.sampleRate, kRounding);
      expected.erase(expected.begin(), expected.begin() + static_cast<std::ptrdiff_t>(left));
    }
    ASSERT_EQ(record.samples.size(), expected.size()) << range.start << " " << range.end;
    const size_t window = std::min<size_t>(1024, expected.size() / 2 / 4);
    int wrong = 0;
    int windows = 0;
    for (size_t at = 0; at + window <= expected.size() / 2; at += window) {
      ++windows;
      wrong += BestDifference(expected, record.samples, at, window, lag) > -60 ? 1 : 0;
    }
    // The windows at both ends of a hole and of the range may hold a millisecond of it.
    const int ends = windows > 4 ? 4 : 2;
    EXPECT_LE(wrong, ends) << "of " << windows << ", " << range.start << " to " << range.end;
  }
}

// If a block is lost to damage, a forward and a backward walk put its neighbours together on
// different sides.
std::vector<SoundClip> IntactClips() {
  std::vector<SoundClip> clips;
  for (const SoundClip& clip : SoundClips()) {
    if (std::string(clip.name).find("damaged") == std::string::npos) clips.push_back(clip);
  }
  return clips;
}

INSTANTIATE_TEST_SUITE_P(Clips, MirrorSound, testing::ValuesIn(IntactClips()),
                         [](const auto& tested) { return TestNameOf(tested.param.name); });

// After two seconds the clock jumps by this many minutes.
std::string ClockJump(int minutes) {
  const std::string later = "PTS+if(gte(T\\,2)\\," + std::to_string(minutes * 60) + "\\,0)/TB";
  std::vector<std::string> words = {
      "-t", "4", "-f", "lavfi", "-i", test_support::SceneFilter(64, 48, "25"),
      "-t", "4", "-f", "lavfi", "-i", test_support::SweepFilter(8000, "stereo")};
  test_support::AppendWords(test_support::FrameTimingOption() + " passthrough -vf setpts=" + later +
                                " -af asetpts=" + later +
                                " -c:v libx264 -g 25 -bf 0 -c:a pcm_f32le",
                            &words);
  return CustomClip("mirror_jump_" + std::to_string(minutes) + ".mkv", words);
}

// The samples of clips whose stamps are exact are equal, each in its place.
TEST(MirrorLossless, GivesEachSampleInItsPlace) {
  for (const char* const sound : {"pcm_s16le", "pcm_s24le", "pcm_f32le", "alac", "adpcm_ms"}) {
    const std::string path =
        CustomClip(std::string("mirror_") + sound + ".mov",
                   {"-f", "lavfi", "-i", test_support::SceneFilter(160, 120, "25"), "-f", "lavfi",
                    "-i", test_support::SweepFilter(44100, "stereo"), "-t", "6", "-c:v", "libx264",
                    "-g", "25", "-c:a", sound});
    const LinearSound linear = DecodeLinearly(path, Mix::kNormalized);
    for (const Range& range : kRanges) {
      const double end = range.end > 0 ? range.end : test_support::EndTime(path);
      const MirrorRecord record = Mirror(path, range.start, range.end);
      EXPECT_TRUE(
          test_support::SameItems(record.samples, Backward(LaidOut(linear, 0, range.start, end))))
          << sound << " " << range.start << " to " << range.end;
    }
  }
}

// A pause of minutes, in a file that has next to no bytes for its length.
TEST(MirrorLossless, IsSilentForMinutes) {
  const std::string path = CustomClip(
      "mirror_ten_minutes.mkv",
      {"-f", "lavfi", "-i", test_support::SceneFilter(64, 48, "1/20"), "-f", "lavfi", "-i",
       test_support::SweepFilter(8000, "mono") + ",aselect='not(between(t,0.8,599.2))'", "-t",
       "600", "-c:v", "libx264", "-c:a", "flac"});
  EXPECT_LT(std::filesystem::file_size(path), 64 * 600U);
  const MirrorRecord record = Mirror(path, 0, 600);
  ASSERT_TRUE(record.hasSound);
  EXPECT_TRUE(
      test_support::SameItems(record.samples, Backward(LaidOut(DecodeLinearly(path), 0, 0, 600))));
}

// Hours in which the clock jumps are not filled with silence, however many bytes the file has. A
// range that the jump is not in keeps its sound.
TEST(MirrorQuiet, LeavesTheSoundOutIfTheClockJumps) {
  for (const int minutes : {20, 45}) {
    const std::string path = ClockJump(minutes);
    EXPECT_GT(std::filesystem::file_size(path), 64 * 60U * static_cast<unsigned>(minutes));
    const MirrorRecord record = Mirror(path, 0, 0);
    EXPECT_EQ(record.hasSound, minutes == 20) << minutes;
    EXPECT_EQ(record.stamps.size(), 100U);
    const MirrorRecord before = Mirror(path, 0.5, 1.5);
    EXPECT_TRUE(test_support::SameItems(before.samples,
                                        Backward(LaidOut(DecodeLinearly(path), 0, 0.5, 1.5))));
  }
}

struct PictureClip {
  std::string name;
  std::string path;
};

std::vector<PictureClip> PictureClips() {
  std::vector<PictureClip> clips;
  for (const ClipKind kind :
       {ClipKind::kH264, ClipKind::kH264LongGop, ClipKind::kVp9, ClipKind::kMpeg4Avi,
        ClipKind::kTransport, ClipKind::kVariableRate, ClipKind::kNtsc, ClipKind::kSixtyFps}) {
    clips.push_back({test_support::ClipName(kind), Clip(kind)});
  }
  const std::string scene = test_support::SceneFilter(160, 120, "25");
  clips.push_back(
      {"bursts", CustomClip("mirror_bursts.mkv", {"-f", "lavfi", "-i", scene, "-t", "6", "-vf",
                                                  "setpts='if(lt(N,60),N/60,1+(N-60)/10)/TB'",
                                                  test_support::FrameTimingOption(), "passthrough",
                                                  "-c:v", "libx264"})});
  const std::string hours = "mirror_open_hours.ts";
  clips.push_back({"open groups hours from zero",
                   CustomClip(hours, {"-f", "lavfi", "-i", scene, "-t", "6", "-c:v", "libx264",
                                      "-g", "25", "-bf", "3", "-x264-params", "open-gop=1",
                                      "-output_ts_offset", "20000"})});
  clips.push_back(
      {"open groups of HEVC",
       CustomClip("mirror_open_hevc.mkv",
                  {"-f", "lavfi", "-i", scene, "-t", "4", "-c:v", "libx265", "-preset", "ultrafast",
                   "-x265-params", "log-level=error:keyint=25:bframes=3:open-gop=1"})});
  clips.push_back(
      {"slides", CustomClip("mirror_slides.mp4",
                            {"-f", "lavfi", "-i", test_support::SceneFilter(160, 120, "1/3"), "-t",
                             "15", "-c:v", "libx264"})});
  clips.push_back(
      {"pause", CustomClip("mirror_pause.mp4", {"-f", "lavfi", "-i", scene, "-t", "4", "-vf",
                                                "setpts='(N/25+if(gt(N,50),10,0))/TB'",
                                                test_support::FrameTimingOption(), "passthrough",
                                                "-c:v", "libx264", "-bf", "2"})});
  return clips;
}

// On average over the first picture's samples. The loop filter is left out of pictures that no
// other refers to, so they are not quite ffmpeg's; the number in a picture changes whole cells.
double Difference(const std::vector<uint8_t>& corner, const std::vector<uint8_t>& luma) {
  double sum = 0;
  for (size_t i = 0; i < corner.size(); ++i) sum += std::abs(int{corner[i]} - int{luma[i]});
  return sum / static_cast<double>(corner.size());
}

// Each picture of the range once, newest first, and shown for exactly its own time.
TEST(MirrorPictures, AreShownForTheirOwnTimes) {
  for (const PictureClip& clip : PictureClips()) {
    const std::vector<double> times = test_support::VideoTimes(clip.path);
    const std::vector<test_support::Picture> pictures = test_support::DecodeLuma(clip.path);
    ASSERT_EQ(times.size(), pictures.size()) << clip.name;
    const double zero = times.front();
    const double length = test_support::EndTime(clip.path) - zero;
    std::vector<Range> ranges = {{0, 0}, {1, 3}, {1.3, 3.7}};
    // On a picture, between two, and the last one alone.
    ranges.push_back({times[times.size() / 2] - zero, length});
    ranges.push_back({times[times.size() / 2] - zero + 0.001, length});
    ranges.push_back({times.back() - zero, length});
    for (const Range& range : ranges) {
      const double end = range.end > 0 ? std::min(range.end, length) : length;
      std::vector<size_t> order;
      for (size_t i = times.size(); i-- > 0;) {
        const double time = times[i] - zero;
        // Of several pictures of one time the last is shown.
        if (i + 1 < times.size() && times[i + 1] - times[i] < 1e-6) continue;
        if (range.start - 1e-6 <= time && time < end - 1e-6) order.push_back(i);
      }
      if (order.empty()) continue;
      const MirrorRecord record = Mirror(clip.path, range.start, range.end);
      ASSERT_EQ(record.stamps.size(), order.size())
          << clip.name << " " << range.start << " to " << end;
      for (size_t n = 0; n < order.size(); ++n) {
        const double shown = n == 0 ? 0 : end - (times[order[n - 1]] - zero);
        EXPECT_NEAR(static_cast<double>(record.stamps[n]) / 1e6, shown, 1e-3) << clip.name;
        EXPECT_LT(Difference(record.corners[n], pictures[order[n]].luma), 8)
            << clip.name << " picture " << order[n];
      }
    }
  }
}

}  // namespace
}  // namespace codec
