// SPDX-License-Identifier: MIT
// Backward walks over inputs in which the demuxer lands where decoding cannot begin, or behind the
// time that was asked for.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <string_view>
#include <vector>

#include "reverse/segment_reader.h"
#include "tests/codec/decoder/decoder_reading.h"
#include "tests/codec/decoder/landing_clips.h"
#include "tests/support/same_items.h"

namespace codec {
namespace {

constexpr int64_t kNoReplay = 0;
constexpr int64_t kFewPictures = 1 << 20;  // some 25 of them
constexpr int64_t kUnlimited = std::numeric_limits<int64_t>::max();

struct Shown {
  uint32_t type;
  double pts;
  size_t hash;
  friend bool operator==(const Shown& a, const Shown& b) {
    return a.type == b.type && a.pts == b.pts && a.hash == b.hash;
  }
};

size_t Hash(const uint8_t* bytes, size_t count) {
  return std::hash<std::string_view>()({reinterpret_cast<const char*>(bytes), count});
}

DecoderOptions With(int64_t replayBudget) {
  DecoderOptions options;
  options.threads = 1;
  options.replayBudget = replayBudget;
  return options;
}

struct Walk {
  std::vector<Shown> frames;  // newest first
  DecoderCounters cost;

  std::vector<Shown> Pictures() const {
    std::vector<Shown> pictures;
    std::copy_if(frames.begin(), frames.end(), std::back_inserter(pictures),
                 [](const Shown& frame) { return frame.type == kVideoFrame; });
    return pictures;
  }
};

Walk WalkBackwards(const std::string& path, double start, double end, int64_t replayBudget) {
  DecoderReader reader(path, With(replayBudget));
  FFmpegDecoderImpl2& decoder = reader.Decoder();
  const MediaInfo info = reader.Info();
  ReverseRange range;
  range.start = start;
  range.end = std::min(end, static_cast<double>(info.duration));
  range.hasAudio = info.has_audio != 0;
  range.bufferSize = std::max(decoder.GetFrameBufferSize(), decoder.GetAudioBufferSize());
  const DecoderCounters before = decoder.Counters();
  FrameStock stock(range.bufferSize);
  SegmentReader segments(&decoder, &stock, range);
  Walk walk;
  while (segments.HasMore()) {
    const Segment segment = segments.Next();
    for (auto frame = segment.frames.rbegin(); frame != segment.frames.rend(); ++frame) {
      if (!range.Holds(**frame)) continue;
      const auto bytes = (*frame)->type == kVideoFrame
                             ? static_cast<size_t>(decoder.GetFrameBufferSize())
                             : size_t{(*frame)->size};
      walk.frames.push_back({(*frame)->type, (*frame)->pts, Hash((*frame)->Data(), bytes)});
    }
  }
  walk.cost = decoder.Counters();
  walk.cost.packetsRead -= before.packetsRead;
  return walk;
}

// What one reading from the start shows, newest first.
std::vector<Shown> ReadForward(const std::string& path, int* packets) {
  DecoderReader reader(path, With(kNoReplay));
  EXPECT_EQ(reader.Decoder().Seek(0, 3), 0);
  const int64_t before = reader.Decoder().Counters().packetsRead;
  std::vector<Shown> pictures;
  for (const ReadFrame& frame : reader.ReceiveAll(kVideoFrame)) {
    pictures.push_back({frame.type, frame.pts, Hash(frame.bytes.data(), frame.bytes.size())});
  }
  *packets = static_cast<int>(reader.Decoder().Counters().packetsRead - before);
  std::reverse(pictures.begin(), pictures.end());
  return pictures;
}

class Landing : public testing::TestWithParam<LandingClip> {};

TEST_P(Landing, GivesEveryPictureOnceNewestFirst) {
  const std::string path = GetParam().make();
  int packets = 0;
  const std::vector<Shown> all = ReadForward(path, &packets);
  ASSERT_EQ(all.size(), static_cast<size_t>(GetParam().pictures));
  constexpr double kEnd = 1e9;
  constexpr std::pair<double, double> kRanges[] = {{0, kEnd}, {12.3, 15.1}, {3.3, 4.4}};
  for (const auto& [start, end] : kRanges) {
    SCOPED_TRACE(testing::Message() << start << " to " << end);
    std::vector<Shown> expected;
    for (const Shown& picture : all) {
      if (picture.pts >= start && picture.pts < end) expected.push_back(picture);
    }
    const Walk walk = WalkBackwards(path, start, end, kUnlimited);
    const std::vector<Shown> pictures = walk.Pictures();
    ASSERT_EQ(pictures.size(), expected.size());
    for (size_t i = 0; i < pictures.size(); ++i) {
      ASSERT_EQ(pictures[i].pts, expected[i].pts) << "picture " << i;
      ASSERT_EQ(pictures[i].hash, expected[i].hash) << "another picture at " << pictures[i].pts;
    }
    for (const int64_t budget : {kNoReplay, kFewPictures}) {
      EXPECT_TRUE(
          test_support::SameItems(WalkBackwards(path, start, end, budget).frames, walk.frames))
          << "other frames with a replay budget of " << budget;
    }
  }
}

// However long the input is: each step reads the packets of its group again, and some groups here
// are ten seconds long; looking for the start of a group takes a few readings more. What is decoded
// on the way is at most the group again.
TEST_P(Landing, CostsAsMuchAsTheRangeIsLong) {
  const std::string path = GetParam().make();
  int packets = 0;
  const auto pictures = static_cast<int64_t>(ReadForward(path, &packets).size());
  const Walk walk = WalkBackwards(path, 0, 1e9, kUnlimited);
  constexpr int kOneGroup = 250;
  EXPECT_LE(walk.cost.videoFramesDecoded, pictures * 2 + kOneGroup) << pictures << " pictures";
  EXPECT_LE(walk.cost.packetsRead, packets * 16) << packets << " packets";
}

INSTANTIATE_TEST_SUITE_P(All, Landing, testing::ValuesIn(LandingClips()),
                         [](const auto& parameter) { return parameter.param.name; });

}  // namespace
}  // namespace codec
