// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <random>

#include "tests/codec/decoder/decoder_reading.h"
#include "tests/support/clips.h"
#include "tests/support/log_capture.h"

namespace codec {
namespace {

using test_support::Clip;
using test_support::ClipKind;
using test_support::CustomClip;
using test_support::LogCapture;
using test_support::SceneFilter;

constexpr ClipKind kSeekableKinds[] = {ClipKind::kH264, ClipKind::kVp9, ClipKind::kTransport,
                                       ClipKind::kMpeg4Avi};

// Five pictures a group: a seek lands where the demuxer was sent, to a fifth of a second.
std::string ShortGroupClip() {
  return CustomClip(
      "decoder_short_group.mp4",
      {"-f", "lavfi", "-i", SceneFilter(640, 360, "25"), "-t", "5", "-c:v", "libx264", "-preset",
       "ultrafast", "-g", "5", "-keyint_min", "5", "-sc_threshold", "0", "-bf", "0"});
}

std::string SingleKeyClip() {
  return CustomClip("decoder_single_key_scene.mp4",
                    {"-f", "lavfi", "-i", SceneFilter(640, 360, "25"), "-t", "3", "-c:v", "libx264",
                     "-preset", "ultrafast", "-g", "999", "-sc_threshold", "0", "-bf", "0"});
}

// MPEG-TS with key frames at the given times only; a seek in it lands on any packet.
std::string SparseTransport(const std::string& name, const char* keyTimes) {
  return CustomClip(name, {"-f",
                           "lavfi",
                           "-i",
                           SceneFilter(640, 360, "25"),
                           "-t",
                           "9",
                           "-c:v",
                           "libx264",
                           "-preset",
                           "ultrafast",
                           "-g",
                           "999",
                           "-sc_threshold",
                           "0",
                           "-force_key_frames",
                           keyTimes,
                           "-bf",
                           "0",
                           "-f",
                           "mpegts"});
}

// The first picture at or after a time, by the times that ffprobe shows.
size_t PictureAt(const std::vector<double>& times, float seconds) {
  for (size_t i = 0; i < times.size(); ++i) {
    if (times[i] > seconds - 2e-6) return i;
  }
  return times.size();
}

// Seeks decode-forward and checks that the reader goes on after the picture at that time.
void CheckForward(DecoderReader* reader, const std::vector<double>& times, double seconds) {
  SCOPED_TRACE(seconds);
  ASSERT_EQ(reader->Decoder().Seek(seconds, 3), 0);
  const auto single = static_cast<float>(seconds);
  const size_t next = single == 0 ? 0 : PictureAt(times, single) + 1;
  ReadFrame frame;
  if (next == times.size()) {
    EXPECT_FALSE(reader->ReceiveType(kVideoFrame, &frame));
    return;
  }
  ASSERT_TRUE(reader->ReceiveType(kVideoFrame, &frame));
  EXPECT_EQ(reader->Number(frame), static_cast<int>(next));
  EXPECT_NEAR(frame.pts, times[next], 2e-6);
}

TEST(DecodeForwardSeek, ReachesEveryTimeInAnyOrder) {
  constexpr unsigned kSeed = 20240607;
  for (const ClipKind kind : kSeekableKinds) {
    SCOPED_TRACE(test_support::ClipName(kind) + ", seed " + std::to_string(kSeed));
    const std::string path = Clip(kind);
    const std::vector<double> times = PictureTimes(path);
    DecoderReader reader(path);
    ASSERT_EQ(reader.InitResult(), 0);
    const double end = times.back();
    for (double at = 0; at < end; at += 1.37) CheckForward(&reader, times, at);
    for (double at = end; at >= 0; at -= 1.01) CheckForward(&reader, times, at);
    std::mt19937 random(kSeed);
    std::uniform_real_distribution<double> anywhere(0, end);
    for (int i = 0; i < 6; ++i) CheckForward(&reader, times, anywhere(random));
    CheckForward(&reader, times, 0);
  }
}

TEST(DecodeForwardSeek, DropsTheFractionForTheDemuxerAndDecodesTheRest) {
  const std::string path = ShortGroupClip();
  DecoderReader reader(path);
  ASSERT_EQ(reader.Decoder().Seek(0, 3), 0);  // probes the times
  const DecoderCounters before = reader.Decoder().Counters();
  ASSERT_EQ(reader.Decoder().Seek(2.9, 3), 0);
  const DecoderCounters after = reader.Decoder().Counters();
  // 2.9 s is between pictures 72 and 73; the key frame at 2 s is picture 50.
  EXPECT_EQ(after.videoFramesDecoded - before.videoFramesDecoded, 73 - 50 + 1);
  EXPECT_EQ(after.seeks - before.seeks, 1);
  ReadFrame frame;
  ASSERT_TRUE(reader.Receive(&frame));
  EXPECT_EQ(reader.Number(frame), 74);
}

TEST(DecodeForwardSeek, StartsBelowASecondFromTheStart) {
  DecoderReader reader(ShortGroupClip());
  ASSERT_EQ(reader.Decoder().Seek(0, 3), 0);
  const DecoderCounters before = reader.Decoder().Counters();
  ASSERT_EQ(reader.Decoder().Seek(0.5, 3), 0);
  const DecoderCounters after = reader.Decoder().Counters();
  EXPECT_EQ(after.videoFramesDecoded - before.videoFramesDecoded, 14);
  EXPECT_EQ(after.seeks - before.seeks, 1);
}

TEST(DecodeForwardSeek, ConsumesTheReachedPictureAndNoneAtZero) {
  DecoderReader reader(ShortGroupClip());
  ReadFrame frame;
  ASSERT_EQ(reader.Decoder().Seek(1, 3), 0);
  ASSERT_TRUE(reader.Receive(&frame));
  EXPECT_EQ(reader.Number(frame), 26);
  ASSERT_EQ(reader.Decoder().Seek(-5, 3), 0);
  ASSERT_TRUE(reader.Receive(&frame));
  EXPECT_EQ(reader.Number(frame), 0);
}

TEST(DecodeForwardSeek, TakesATimeWithinSinglePrecisionForReached) {
  DecoderReader reader(ShortGroupClip());
  ReadFrame frame;
  // 0.04 in single precision is not 0.04, but the picture there is the one that is meant.
  ASSERT_EQ(reader.Decoder().Seek(0.04, 3), 0);
  ASSERT_TRUE(reader.Receive(&frame));
  EXPECT_EQ(reader.Number(frame), 2);
}

TEST(DecodeForwardSeek, ClampsToTheDuration) {
  const LogCapture log;
  DecoderReader reader(ShortGroupClip());
  const double duration = static_cast<double>(reader.Info().duration);
  // Nothing is at or after the duration, so that the walk ends with the input.
  EXPECT_EQ(reader.Decoder().Seek(duration + 0.001, 3), -1);
  EXPECT_EQ(reader.Decoder().Seek(1e30, 3), -1);
  EXPECT_EQ(reader.Decoder().Seek(std::nan(""), 3), 0);
  EXPECT_EQ(log.CountContaining(kLogError, kDecoderTestTag, "error time"), 0);
  ReadFrame frame;
  ASSERT_TRUE(reader.Receive(&frame));
  EXPECT_EQ(reader.Number(frame), 0);
}

TEST(DecodeForwardSeek, GoesFurtherBackWhereTheDemuxerLandsBehindTheTime) {
  const std::string path = SparseTransport("decoder_sparse.ts", "0,1,8.4");
  const std::vector<double> times = PictureTimes(path);
  DecoderReader reader(path);
  for (const double at : {8.0, 5.0, 8.9, 3.3}) CheckForward(&reader, times, at);
}

TEST(DecodeForwardSeek, ReachesTimesOfAStreamWithoutStamps) {
  const std::string path =
      CustomClip("decoder_stampless_scene.h264",
                 {"-f", "lavfi", "-i", SceneFilter(640, 360, "25"), "-t", "3", "-c:v", "libx264",
                  "-preset", "ultrafast", "-g", "25", "-bf", "0", "-f", "h264"});
  DecoderReader reader(path);
  // Such a file tells no duration that could be sought to; the start is always there.
  ReadFrame frame;
  for (int i = 0; i < 2; ++i) {
    ASSERT_EQ(reader.Decoder().Seek(0, 3), 0);
    ASSERT_TRUE(reader.Receive(&frame));
    EXPECT_EQ(reader.Number(frame), 0);
    EXPECT_EQ(frame.pts, 0);
  }
}

// The last packet of sound is 100 hours on. A seek to the stretch before it lands on the packet
// before, and all that the decoder gives of the two has no stamp: it belongs to no time in between,
// or there would be sound in every second of the stretch.
TEST(DecodeForwardSeek, FindsNoSoundInAStretchWithout) {
  DecoderReader reader(CustomClip(
      "decoder_sound_jump.wmv", {"-f", "lavfi", "-i", "testsrc2=size=160x90:rate=15:duration=1",
                                 "-f", "lavfi", "-i", "sine=sample_rate=16000:duration=1", "-af",
                                 "asetnsamples=512,asetpts=if(gt(T\\,0.967)\\,PTS+360000*SR\\,PTS)",
                                 "-c:v", "wmv2", "-c:a", "wmav2", "-packet_size", "800"}));
  ASSERT_EQ(reader.InitResult(), 0);
  for (const double seconds : {5.0, 300.0, 200000.0, 359998.0}) {
    SCOPED_TRACE(seconds);
    EXPECT_EQ(reader.Decoder().Seek(seconds, 3), -1);
    for (const ReadFrame& frame : reader.ReceiveAll(kAudioFrame)) EXPECT_GT(frame.pts, 360000);
  }
}

TEST(Seek, GivesAllSoundAgainAfterASeekForSoundAlone) {
  DecoderReader reader(
      CustomClip("decoder_long_sound.mkv",
                 {"-f", "lavfi", "-i", "testsrc2=size=160x90:rate=25:duration=1", "-f", "lavfi",
                  "-i", "sine=sample_rate=48000:duration=4", "-c:v", "libx264", "-c:a", "aac"}));
  ASSERT_EQ(reader.InitResult(), 0);
  for (const int mode : {0, 2}) {
    SCOPED_TRACE(mode);
    ReadFrame frame;
    EXPECT_EQ(reader.Decoder().Seek(3, 3), -1);
    ASSERT_TRUE(reader.ReceiveType(kAudioFrame, &frame));
    EXPECT_GE(frame.pts, 3);
    EXPECT_EQ(reader.Decoder().Seek(0, mode), 0);
    ASSERT_TRUE(reader.ReceiveType(kAudioFrame, &frame));
    EXPECT_LT(frame.pts, 1);
  }
}

TEST(TimeProbe, SetsWhatTimesCountFrom) {
  DecoderReader reader(Clip(ClipKind::kTransport));
  ReadFrame frame;
  // Sound counts from its own first frame only once that is known.
  ASSERT_TRUE(reader.ReceiveType(kAudioFrame, &frame));
  EXPECT_GT(frame.pts, 9);
  ASSERT_EQ(reader.Decoder().Seek(0, 3), 0);
  ASSERT_TRUE(reader.ReceiveType(kAudioFrame, &frame));
  EXPECT_NEAR(frame.pts, 0, 1e-9);
}

TEST(TimeProbe, EndsWhenAStreamNeverGivesAFrame) {
  // The header announces sound, but its chunks are padding.
  std::string bytes = FileBytes(
      CustomClip("decoder_mute_source.avi",
                 {"-f", "lavfi", "-i", "testsrc2=size=64x48:rate=25", "-f", "lavfi", "-i",
                  "anullsrc=r=48000:cl=stereo", "-t", "4", "-c:v", "mjpeg", "-c:a", "pcm_s16le"}));
  for (size_t at = bytes.find("01wb"); at != std::string::npos; at = bytes.find("01wb", at)) {
    bytes.replace(at, 4, "JUNK");
  }
  DecoderReader reader(ScratchFile("mute.avi", bytes));
  ASSERT_EQ(reader.Info().has_audio, 1);
  const DecoderCounters before = reader.Decoder().Counters();
  ASSERT_EQ(reader.Decoder().Seek(0, 3), 0);
  const DecoderCounters after = reader.Decoder().Counters();
  EXPECT_EQ(after.videoFramesDecoded - before.videoFramesDecoded, 1);
  EXPECT_EQ(after.packetsRead - before.packetsRead, 100);
  EXPECT_EQ(reader.ReceiveAll(kVideoFrame).size(), 100U);
}

TEST(TimeProbe, RunsOnce) {
  DecoderReader reader(ShortGroupClip());
  ASSERT_EQ(reader.Decoder().Seek(0, 3), 0);
  const DecoderCounters before = reader.Decoder().Counters();
  ASSERT_EQ(reader.Decoder().Seek(0, 3), 0);
  EXPECT_EQ(reader.Decoder().Counters().packetsRead, before.packetsRead);
  EXPECT_EQ(reader.Decoder().Counters().seeks - before.seeks, 1);
}

TEST(KeyFrameSeek, LandsOnTheKeyFrameAtOrBefore) {
  DecoderReader reader(ShortGroupClip());
  ReadFrame frame;
  for (const int mode : {0, 1, 4, -1}) {
    ASSERT_EQ(reader.Decoder().Seek(2.5, mode), 0);
    ASSERT_TRUE(reader.Receive(&frame));
    EXPECT_EQ(reader.Number(frame), 60);
    EXPECT_NEAR(frame.pts, 2.4, 1e-6);
  }
}

TEST(KeyFrameSeek, AllowsTheDurationAndNothingBeyond) {
  DecoderReader reader(ShortGroupClip());
  const LogCapture log;
  const double duration = static_cast<double>(reader.Info().duration);
  ASSERT_EQ(duration, 5);
  EXPECT_EQ(reader.Decoder().Seek(duration, 0), 0);
  EXPECT_TRUE(log.Lines().empty());
  EXPECT_EQ(reader.Decoder().Seek(duration + 0.001, 0), -1);
  EXPECT_TRUE(log.Has(kLogError, kDecoderTestTag, "error time:5.001 not in [0,5.000]"));
  EXPECT_EQ(reader.Decoder().Seek(duration + 0.001, 2), -1);
  EXPECT_TRUE(log.Has(kLogError, kDecoderTestTag, "_SeekNoKeyFrame failed"));
  EXPECT_EQ(reader.Decoder().Seek(-0.001, 0), -1);
  EXPECT_TRUE(log.Has(kLogError, kDecoderTestTag, "error time:-0.001 not in [0,5.000]"));
  EXPECT_EQ(reader.Decoder().Seek(std::nan(""), 0), -1);
}

TEST(KeyFrameSeek, MapsATimeBeforeTheFirstStampToTheStart) {
  // The stamps of this clip start at 10 s, so that its whole length is before the first.
  DecoderReader reader(Clip(ClipKind::kTransport));
  ReadFrame frame;
  ASSERT_EQ(reader.Decoder().Seek(3, 0), 0);
  ASSERT_TRUE(reader.ReceiveType(kVideoFrame, &frame));
  EXPECT_EQ(reader.Number(frame), 0);
}

TEST(KeyFrameSeek, OnlyWarnsWhenTheDemuxerCannotSeek) {
  // A cover picture has no index.
  DecoderReader reader(CoverClip());
  const LogCapture log;
  EXPECT_EQ(reader.Decoder().Seek(0, 0), 0);
  EXPECT_TRUE(log.Has(kLogWarn, kDecoderTestTag,
                      "_Seek av_seek_frame seek_pts:0, first_video_pts_:0, res=-1"));
  EXPECT_TRUE(log.Has(kLogWarn, kDecoderTestTag, "_Seek av_seek_frame first_video_pts_:0, res=-1"));
  EXPECT_EQ(reader.Decoder().Seek(0, 2), -1);
  EXPECT_TRUE(log.Has(kLogError, kDecoderTestTag, "could not seek to position 0.000"));
}

TEST(ExactSeek, HoldsTheFirstPictureAtOrAfterTheTime) {
  DecoderReader reader(ShortGroupClip());
  ReadFrame frame;
  ASSERT_EQ(reader.Decoder().Seek(2.9, 2), 0);
  const int64_t packets = reader.Decoder().Counters().packetsRead;
  ASSERT_TRUE(reader.Decode(&frame));
  EXPECT_EQ(frame.type, uint32_t{kVideoFrame});
  EXPECT_EQ(frame.size, 640U * 360 * 3 / 2);
  EXPECT_NEAR(frame.pts, 2.92, 1e-6);
  EXPECT_EQ(reader.Decoder().Counters().packetsRead, packets);
  const int held = reader.Number(frame);
  ASSERT_TRUE(reader.Decode(&frame));
  EXPECT_NEAR(frame.pts, 2.96, 1e-6);
  EXPECT_EQ(reader.Number(frame), held + 1);
}

TEST(ExactSeek, ReachesTimesOfAClipWithSound) {
  DecoderReader reader(Clip(ClipKind::kH264Short));
  ReadFrame frame;
  for (const double at : {1.5, 0.2, 2.5}) {
    ASSERT_EQ(reader.Decoder().Seek(at, 2), 0);
    ASSERT_TRUE(reader.Decode(&frame));
    EXPECT_EQ(frame.type, uint32_t{kVideoFrame});
    EXPECT_GE(frame.pts, at - 1e-6);
    EXPECT_LT(frame.pts, at + 0.04);
  }
}

TEST(ExactSeek, AcceptsTheLandingWhereTheKeyIntervalIsUnknown) {
  DecoderReader reader(SingleKeyClip());
  ASSERT_EQ(reader.Decoder().KeyInterval(), 0);
  const int64_t seeks = reader.Decoder().Counters().seeks;
  ASSERT_EQ(reader.Decoder().Seek(1.5, 2), 0);
  EXPECT_EQ(reader.Decoder().Counters().seeks - seeks, 1);
  ReadFrame frame;
  ASSERT_TRUE(reader.Decode(&frame));
  EXPECT_NEAR(frame.pts, 1.52, 1e-6);
}

TEST(ExactSeek, IsForgottenByTheNextSeek) {
  DecoderReader reader(ShortGroupClip());
  ReadFrame frame;
  ASSERT_EQ(reader.Decoder().Seek(2.9, 2), 0);
  ASSERT_EQ(reader.Decoder().Seek(9, 0), -1);
  ASSERT_TRUE(reader.Decode(&frame));
  EXPECT_NEAR(frame.pts, 2.96, 1e-6);
}

TEST(ExactSeek, FallsBackOnTheKeyFrameWhenDecodingEnds) {
  DecoderReader reader(ShortGroupClip());
  const LogCapture log;
  EXPECT_EQ(reader.Decoder().Seek(5, 2), -1);
  EXPECT_TRUE(log.Has(kLogError, kDecoderTestTag, "_SeekNoKeyFrame failed, use seek to key frame"));
  ReadFrame frame;
  ASSERT_TRUE(reader.Receive(&frame));
  EXPECT_EQ(reader.Number(frame), 120);
}

TEST(ExactSeek, StepsBackOneIntervalFromANonKeyLanding) {
  // Key frames 4 s apart; the landing at 3 s is in the first group.
  DecoderReader reader(SparseTransport("decoder_two_groups.ts", "0,4"));
  const LogCapture log;
  EXPECT_EQ(reader.Decoder().Seek(4.4, 2), 0);
  EXPECT_EQ(log.CountContaining(kLogError, kDecoderTestTag, ""), 0);
  ReadFrame frame;
  ASSERT_TRUE(reader.Decode(&frame));
  EXPECT_NEAR(frame.pts, 4.4, 0.041);
}

TEST(ExactSeek, GivesUpAtTheSecondNonKeyLanding) {
  // An interval of 0.4 s at first, then one group of 8 s.
  DecoderReader reader(SparseTransport("decoder_uneven.ts", "0,0.4"));
  ASSERT_GT(reader.Decoder().KeyInterval(), 0);
  const LogCapture log;
  EXPECT_EQ(reader.Decoder().Seek(8, 2), -1);
  EXPECT_TRUE(log.Has(kLogWarn, kDecoderTestTag, "_SeekPreKeyFrame failed, repeat 3 count"));
  EXPECT_TRUE(log.Has(kLogError, kDecoderTestTag, "_SeekNoKeyFrame failed"));
}

}  // namespace
}  // namespace codec
