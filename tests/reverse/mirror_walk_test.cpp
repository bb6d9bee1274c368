// SPDX-License-Identifier: MIT
// What a mirrored job hands to its writer does not depend on how many threads decode, nor on the
// room for pictures. That one thread gives the right frames is tested beside the job.
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "codec/decoder/ffmpeg_decoder_impl2.h"
#include "reverse/mirror_reversal.h"
#include "reverse/reverse_loop.h"
#include "tests/reverse/literal_walk.h"
#include "tests/reverse/walk_clips.h"

namespace codec {
namespace {

constexpr int64_t kAll = std::numeric_limits<int64_t>::max();

// A stamp in microseconds, and what the bytes hash to.
using WrittenFrame = std::pair<int64_t, size_t>;

struct Written {
  std::vector<WrittenFrame> pictures;
  std::vector<WrittenFrame> sounds;
};

class HashingWriter : public MediaWriter {
 public:
  HashingWriter(Written* written, int pictureBytes)
      : mWritten(written), mPictureBytes(static_cast<size_t>(pictureBytes)) {}

  int Configure(MediaFormat& /*format*/) override { return 0; }
  int Start() override { return 0; }
  void Stop() override {}
  void WriteFrame(int type, uint8_t* data, uint32_t size, int64_t pts) override {
    if (type == static_cast<int>(kVideoFrame)) {
      mWritten->pictures.emplace_back(pts, HashBytes(data, mPictureBytes));
    } else {
      mWritten->sounds.emplace_back(pts, HashBytes(data, size));
    }
  }
  int64_t GetParameter(const char* /*key*/) override { return 0; }
  void SetParameter(const char* /*key*/, int /*value*/) override {}
  void SetParameter(const char* /*key*/, double /*value*/) override {}

 private:
  Written* mWritten;
  size_t mPictureBytes;
};

// Of a clip, as shares of its length.
using Part = std::pair<double, double>;
constexpr Part kWhole = {0, 1};
constexpr Part kPart = {0.21, 0.83};

struct Room {
  int threads;
  int64_t replayBudget;
  int64_t stepBytes;
};

Written Mirrored(const std::string& path, const Part& part, const Room& room) {
  MirrorReversal reversal;
  DecoderOptions options;
  options.threads = room.threads;
  options.replayBudget = room.replayBudget;
  options.additions = reversal.Additions();
  FFmpegDecoderImpl2 decoder(path.c_str(), options);
  Written written;
  if (decoder.Init() != 0) return written;
  MediaInfo info;
  decoder.GetMediaInfo(info);
  if (reversal.Prepare(&decoder, path, true, &info) != 0) return written;
  const double seconds = reversal.Duration(info);
  ReverseRange range;
  range.start = part.first * seconds;
  range.end = part.second * seconds;
  reversal.Limit(range.start, range.end, &info);
  range.bufferSize = std::max(decoder.GetFrameBufferSize(), decoder.GetAudioBufferSize());
  range.stepBytes = room.stepBytes;
  HashingWriter writer(&written, decoder.GetFrameBufferSize());
  std::unique_ptr<FramePlacement> placement = reversal.Place(&writer, &range);
  ReverseLoop loop(&decoder, std::move(placement), range);
  while (loop.Step() == 0) {
  }
  EXPECT_EQ(reversal.HostError(), 0);
  return written;
}

class MirrorWalk : public testing::TestWithParam<WalkClip> {};

// A byte has room for one picture in a step.
TEST_P(MirrorWalk, DoesNotDependOnThreadsOrRoom) {
  const std::string path = GetParam().make();
  const Written expected = Mirrored(path, kWhole, {1, 0, kAll});
  EXPECT_FALSE(expected.pictures.empty());
  for (const Room& room : {Room{2, 1, kAll}, Room{5, kAll, 1}, Room{16, kAll, kAll}}) {
    const Written seen = Mirrored(path, kWhole, room);
    SCOPED_TRACE(testing::Message() << room.threads << " threads, replay " << room.replayBudget
                                    << ", step " << room.stepBytes);
    EXPECT_EQ(seen.pictures, expected.pictures);
    EXPECT_EQ(seen.sounds, expected.sounds);
  }
}

TEST_P(MirrorWalk, DoesNotDependOnThreadsInAPart) {
  const std::string path = GetParam().make();
  const Written expected = Mirrored(path, kPart, {1, 0, kAll});
  for (const int threads : {5, 16}) {
    const Written seen = Mirrored(path, kPart, {threads, kAll, kAll});
    EXPECT_EQ(seen.pictures, expected.pictures) << threads << " threads";
    EXPECT_EQ(seen.sounds, expected.sounds) << threads << " threads";
  }
}

INSTANTIATE_TEST_SUITE_P(Clips, MirrorWalk, testing::ValuesIn(WalkClips()),
                         [](const auto& tested) { return std::string(tested.param.name); });

}  // namespace
}  // namespace codec
