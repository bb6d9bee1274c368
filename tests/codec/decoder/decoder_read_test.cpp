// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "tests/codec/decoder/decoder_reading.h"
#include "tests/support/clips.h"
#include "tests/support/log_capture.h"
#include "tests/support/same_items.h"

namespace codec {
namespace {

using test_support::Clip;
using test_support::ClipKind;
using test_support::CustomClip;
using test_support::LogCapture;

constexpr ClipKind kSeekableKinds[] = {ClipKind::kH264, ClipKind::kVp9, ClipKind::kTransport,
                                       ClipKind::kMpeg4Avi};

std::vector<uint8_t> Joined(const std::vector<ReadFrame>& frames) {
  std::vector<uint8_t> bytes;
  for (const ReadFrame& frame : frames) {
    bytes.insert(bytes.end(), frame.bytes.begin(), frame.bytes.end());
  }
  return bytes;
}

std::vector<float> Samples(const std::vector<ReadFrame>& blocks) {
  const std::vector<uint8_t> bytes = Joined(blocks);
  std::vector<float> samples(bytes.size() / sizeof(float));
  std::memcpy(samples.data(), bytes.data(), samples.size() * sizeof(float));
  return samples;
}

// The root mean square difference of two pieces of sound of `count` samples.
double Difference(const float* a, const float* b, size_t count) {
  double sum = 0;
  for (size_t i = 0; i < count; ++i) sum += (a[i] - b[i]) * static_cast<double>(a[i] - b[i]);
  return std::sqrt(sum / static_cast<double>(count));
}

// How far our stereo sound is from what the ffmpeg program makes of the file. Both may start with a
// different number of the encoder's priming samples.
double BestDifference(const std::vector<float>& ours, const std::vector<float>& theirs) {
  constexpr size_t kFrom = 20000;  // floats
  constexpr size_t kCount = 40000;
  constexpr size_t kReach = 2 * 2112;
  double best = 1e9;
  if (ours.size() < kFrom + kCount + kReach || theirs.size() < kFrom + kCount) return best;
  for (size_t shift = kFrom - kReach; shift <= kFrom + kReach; shift += 2) {
    if (Difference(&ours[shift], &theirs[kFrom], 64) > 1e-2) continue;
    best = std::min(best, Difference(&ours[shift], &theirs[kFrom], kCount));
  }
  return best;
}

TEST(ReceiveFrame, DeliversEveryPictureWithItsTime) {
  for (const ClipKind kind : kSeekableKinds) {
    SCOPED_TRACE(test_support::ClipName(kind));
    const std::string path = Clip(kind);
    const std::vector<double> times = PictureTimes(path);
    DecoderReader reader(path);
    ASSERT_EQ(reader.InitResult(), 0);
    ASSERT_EQ(reader.Decoder().Seek(0, 3), 0);
    const std::vector<ReadFrame> frames = reader.ReceiveAll(kVideoFrame);
    ASSERT_EQ(frames.size(), times.size());
    for (size_t i = 0; i < frames.size(); ++i) {
      EXPECT_EQ(reader.Number(frames[i]), static_cast<int>(i));
      EXPECT_NEAR(frames[i].pts, times[i], 2e-6);
      EXPECT_GT(frames[i].size, 0U);
      EXPECT_LT(frames[i].size, frames[i].bytes.size());
    }
    ReadFrame frame;
    EXPECT_FALSE(reader.Receive(&frame));
    EXPECT_FALSE(reader.Receive(&frame));
  }
}

TEST(ReceiveFrame, LeavesTheLoopFilterOutOfUnreferencedPictures) {
  const std::string path = Clip(ClipKind::kH264);
  DecoderReader reader(path);
  const std::vector<uint8_t> ours = Joined(reader.ReceiveAll(kVideoFrame));
  EXPECT_TRUE(test_support::SameItems(ours, RawPictures(path, {"-skip_loop_filter", "noref"})));
  EXPECT_FALSE(ours == RawPictures(path));
}

TEST(ReceiveFrame, PacksPicturesOfOddSize) {
  const std::string path = CustomClip(
      "decoder_odd_size.mkv", {"-f", "lavfi", "-i", "testsrc2=size=322x242:rate=25,scale=321:241",
                               "-t", "0.4", "-c:v", "ffv1", "-pix_fmt", "yuv420p"});
  DecoderReader reader(path);
  EXPECT_EQ(reader.Decoder().GetFrameBufferSize(), 321 * 241 + 2 * 161 * 121);
  EXPECT_TRUE(test_support::SameItems(Joined(reader.ReceiveAll(kVideoFrame)), RawPictures(path)));
}

TEST(ReceiveFrame, DeliversVideoFirstAndDrainsBothStreams) {
  // Two seconds in which the decoder holds several pictures back at the end.
  DecoderReader reader(Clip(ClipKind::kH264));
  std::vector<uint32_t> types;
  ReadFrame frame;
  while (reader.Receive(&frame)) types.push_back(frame.type);
  EXPECT_EQ(std::count(types.begin(), types.end(), uint32_t{kVideoFrame}), 150);
  EXPECT_GT(std::count(types.begin(), types.end(), uint32_t{kAudioFrame}), 270);
  // With both decoders draining, what is left of the video comes before what is left of the sound.
  EXPECT_EQ(types[types.size() - 2], uint32_t{kVideoFrame});
}

TEST(ReceiveFrame, ReadsOnAfterASeekFromTheEnd) {
  DecoderReader reader(Clip(ClipKind::kH264));
  const size_t count = reader.ReceiveAll(kVideoFrame).size();
  ASSERT_EQ(reader.Decoder().Seek(0, 3), 0);
  EXPECT_EQ(reader.ReceiveAll(kVideoFrame).size(), count);
}

TEST(ReceiveFrame, CountsAudioTimesFromTheFirstAudioFrame) {
  DecoderReader reader(Clip(ClipKind::kTransport));
  ASSERT_EQ(reader.Decoder().Seek(0, 3), 0);
  const std::vector<ReadFrame> blocks = reader.ReceiveAll(kAudioFrame);
  ASSERT_GT(blocks.size(), 200U);
  EXPECT_NEAR(blocks[0].pts, 0, 1e-9);
  for (size_t i = 1; i < blocks.size(); ++i) {
    EXPECT_NEAR(blocks[i].pts, static_cast<double>(i) * 1024 / 48000, 1e-4);
  }
}

TEST(ReceiveFrame, DeliversSurroundAsStereoLikeFfmpeg) {
  const std::string path = Clip(ClipKind::kSurround);
  DecoderReader reader(path);
  const std::vector<ReadFrame> blocks = reader.ReceiveAll(kAudioFrame);
  ASSERT_FALSE(blocks.empty());
  for (const ReadFrame& block : blocks) EXPECT_EQ(block.size % 8, 0U);
  EXPECT_EQ(blocks[5].size, 1024U * 2 * 4);
  EXPECT_LT(BestDifference(Samples(blocks), test_support::DecodeStereo(path)), 1e-5);
}

TEST(ReceiveFrame, DeliversMonoAsStereoLikeFfmpeg) {
  const std::string path = Clip(ClipKind::kMono);
  DecoderReader reader(path);
  EXPECT_EQ(reader.Info().channels, 2);
  EXPECT_EQ(reader.Info().sample_rate, 44100);
  EXPECT_LT(
      BestDifference(Samples(reader.ReceiveAll(kAudioFrame)), test_support::DecodeStereo(path)),
      1e-5);
  EXPECT_NEAR(reader.Decoder().Counters().audioClock, 4, 0.1);
}

TEST(ReceiveFrame, DeliversHalfOfEachPackedStereoFloatBlock) {
  const std::string path = Clip(ClipKind::kPcmFloat);
  const std::vector<float> all = test_support::DecodeStereo(path);
  DecoderReader reader(path);
  EXPECT_EQ(reader.Info().sample_format, 3);
  const std::vector<ReadFrame> blocks = reader.ReceiveAll(kAudioFrame);
  ASSERT_GT(blocks.size(), 2U);
  const size_t floats = blocks[0].size / sizeof(float);
  EXPECT_EQ(std::memcmp(blocks[0].bytes.data(), all.data(), blocks[0].size), 0);
  // The next block starts after both channels of the first.
  EXPECT_EQ(std::memcmp(blocks[1].bytes.data(), all.data() + 2 * floats, blocks[1].size), 0);
}

// Two MPEG-TS pieces of different picture sizes, one after the other.
std::string ChangingClip(const std::string& name, const char* first, const char* second) {
  const auto piece = [](const char* size, const char* offset) {
    return FileBytes(
        CustomClip(std::string("decoder_piece_") + size + "_" + offset + ".ts",
                   {"-f", "lavfi", "-i", std::string("testsrc2=rate=25:size=") + size, "-t", "1",
                    "-c:v", "libx264", "-bf", "0", "-g", "10", "-output_ts_offset", offset}));
  };
  return ScratchFile(name, piece(first, "0") + piece(second, "1"));
}

TEST(ReceiveFrame, DropsPicturesAfterAChangeOfSize) {
  for (const bool growing : {true, false}) {
    const char* const before = growing ? "160x120" : "320x240";
    const char* const after = growing ? "320x240" : "160x120";
    const std::string path = ChangingClip("changing.ts", before, after);
    const LogCapture log;
    DecoderReader reader(path);
    ASSERT_EQ(reader.InitResult(), 0);
    const std::string warning =
        std::string("picture is ") + after + " yuv420p instead of " + before + " yuv420p, dropped";
    EXPECT_EQ(reader.ReceiveAll(kVideoFrame).size(), 25U);
    EXPECT_EQ(log.Count(kLogWarn, kDecoderTestTag, warning), 1);
    EXPECT_EQ(reader.Decoder().Counters().videoFramesDecoded, 50);
    ASSERT_EQ(reader.Decoder().Seek(0, 0), 0);
    EXPECT_EQ(reader.DecodeAll(kVideoFrame).size(), 25U);
  }
}

TEST(ReceiveFrame, ReadsOnThroughDamage) {
  std::string bytes = FileBytes(Clip(ClipKind::kH264NoAudio));
  const size_t from = bytes.find("mdat") + 20000;
  for (size_t i = from; i < from + 30000; i += 7) bytes[i] = static_cast<char>(bytes[i] ^ 0x5A);
  DecoderReader reader(ScratchFile("damaged.mp4", bytes));
  ASSERT_EQ(reader.InitResult(), 0);
  const std::vector<ReadFrame> frames = reader.ReceiveAll(kVideoFrame);
  ASSERT_GT(frames.size(), 60U);
  EXPECT_NEAR(frames.back().pts, 4.96, 0.05);
}

std::string StamplessClip() {
  return CustomClip("decoder_stampless.h264",
                    {"-f", "lavfi", "-i", "testsrc2=size=64x48:rate=25", "-t", "1", "-c:v",
                     "libx264", "-g", "10", "-bf", "0", "-f", "h264"});
}

TEST(ReceiveFrame, SpacesPicturesWithoutStampsByTheFrameRate) {
  DecoderReader reader(StamplessClip());
  ASSERT_EQ(reader.InitResult(), 0);
  const std::vector<ReadFrame> frames = reader.ReceiveAll(kVideoFrame);
  ASSERT_GE(frames.size(), 20U);
  for (size_t i = 1; i < frames.size(); ++i) {
    EXPECT_NEAR(frames[i].pts - frames[i - 1].pts, 0.04, 1e-6);
    EXPECT_GE(frames[i].pts, 0);
  }
}

TEST(DecodeFrame, SpacesPicturesWithoutStampsByTheFrameRate) {
  DecoderReader reader(StamplessClip());
  const std::vector<ReadFrame> frames = reader.DecodeAll(kVideoFrame);
  ASSERT_GE(frames.size(), 20U);
  for (size_t i = 1; i < frames.size(); ++i) {
    EXPECT_GE(frames[i].pts, 0);
    EXPECT_LT(frames[i].pts, 2);
  }
}

TEST(DecodeFrame, DeliversPicturesInOrderAndTheirPackedSize) {
  const std::string path = Clip(ClipKind::kH264);
  DecoderReader reader(path);
  const std::vector<ReadFrame> frames = reader.DecodeAll(kVideoFrame);
  ASSERT_EQ(frames.size(), 150U);
  for (size_t i = 0; i < frames.size(); ++i) {
    EXPECT_EQ(reader.Number(frames[i]), static_cast<int>(i));
    EXPECT_EQ(frames[i].size, 640U * 360 * 3 / 2);
  }
  EXPECT_TRUE(
      test_support::SameItems(Joined(frames), RawPictures(path, {"-skip_loop_filter", "noref"})));
  EXPECT_GT(reader.Decoder().Counters().delayedFrames, 0);
}

TEST(DecodeFrame, GivesPicturesThePtsOfTheirPacket) {
  // Without B-frames the packet that is decoded is the picture's own, give or take the delay.
  DecoderReader reader(Clip(ClipKind::kH264Short));
  const std::vector<ReadFrame> frames = reader.DecodeAll(kVideoFrame);
  ASSERT_EQ(frames.size(), 75U);
  for (size_t i = 1; i + 4 < frames.size(); ++i) {
    EXPECT_NEAR(frames[i].pts - frames[i - 1].pts, 0.04, 1e-6);
  }
}

TEST(DecodeFrame, LogsTheEndOfInputEachTime) {
  DecoderReader reader(Clip(ClipKind::kTiny));
  reader.DecodeAll(kVideoFrame);
  const LogCapture log;
  ReadFrame frame;
  EXPECT_FALSE(reader.Decode(&frame));
  EXPECT_FALSE(reader.Decode(&frame));
  EXPECT_EQ(log.Count(kLogDebug, kDecoderTestTag, "Demuxing over."), 2);
}

TEST(DecodeFrame, LeavesDelayedPicturesBehindWhereTheSoundIsTheFirstStream) {
  const auto clip = [](const std::string& name, const std::vector<std::string>& order) {
    std::vector<std::string> words = {"-f", "lavfi", "-i", "testsrc2=size=64x48:rate=25",
                                      "-f", "lavfi", "-i", "anullsrc=r=48000:cl=stereo"};
    words.insert(words.end(), order.begin(), order.end());
    words.insert(words.end(), {"-t", "2", "-c:v", "libx264", "-bf", "3", "-c:a", "aac"});
    return CustomClip(name, words);
  };
  const std::string pictureFirst = clip("decoder_picture_first.mp4", {"-map", "0", "-map", "1"});
  EXPECT_EQ(DecoderReader(pictureFirst).DecodeAll(kVideoFrame).size(), 50U);
  const std::string soundFirst = clip("decoder_sound_first.mp4", {"-map", "1", "-map", "0"});
  EXPECT_EQ(DecoderReader(soundFirst).ReceiveAll(kVideoFrame).size(), 50U);
  EXPECT_LT(DecoderReader(soundFirst).DecodeAll(kVideoFrame).size(), 50U);
}

TEST(DecodeFrame, DeliversTheSameSoundAsReceiveFrame) {
  const std::string path = Clip(ClipKind::kSurround);
  DecoderReader one(path);
  DecoderReader other(path);
  const std::vector<ReadFrame> received = one.ReceiveAll(kAudioFrame);
  const std::vector<ReadFrame> decoded = other.DecodeAll(kAudioFrame);
  ASSERT_EQ(received.size(), decoded.size());
  EXPECT_TRUE(test_support::SameItems(Joined(received), Joined(decoded)));
}

TEST(DecodeFrame, LogsPacketsThatDoNotDecode) {
  std::string bytes = FileBytes(Clip(ClipKind::kH264Short));
  const size_t from = bytes.find("mdat") + 20000;
  for (size_t i = from; i < from + 60000; ++i) bytes[i] = static_cast<char>(0xFF);
  const LogCapture log;
  DecoderReader reader(ScratchFile("damaged_packets.mp4", bytes));
  ASSERT_EQ(reader.InitResult(), 0);
  EXPECT_GT(reader.DecodeAll(kVideoFrame).size(), 10U);
  EXPECT_GT(log.CountContaining(kLogWarn, kDecoderTestTag, "Error decoding video frame ret (-"), 0);
  EXPECT_GT(log.CountContaining(kLogError, kDecoderTestTag, "Error decoding audio frame (-"), 0);
  EXPECT_GT(log.CountContaining(kLogWarn, kDecoderTestTag, " got_frame:0"), 0);
}

TEST(DecodeFrame, DecodesWithoutABuffer) {
  FFmpegDecoderImpl2 decoder(Clip(ClipKind::kTiny).c_str());
  ASSERT_EQ(decoder.Init(), 0);
  uint32_t size = 9;
  uint32_t type = 0;
  double pts = 0;
  EXPECT_EQ(decoder.DecodeFrame(nullptr, &size, &type, &pts), 0);
  EXPECT_EQ(size, 0U);
  EXPECT_NE(type, 0U);
}

}  // namespace
}  // namespace codec
