// SPDX-License-Identifier: MIT
// Sound whose rate or channels change in the stream, against ffmpeg's conversion of it.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/joined_clips.h"
#include "tests/support/media_reading.h"
#include "tests/support/player_view.h"

namespace test_support {
namespace {

constexpr int kWidth = kNumberBits * kNumberCell;
constexpr int kHeight = 64;
constexpr int kPartPictures = 32;
constexpr double kPartSeconds = 1.28;

// FFmpeg counts the last packets as if they were as long as the first ones. So it is not sure when
// the file ends.
constexpr double kMiscounted = 0.08;

struct Form {
  int rate;
  const char* layout;
};

struct Changing {
  const char* name;
  const char* coding;
  std::vector<Form> forms;  // of the parts in turn
  const char* once;         // what the first reversal writes

  friend void PrintTo(const Changing& changing, std::ostream* out) { *out << changing.name; }
};

std::vector<Changing> Cases() {
  return {
      {"AacRate", "aac -b:a 192k", {{48000, "stereo"}, {44100, "stereo"}}, ".mp4"},
      {"Ac3Channels",
       "ac3 -b:a 448k",
       {{48000, "mono"}, {48000, "stereo"}, {48000, "5.1"}},
       ".mp4"},
  };
}

// The first and the last moment of the sound, by its packets.
std::array<double, 2> SoundSpan(const std::string& path) {
  std::istringstream lines(
      test_support::Run({"ffprobe", "-v", "error", "-select_streams", "a:0", "-show_entries",
                         "packet=pts_time,duration_time", "-of", "csv=p=0", path})
          .out);
  std::array<double, 2> span = {1e9, 0};
  for (std::string line; std::getline(lines, line);) {
    const size_t comma = line.find(',');
    if (comma == std::string::npos) continue;
    const double begin = std::stod(line);
    span[0] = std::min(span[0], begin);
    span[1] = std::max(span[1], begin + std::stod(line.substr(comma + 1)));
  }
  return span;
}

std::string Part(const Changing& kind, size_t index) {
  const Form& form = kind.forms[index];
  const std::string from = std::to_string(static_cast<double>(index) * kPartSeconds);
  std::vector<std::string> words = {
      "-f",
      "lavfi",
      "-i",
      SceneFilter(kWidth, kHeight, "25") +
          ",trim=start_frame=" + std::to_string(index * kPartPictures) + ",setpts=PTS-STARTPTS",
      "-f",
      "lavfi",
      "-i",
      SweepFilter(form.rate, form.layout) + ",atrim=start=" + from + ",asetpts=PTS-STARTPTS",
      "-t",
      std::to_string(kPartSeconds)};
  AppendWords(
      std::string("-c:v libx264 -preset veryfast -pix_fmt yuv420p -bf 0 -c:a ") + kind.coding,
      &words);
  return CustomClip(std::string("changes_") + kind.name + std::to_string(index) + ".ts", words);
}

// One after another, such that the sound has neither a gap nor an overlap.
std::vector<std::string> Parts(const Changing& kind) {
  std::vector<std::string> parts;
  double end = 0;
  for (size_t i = 0; i < kind.forms.size(); ++i) {
    const std::string part = Part(kind, i);
    const double later = i == 0 ? 0 : end - SoundSpan(part)[0];
    parts.push_back(ScratchPath("changes_" + std::to_string(i) + ".ts"));
    const CommandResult moved = Run({"ffmpeg", "-v", "error", "-y", "-i", part, "-c", "copy",
                                     "-output_ts_offset", std::to_string(later), parts.back()});
    EXPECT_EQ(moved.status, 0) << moved.err;
    end = SoundSpan(parts.back())[1];
  }
  return parts;
}

// Both channels together, from `zero` on. Each part is decoded alone, since ffmpeg loses what its
// converter holds when the rate changes.
std::vector<float> Laid(const std::vector<std::string>& parts, int rate, double zero) {
  std::vector<float> line;
  for (const std::string& part : parts) {
    const std::string converted = ScratchPath("changes_part.wav");
    EXPECT_EQ(test_support::Run({"ffmpeg", "-v", "error", "-y", "-i", part, "-vn", "-ac", "2",
                                 "-ar", std::to_string(rate), "-c:a", "pcm_f32le", converted})
                  .status,
              0);
    const std::vector<float> stereo = DecodeStereo(converted);
    const long begin = std::lround((SoundSpan(part)[0] - zero) * rate);
    const long end = begin + static_cast<long>(stereo.size() / 2);
    if (end > static_cast<long>(line.size())) line.resize(static_cast<size_t>(end));
    for (long i = std::max(begin, 0L); i < end; ++i) {
      const auto at = static_cast<size_t>(i - begin) * 2;
      line[static_cast<size_t>(i)] = stereo[at] + stereo[at + 1];
    }
  }
  return line;
}

int Count(const std::string& text, const std::string& piece) {
  int count = 0;
  for (size_t at = text.find(piece); at != std::string::npos; at = text.find(piece, at + 1)) {
    ++count;
  }
  return count;
}

class SoundChanges : public testing::TestWithParam<Changing> {};

TEST_P(SoundChanges, AreMadeLikeTheFirst) {
  const Changing& kind = GetParam();
  const std::vector<std::string> parts = Parts(kind);
  const std::string clip = JoinFiles(std::string("changes_") + kind.name + ".ts", parts);
  const std::string once = ScratchPath(std::string("changes_once") + kind.once);
  const std::string twice = ScratchPath("changes_twice.mp4");
  CommandResult result = RunProgram({"-i", clip, "-o", once});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(Count(result.err, "such sound is converted"), 1) << result.err;
  result = RunProgram({"-i", once, "-o", twice});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(Count(result.err, "such sound is converted"), 0);
  EXPECT_EQ(StreamFields(twice, "a").at("sample_rate"), std::to_string(kind.forms[0].rate));
  ViewWords words = {kWidth, kHeight};
  words.rate = kind.forms[0].rate;
  PlayerView source = ViewOf(clip, words);
  source.sound = Laid(parts, words.rate, VideoTimes(clip).front());
  const PlayerView seen = ViewOf(once, words);
  {
    SCOPED_TRACE("once");
    ExpectSame(Mirrored(source), seen, -kMiscounted, kMiscounted);
  }
  source.pictureTick += seen.pictureTick;
  source.soundTick += seen.soundTick;
  ExpectSame(source, ViewOf(twice, words), -kMiscounted, SoundFrame(source.rate) + kMiscounted);
}

INSTANTIATE_TEST_SUITE_P(Kinds, SoundChanges, testing::ValuesIn(Cases()),
                         [](const auto& tested) { return std::string(tested.param.name); });

}  // namespace
}  // namespace test_support
