// SPDX-License-Identifier: MIT
// Replay must not be seen in what comes out: the same seeks and reads give the same frames, in the
// same order, with it and without.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "codec/decoder/ffmpeg_decoder_impl2.h"
#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/same_items.h"

namespace codec {
namespace {

using test_support::Clip;
using test_support::ClipKind;

struct SeenFrame {
  uint32_t type;
  uint32_t size;
  double pts;
  uint64_t hash;
  friend bool operator==(const SeenFrame& a, const SeenFrame& b) {
    return a.type == b.type && a.size == b.size && a.pts == b.pts && a.hash == b.hash;
  }
};

uint64_t Hash(const uint8_t* bytes, size_t count) {
  uint64_t hash = 1469598103934665603U;
  for (size_t i = 0; i < count; i += sizeof(uint64_t)) {
    uint64_t word = 0;
    std::memcpy(&word, bytes + i, std::min(sizeof(word), count - i));
    hash = (hash ^ word) * 1099511628211U;
    hash ^= hash >> 29;
  }
  return hash;
}

class Reader {
 public:
  Reader(const std::string& path, int threads, int64_t budget)
      : mDecoder(path.c_str(), Options(threads, budget)) {
    EXPECT_EQ(mDecoder.Init(), 0);
    mBuffer.resize(static_cast<size_t>(
        std::max(mDecoder.GetFrameBufferSize(), mDecoder.GetAudioBufferSize())));
  }

  FFmpegDecoderImpl2& Decoder() { return mDecoder; }

  bool Read(SeenFrame* frame) {
    if (mDecoder.ReceiveFrame(mBuffer.data(), &frame->size, &frame->type, &frame->pts) != 0) {
      return false;
    }
    const auto bytes = frame->type == kVideoFrame
                           ? static_cast<size_t>(mDecoder.GetFrameBufferSize())
                           : size_t{frame->size};
    frame->hash = Hash(mBuffer.data(), bytes);
    return true;
  }

  // The walk of a backward run over the whole clip: every frame that it reads.
  std::vector<SeenFrame> WalkBackwards() {
    MediaInfo info;
    mDecoder.GetMediaInfo(info);
    std::vector<SeenFrame> all;
    double cursor = info.duration;
    double videoBoundary = cursor;
    double audioBoundary = cursor;
    while (cursor > 0) {
      cursor = std::max(0.0, cursor - 1);
      mDecoder.Seek(cursor, 3);
      bool videoDone = false;
      bool audioDone = info.has_audio == 0;
      double firstVideo = videoBoundary;
      double firstAudio = audioBoundary;
      SeenFrame frame;
      while ((!videoDone || !audioDone) && Read(&frame)) {
        all.push_back(frame);
        if (frame.type == kVideoFrame) {
          videoDone = videoDone || frame.pts >= videoBoundary;
          firstVideo = std::min(firstVideo, frame.pts);
        } else {
          audioDone = audioDone || frame.pts >= audioBoundary;
          firstAudio = std::min(firstAudio, frame.pts);
        }
      }
      videoBoundary = firstVideo;
      audioBoundary = firstAudio;
    }
    return all;
  }

 private:
  static DecoderOptions Options(int threads, int64_t budget) {
    DecoderOptions options;
    options.threads = threads;
    options.replayBudget = budget;
    return options;
  }

