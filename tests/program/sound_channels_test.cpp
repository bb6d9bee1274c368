// SPDX-License-Identifier: MIT
// Sound that keeps its channels: each one alone, reversed, in its place.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "tests/support/channel_sound.h"
#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/media_reading.h"

namespace test_support {
namespace {

// A second of pictures with another gliding tone in each channel.
std::string Source(const std::string& name, const std::string& layout, int channels,
                   const std::string& coding) {
  std::string graph;
  std::string inputs;
  for (int i = 0; i < channels; ++i) {
    const std::string number = std::to_string(i);
    graph += "aevalsrc=" + ChannelTone(i) + ":d=1:s=48000[c" + number + "];";
    inputs += "[c" + number + "]";
  }
  graph += inputs + "join=inputs=" + std::to_string(channels) + ":channel_layout=" + layout + "[a]";
  std::vector<std::string> words = {
      "-f", "lavfi", "-i", SceneFilter(400, 64, "25"), "-filter_complex", graph};
  AppendWords("-map 0:v -map [a] -t 1 -c:v mpeg4 -c:a " + coding, &words);
  return CustomClip(name, words);
}

struct Row {
  const char* name;
  const char* layout;
  int channels;
  const char* coding;   // of the source
  const char* file;     // its extension
  const char* keys;     // of the output
  const char* output;   // its extension
  const char* written;  // its layout
  bool isLossless = true;
};

void PrintTo(const Row& row, std::ostream* out) { *out << row.name; }

constexpr Row kRows[] = {
    {"mono", "mono", 1, "pcm_s16le", "mov", "pcm_s16le", "mov", "mono"},
    {"stereo", "stereo", 2, "flac", "mkv", "flac", "mkv", "stereo"},
    {"back", "5.1", 6, "flac", "mkv", "flac", "mkv", "5.1"},
    {"side", "5.1(side)", 6, "flac", "mkv", "flac", "mkv", "5.1(side)"},
    {"seven", "7.1", 8, "flac", "mkv", "pcm_s24le", "mov", "7.1"},
    {"quad", "quad", 4, "pcm_s24le", "mov", "flac", "mkv", "quad"},
    // The encoder has other places for the same channels.
    {"alac", "5.1(side)", 6, "flac", "mkv", "alac", "mov", "5.1"},
    {"aac", "5.1", 6, "flac", "mkv", "aac", "mp4", "5.1", false},
    {"aac_mono", "mono", 1, "flac", "mkv", "aac", "mp4", "mono", false},
    {"opus", "7.1", 8, "flac", "mkv", "libopus", "mkv", "7.1", false},
    {"ac3", "5.1(side)", 6, "ac3 -b:a 448k", "mkv", "ac3", "mkv", "5.1(side)", false},
};

class SoundChannels : public testing::TestWithParam<Row> {};

TEST_P(SoundChannels, AreEachTheSourcesReversed) {
  const Row& row = GetParam();
  const std::string source = Source("channels_" + std::string(row.name) + "." + row.file,
                                    row.layout, row.channels, row.coding);
  const std::string output = ScratchPath(std::string(row.name) + "." + row.output);
  const CommandResult result =
      RunProgram({"-i", source, "-o", output, "--set", std::string("audio-codec=") + row.keys,
                  "--set", "audio-channels=source", "--set", "thread-count=2"});
  ASSERT_EQ(result.status, 0) << result.err;
  std::map<std::string, std::string> fields = StreamFields(output, "a");
  EXPECT_EQ(fields["channels"], std::to_string(row.channels));
  EXPECT_EQ(fields["channel_layout"], row.written);
  ExpectEachChannelReversed(source, output, static_cast<size_t>(row.channels), row.isLossless);
}

INSTANTIATE_TEST_SUITE_P(Layouts, SoundChannels, testing::ValuesIn(kRows),
                         [](const auto& row) { return row.param.name; });

// The loudest sample of a channel between two times.
double Loudest(const std::vector<float>& sound, int channel, double from, double to) {
  constexpr int kChannels = 6;
  constexpr int kRate = 48000;
  double loudest = 0;
  for (int i = static_cast<int>(from * kRate); i < static_cast<int>(to * kRate); ++i) {
    const auto at = static_cast<size_t>(i * kChannels + channel);
    if (at < sound.size()) loudest = std::max(loudest, std::abs(static_cast<double>(sound[at])));
  }
  return loudest;
}

TEST(SoundChannelsThatChange, StayInThePlacesOfTheFirst) {
  const std::string first = Source("channels_first.ts", "5.1(side)", 6, "ac3 -b:a 448k");
  const std::string second =
      Source("channels_second.ts", "stereo", 2, "ac3 -b:a 448k -output_ts_offset 1");
  const std::string source = ScratchPath("changing.ts");
  std::ofstream(source, std::ios::binary) << std::ifstream(first, std::ios::binary).rdbuf()
                                          << std::ifstream(second, std::ios::binary).rdbuf();
  const std::string output = ScratchPath("changing.mkv");
  const CommandResult result =
      RunProgram({"-i", source, "-o", output, "--set", "audio-codec=flac", "--set",
                  "audio-channels=source", "--set", "thread-count=2"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(StreamFields(output, "a")["channel_layout"], "5.1(side)");
  const std::vector<float> sound = DecodeChannels(output);
  constexpr double kLoud = 0.2;
  constexpr double kQuiet = 0.01;
  for (int channel = 0; channel < 6; ++channel) {
    const double ofStereo = Loudest(sound, channel, 0.1, 0.9);
    EXPECT_TRUE(channel < 2 ? ofStereo > kLoud : ofStereo < kQuiet) << channel << " " << ofStereo;
    EXPECT_GT(Loudest(sound, channel, 1.1, 1.9), kLoud) << channel;
  }
}

TEST(SoundChannelsDefault, IsStereo) {
  const std::string source = Source("channels_back.mkv", "5.1", 6, "flac");
  const std::string output = ScratchPath("default.mkv");
  ASSERT_EQ(RunProgram({"-i", source, "-o", output}).status, 0);
  EXPECT_EQ(StreamFields(output, "a")["channels"], "2");
}

TEST(SoundChannelsDefault, IsSaidIfTheEncoderTakesFewer) {
  const std::string source = Source("channels_back.mkv", "5.1", 6, "flac");
  const std::string output = ScratchPath("fewer.mkv");
  const CommandResult result =
      RunProgram({"-i", source, "-o", output, "--set", "audio-codec=libmp3lame", "--set",
                  "audio-channels=source"});
  ASSERT_EQ(result.status, 0);
  EXPECT_EQ(StreamFields(output, "a")["channels"], "2");
  constexpr char kSaid[] = "libmp3lame does not take sound of 5.1, so it is written as stereo";
  const size_t first = result.err.find(kSaid);
  ASSERT_NE(first, std::string::npos) << result.err;
  EXPECT_EQ(result.err.find(kSaid, first + 1), std::string::npos);
}

}  // namespace
}  // namespace test_support