  FFmpegDecoderImpl2 mDecoder;
  std::vector<uint8_t> mBuffer;
};

constexpr int64_t kUnlimited = std::numeric_limits<int64_t>::max();
// About a dozen pictures of the clips, less than a group.
constexpr int64_t kDozenPictures = 12 * 400 << 10;

class Replay : public testing::TestWithParam<ClipKind> {};

TEST_P(Replay, GivesTheFramesOfASecondReading) {
  const std::string clip = Clip(GetParam());
  for (const int threads : {1, 2}) {
    const std::vector<SeenFrame> expected = Reader(clip, threads, 0).WalkBackwards();
    ASSERT_FALSE(expected.empty());
    for (const int64_t budget : {kDozenPictures, kUnlimited}) {
      Reader reader(clip, threads, budget);
      const std::vector<SeenFrame> seen = reader.WalkBackwards();
      ASSERT_EQ(seen.size(), expected.size()) << threads << " threads, budget " << budget;
      for (size_t i = 0; i < seen.size(); ++i) {
        ASSERT_TRUE(seen[i] == expected[i])
            << threads << " threads, budget " << budget << ", frame " << i << " at " << seen[i].pts
            << " instead of " << expected[i].pts;
      }
    }
  }
}

TEST_P(Replay, GivesTheSamePicturesWithAnyNumberOfThreads) {
  const std::string clip = Clip(GetParam());
  const auto ofType = [](std::vector<SeenFrame> frames, uint32_t type) {
    frames.erase(std::remove_if(frames.begin(), frames.end(),
                                [type](const SeenFrame& frame) { return frame.type != type; }),
                 frames.end());
    std::sort(frames.begin(), frames.end(),
              [](const SeenFrame& a, const SeenFrame& b) { return a.pts < b.pts; });
    frames.erase(std::unique(frames.begin(), frames.end()), frames.end());
    return frames;
  };
  const std::vector<SeenFrame> one = Reader(clip, 1, 0).WalkBackwards();
  const std::vector<SeenFrame> several = Reader(clip, 3, 0).WalkBackwards();
  EXPECT_EQ(ofType(one, kVideoFrame).size(), ofType(several, kVideoFrame).size());
  EXPECT_TRUE(test_support::SameItems(ofType(one, kVideoFrame), ofType(several, kVideoFrame)));
}

INSTANTIATE_TEST_SUITE_P(AllKinds, Replay, testing::ValuesIn(test_support::VideoClipKinds()),
                         [](const auto& parameter) {
                           return test_support::ClipName(parameter.param);
                         });

TEST(Replay, DecodesEachPictureOfALongGroupOnce) {
  const std::string clip = Clip(ClipKind::kH264LongGop);
  Reader without(clip, 1, 0);
  without.WalkBackwards();
  Reader with(clip, 1, kUnlimited);
  with.WalkBackwards();
  // 300 pictures; the probes of the opening and the group border add a few.
  EXPECT_GT(without.Decoder().Counters().videoFramesDecoded, 1400);
  EXPECT_LT(with.Decoder().Counters().videoFramesDecoded, 340);
  EXPECT_GT(with.Decoder().Counters().videoFramesReplayed, 250);
}

// The group has 250 pictures, of which the first walk keeps all but some of the first ones.
TEST(Replay, DecodesOnlyWhatWasLostASecondTime) {
  const std::string clip = Clip(ClipKind::kH264LongGop);
  const std::vector<SeenFrame> expected = Reader(clip, 2, 0).WalkBackwards();
  for (const int dozens : {11, 13, 15, 17}) {
    Reader reader(clip, 2, kDozenPictures * dozens);
    EXPECT_TRUE(test_support::SameItems(reader.WalkBackwards(), expected)) << dozens << " dozens";
  }
  Reader reader(clip, 1, kDozenPictures * 17);
  reader.WalkBackwards();
  // 300 and a few, where all of the last step would be 25 more.
  EXPECT_LT(reader.Decoder().Counters().videoFramesDecoded, 320);
}

// Clips whose groups of pictures begin between the seconds at which steps begin.
struct GroupsClip {
  const char* file;
  const char* coding;
  bool isAnswered;  // from the group behind: it is certain that it leans on nothing before
};
constexpr GroupsClip kGroupsClips[] = {
    {"groups_h264.mkv", "-c:v libx264 -preset veryfast -g 35 -bf 2 -sc_threshold 0 -c:a aac", true},
    {"groups_open_h264.mp4",
     "-c:v libx264 -preset veryfast -g 35 -bf 3 -sc_threshold 0 -x264-params open-gop=1 -c:a aac",
     false},
    {"groups_hevc.mkv",
     "-c:v libx265 -preset ultrafast -x265-params "
     "log-level=error:keyint=35:min-keyint=35:scenecut=0:open-gop=0 -c:a aac",
     true},
    {"groups_open_hevc.mp4",
     "-c:v libx265 -preset ultrafast -x265-params "
     "log-level=error:keyint=35:min-keyint=35:scenecut=0:bframes=3:open-gop=1 -c:a aac",
     false},
    {"groups_vp9.webm", "-c:v libvpx-vp9 -deadline realtime -cpu-used 8 -b:v 1M -g 35 -c:a libopus",
     true},
    {"groups_mpeg2.ts", "-c:v mpeg2video -q:v 4 -g 17 -bf 2 -c:a mp2", false},
    {"groups_mpeg4.avi", "-c:v mpeg4 -q:v 4 -g 35 -bf 2 -c:a libmp3lame", false},
    {"groups_mjpeg.mov", "-c:v mjpeg -q:v 5 -pix_fmt yuvj420p -c:a aac", true},
};

std::string MakeGroupsClip(const GroupsClip& clip) {
  std::vector<std::string> words = {"-f", "lavfi", "-i", test_support::SceneFilter(320, 180, "25"),
                                    "-f", "lavfi", "-i", test_support::SweepFilter(48000, "stereo"),
                                    "-t", "7"};
  test_support::AppendWords(clip.coding, &words);
  return test_support::CustomClip(clip.file, words);
}

TEST(Replay, GivesTheFramesOfASecondReadingOfEachGroup) {
  for (const GroupsClip& clip : kGroupsClips) {
    const std::string path = MakeGroupsClip(clip);
    for (const int threads : {1, 2}) {
      const std::vector<SeenFrame> expected = Reader(path, threads, 0).WalkBackwards();
      ASSERT_GT(expected.size(), 175U) << clip.file;
      for (const int64_t budget : {kDozenPictures, kUnlimited}) {
        Reader reader(path, threads, budget);
        EXPECT_TRUE(test_support::SameItems(reader.WalkBackwards(), expected))
            << clip.file << ", " << threads << " threads, budget " << budget;
      }
    }
  }
}

TEST(Replay, AnswersFromTheGroupBehindWhereItLeansOnNothingBeforeIt) {
  for (const GroupsClip& clip : kGroupsClips) {
    Reader reader(MakeGroupsClip(clip), 2, kUnlimited);
    reader.WalkBackwards();
    const int64_t decoded = reader.Decoder().Counters().videoFramesDecoded;
    // 175 pictures, and some from the first of a group until it is known to be the same one; 230
    // and more without.
    if (clip.isAnswered) {
      EXPECT_LT(decoded, 190) << clip.file;
    }
  }
}

TEST(Replay, SurvivesReadingOnBehindTheRecording) {
  // What was recorded ends soon after the first walk; a reader that goes on must not notice.
  const std::string clip = Clip(ClipKind::kH264LongGop);
  Reader without(clip, 1, 0);
  Reader with(clip, 1, kUnlimited);
  for (Reader* reader : {&without, &with}) {
    reader->Decoder().Seek(6, 3);
    SeenFrame frame;
    for (int i = 0; i < 10; ++i) reader->Read(&frame);
    reader->Decoder().Seek(5, 3);
  }
  SeenFrame expected;
  SeenFrame seen;
  int frames = 0;
  while (without.Read(&expected)) {
    ASSERT_TRUE(with.Read(&seen));
    ASSERT_TRUE(seen == expected) << "frame " << frames;
    ++frames;
  }
  EXPECT_FALSE(with.Read(&seen));
  EXPECT_GT(frames, 200);
}

TEST(Replay, GivesThePicturesBehindTheOneThatItWasClosedAt) {
  // Without sound recording ends at the first picture that is delivered, which may come out of the
  // drained decoder, with others behind it.
  const std::string clip = Clip(ClipKind::kH264NoAudio);
  for (double first = 4.5; first < 5; first += 0.04) {
    Reader without(clip, 2, 0);
    Reader with(clip, 2, kUnlimited);
    SeenFrame expected;
    SeenFrame seen;
    for (Reader* reader : {&without, &with}) {
      reader->Decoder().Seek(first, 3);
      reader->Read(&seen);
      reader->Decoder().Seek(4, 3);
    }
    while (without.Read(&expected)) {
      ASSERT_TRUE(with.Read(&seen)) << expected.pts << ", closed behind " << first;
      ASSERT_TRUE(seen == expected) << expected.pts << ", closed behind " << first;
    }
    EXPECT_FALSE(with.Read(&seen)) << "closed behind " << first;
  }
}

TEST(Replay, IsNotSeenInSeeksOfAnyOrderAndMode) {
  const unsigned seed = std::random_device()();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  const ClipKind kinds[] = {ClipKind::kH264LongGop, ClipKind::kH264, ClipKind::kH264NoAudio,
                            ClipKind::kVp9};
  const std::string clip = Clip(kinds[random() % std::size(kinds)]);
  Reader without(clip, 1, 0);
  Reader with(clip, 1, kDozenPictures * (random() % 16 + 2));
  std::uniform_real_distribution<double> time(0, 12);
  for (int i = 0; i < 40; ++i) {
    const double seconds = time(random);
    const int mode = random() % 4 == 0 ? static_cast<int>(random() % 3) : 3;
    const int reads = static_cast<int>(random() % 40);
    ASSERT_EQ(with.Decoder().Seek(seconds, mode), without.Decoder().Seek(seconds, mode));
    SeenFrame expected;
    SeenFrame seen;
    for (int n = 0; n < reads; ++n) {
      const bool more = without.Read(&expected);
      ASSERT_EQ(with.Read(&seen), more);
      if (!more) break;
      ASSERT_TRUE(seen == expected) << "seek " << i << " to " << seconds << ", frame " << n;
    }
  }
}

TEST(Replay, IsLeftByDecodeFrame) {
  const std::string clip = Clip(ClipKind::kH264LongGop);
  Reader without(clip, 1, 0);
  Reader with(clip, 1, kUnlimited);
  std::vector<double> times[2];
  int which = 0;
  for (Reader* reader : {&without, &with}) {
    FFmpegDecoderImpl2& decoder = reader->Decoder();
    decoder.Seek(6, 3);
    SeenFrame frame;
    for (int i = 0; i < 10; ++i) reader->Read(&frame);
    decoder.Seek(5, 3);
    for (int i = 0; i < 5; ++i) reader->Read(&frame);
    std::vector<uint8_t> buffer(2 << 20);
    uint32_t size = 0;
    uint32_t type = 0;
    double pts = 0;
    for (int i = 0; i < 30 && decoder.DecodeFrame(buffer.data(), &size, &type, &pts) == 0; ++i) {
      times[which].push_back(type == kVideoFrame ? pts : -pts);
    }
    ++which;
  }
  EXPECT_FALSE(times[0].empty());
  EXPECT_EQ(times[0], times[1]);
}

}  // namespace
}  // namespace codec
