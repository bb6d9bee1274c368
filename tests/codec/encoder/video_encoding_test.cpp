// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "codec/encoder/ffmpeg_encoder_impl.h"
#include "codec/ffmpeg/ffmpeg_headers.h"
#include "tests/codec/encoder/encoder_fixture.h"
#include "tests/faults/faults.h"
#include "tests/support/command.h"
#include "tests/support/media_reading.h"

namespace codec {
namespace {

using encoder_test::kEncoderTag;
using encoder_test::Texts;
using test_support::Fault;
using test_support::FaultCall;
using test_support::LogCapture;
using test_support::ScratchPath;
using Lines = std::vector<std::string>;

class VideoEncoding : public testing::Test {
 protected:
  void Open(const MediaFormat& format) {
    ASSERT_EQ(encoder_test::Configure(&mEncoder, format), 0);
    ASSERT_EQ(mEncoder.Open(), 0);
    mLog.Clear();
  }
  int Encode(int64_t ptsUs) {
    std::vector<uint8_t> picture = encoder_test::Picture(mNext++);
    const int result = mEncoder.EncodeVideo(picture.data(), 1234, ptsUs);
    picture.assign(picture.size(), 0);  // the bytes are the caller's again
    return result;
  }
  // The frame numbers of the packets in a file at this rate.
  static std::vector<long> Numbers(const std::string& path, double rate) {
    std::vector<long> numbers;
    for (const double time : encoder_test::PacketTimes(path)) {
      numbers.push_back(std::lround(time * rate));
    }
    return numbers;
  }

  LogCapture mLog;
  FFmpegEncoderImpl mEncoder;
  int mNext = 0;
};

TEST_F(VideoEncoding, NumbersPicturesByTheirRoundedTimeAndAlwaysUpwards) {
  struct Row {
    int64_t ptsUs;
    long number;
  };
  for (const bool sendReceive : {false, true}) {
    const std::string path = ScratchPath("numbers.mkv");
    MediaFormat format = encoder_test::VideoFormat(path);
    format.SetInt32("frame-rate", 25);
    FFmpegEncoderImpl encoder;
    encoder_test::Configure(&encoder, format);
    ASSERT_EQ(encoder.Open(), 0);
    if (sendReceive) encoder.ForceSendReceive();
    const std::vector<Row> rows = {{0, 0},       {0, 1},       {59999, 2},    {140000, 4},
                                   {140000, 5},  {40000, 6},   {-900000, 7},  {300000, 8},
                                   {419999, 10}, {420000, 11}, {1000000, 25}, {999999, 26}};
    std::vector<long> expected;
    for (const Row& row : rows) {
      std::vector<uint8_t> picture = encoder_test::Picture(static_cast<int>(row.number));
      EXPECT_EQ(encoder.EncodeVideo(picture.data(), 0, row.ptsUs), 0);
      expected.push_back(row.number);
    }
    encoder.Close();
    EXPECT_EQ(Numbers(path, 25), expected) << sendReceive;
  }
}

TEST_F(VideoEncoding, OneSecondAtThirtyFramesASecondIsNumberThirty) {
  const std::string path = ScratchPath("thirty.mkv");
  MediaFormat format = encoder_test::VideoFormat(path);
  format.SetInt32("frame-rate", 30);
  Open(format);
  EXPECT_EQ(Encode(0), 0);
  EXPECT_EQ(Encode(1000000), 0);
  mEncoder.Close();
  EXPECT_EQ(Numbers(path, 30), (std::vector<long>{0, 30}));
}

TEST_F(VideoEncoding, SurvivesTimesAtTheEndsOfTheirRange) {
  Open(encoder_test::VideoFormat(ScratchPath("ends.mkv")));
  for (const int64_t time : {std::numeric_limits<int64_t>::min(), int64_t{0},
                             std::numeric_limits<int64_t>::max(), int64_t{0}}) {
    Encode(time);
  }
  mEncoder.Close();
}

TEST_F(VideoEncoding, WithoutVideoTakesNothing) {
  Open(encoder_test::SoundFormat(ScratchPath("mute.m4a"), "aac"));
  EXPECT_EQ(Encode(0), 0);
  mEncoder.Close();
  EXPECT_TRUE(mLog.Has(kLogInfo, kEncoderTag, "encode video frames:0,pkt queue:0"));
}

TEST_F(VideoEncoding, BothInterfacesWriteTheSamePackets) {
  std::string bytes;
  for (const bool sendReceive : {false, true}) {
    const std::string path = ScratchPath("same.ts");
    FFmpegEncoderImpl encoder;
    encoder_test::Configure(&encoder, encoder_test::VideoFormat(path));
    ASSERT_EQ(encoder.Open(), 0);
    if (sendReceive) encoder.ForceSendReceive();
    EXPECT_EQ(encoder_test::Feed(&encoder, 20), 0);
    encoder.Close();
    EXPECT_EQ(encoder_test::PacketCount(path, "v"), 20);
    if (sendReceive) {
      EXPECT_EQ(encoder_test::ReadBytes(path), bytes);
    }
    bytes = encoder_test::ReadBytes(path);
  }
}

TEST_F(VideoEncoding, SendReceiveKeepsTheLastPicturesDuration) {
  const std::string path = ScratchPath("last.mp4");
  Open(encoder_test::VideoFormat(path));
  mEncoder.ForceSendReceive();
  EXPECT_EQ(encoder_test::Feed(&mEncoder, 10), 0);
  mEncoder.Close();
  EXPECT_EQ(encoder_test::Probe(path, "v", "stream=avg_frame_rate,duration"),
            (Lines{"25/1", "0.400000"}));
}

TEST_F(VideoEncoding, OneCallInterfaceReportsEmptyOutputAndCountsItOnce) {
  MediaFormat format = encoder_test::VideoFormat(ScratchPath("late.mkv"));
  format.SetString("thread-type", "frame");
  format.SetInt32("thread-count", 4);
  Open(format);
  for (int i = 0; i < 6; ++i) EXPECT_EQ(Encode(40000 * i), 0);
  const int empty = mLog.Count(kLogWarn, kEncoderTag, "video pkt.size = 0");
  EXPECT_GE(empty, 2);
  EXPECT_EQ(Texts(mLog, kLogInfo), (Lines{"m_ignoredVideoFrames(1)"}));
  mEncoder.Close();
  EXPECT_EQ(encoder_test::PacketCount(ScratchPath("late.mkv"), "v"), 6 - empty);
  EXPECT_EQ(mLog.CountContaining(kLogDebug, kEncoderTag, "encode video eof"), 0);
}

TEST_F(VideoEncoding, SendReceiveGivesDelayedPacketsTheirOwnStamps) {
  const std::string path = ScratchPath("delayed.mkv");
  MediaFormat format = encoder_test::VideoFormat(path);
  format.SetString("thread-type", "frame");
  format.SetInt32("thread-count", 4);
  Open(format);
  mEncoder.ForceSendReceive();
  for (const int64_t time : {0, 80000, 160000, 400000, 440000, 1000000}) EXPECT_EQ(Encode(time), 0);
  EXPECT_EQ(Texts(mLog, kLogInfo), (Lines{"m_ignoredVideoFrames(1)"}));
  mEncoder.Close();
  EXPECT_EQ(Numbers(path, 25), (std::vector<long>{0, 2, 4, 10, 11, 25}));
  EXPECT_TRUE(mLog.Has(kLogInfo, kEncoderTag, "encode video frames:6,pkt queue:0"));
  EXPECT_EQ(mLog.Count(kLogDebug, kEncoderTag, "encode video eof"), 1);
}

TEST_F(VideoEncoding, OneCallFailureIsLoggedAndReturned) {
  Open(encoder_test::VideoFormat(ScratchPath("fail.mkv")));
  {
    const Fault fault(FaultCall::avcodec_send_frame, 0, AVERROR(EIO));
    EXPECT_EQ(Encode(0), AVERROR(EIO));
  }
  {
    const Fault fault(FaultCall::avcodec_receive_packet, 0, AVERROR(ENOMEM));
    EXPECT_EQ(Encode(40000), AVERROR(ENOMEM));
  }
  EXPECT_EQ(mLog.Count(kLogError, kEncoderTag, "Error encoding video frame"), 2);
  EXPECT_EQ(mLog.CountContaining(kLogInfo, kEncoderTag, "m_ignored"), 0);
  mEncoder.Close();
  EXPECT_TRUE(mLog.Has(kLogInfo, kEncoderTag, "encode video frames:2,pkt queue:0"));
}

TEST_F(VideoEncoding, SendFailuresAreNamed) {
  Open(encoder_test::VideoFormat(ScratchPath("send.mkv")));
  mEncoder.ForceSendReceive();
  const std::vector<std::pair<int, const char*>> rows = {
      {AVERROR(EAGAIN), "AVERROR(EAGAIN)"},
      {AVERROR_EOF, "AVERROR_EOF"},
      {AVERROR(EINVAL), "AVERROR(EINVAL)"},
      {AVERROR(ENOMEM), "AVERROR(ENOMEM"},
      {AVERROR(EIO), "legitimate decoding errors"}};
  for (const auto& [error, text] : rows) {
    mLog.Clear();
    const Fault fault(FaultCall::avcodec_send_frame, 0, error);
    EXPECT_EQ(Encode(0), error);
    EXPECT_EQ(Texts(mLog, kLogWarn),
              (Lines{std::string("avcodec_send_frame fail, error:") + text}));
    EXPECT_EQ(Texts(mLog, kLogInfo), Lines{});
  }
  mEncoder.Close();
  EXPECT_TRUE(mLog.Has(kLogInfo, kEncoderTag, "encode video frames:5,pkt queue:5"));
}

TEST_F(VideoEncoding, ReceiveFailuresAreReturnedAndCountedUntilTheFirstSuccess) {
  Open(encoder_test::VideoFormat(ScratchPath("receive.mkv")));
  mEncoder.ForceSendReceive();
  {
    const Fault fault(FaultCall::avcodec_receive_packet, 1, AVERROR(EINVAL));
    EXPECT_EQ(Encode(0), AVERROR(EINVAL));
  }
  {
    const Fault fault(FaultCall::avcodec_receive_packet, 1, AVERROR(EIO));
    EXPECT_EQ(Encode(40000), AVERROR(EIO));
  }
  EXPECT_EQ(Texts(mLog, kLogWarn),
            (Lines{"avcodec_receive_packet fail, error:AVERROR(EINVAL)",
                   "avcodec_receive_packet fail, error:legitimate decoding errors"}));
  EXPECT_EQ(Texts(mLog, kLogInfo), (Lines{"m_ignoredVideoFrames(1)", "m_ignoredVideoFrames(2)"}));
  EXPECT_EQ(Encode(80000), 0);
  EXPECT_EQ(Texts(mLog, kLogInfo).back(), "m_ignoredVideoFrames(3)");
  const Fault fault(FaultCall::avcodec_receive_packet, 1, AVERROR(EIO));
  EXPECT_EQ(Encode(120000), AVERROR(EIO));
  EXPECT_EQ(Texts(mLog, kLogInfo).size(), 3U);
  mEncoder.Close();
}

TEST_F(VideoEncoding, EndOfStreamIsReturnedWithoutCounting) {
  Open(encoder_test::VideoFormat(ScratchPath("eof.mkv")));
  mEncoder.ForceSendReceive();
  const Fault fault(FaultCall::avcodec_receive_packet, 0, AVERROR_EOF);
  EXPECT_EQ(Encode(0), AVERROR_EOF);
  EXPECT_EQ(Texts(mLog, kLogDebug), (Lines{"encode video eof"}));
  EXPECT_EQ(Texts(mLog, kLogInfo), Lines{});
  mEncoder.Close();
}

// Several pictures are encoded at a time, after the calls that brought them. The caller's bytes are
// others by then.
TEST(VideoEncodingInThreads, KeepsPicturesThatAreEncodedLater) {
  constexpr int kWide = 1280;
  constexpr int kHigh = 720;
  constexpr int kPictures = 12;
  const std::string path = ScratchPath("later.mkv");
  MediaFormat format = encoder_test::VideoFormat(path);
  format.SetString("video-codec", "huffyuv");
  format.SetString("output-color-format", "yuv422p");
  format.SetString("thread-type", "frame");
  format.SetInt32("thread-count", 4);
  format.SetInt32("width", kWide);
  format.SetInt32("height", kHigh);
  FFmpegEncoderImpl encoder;
  encoder_test::Configure(&encoder, format);
  ASSERT_EQ(encoder.Open(), 0);
  constexpr size_t kBytes = size_t{kWide} * kHigh * 2;
  std::vector<uint8_t> picture(kBytes);
  for (int i = 0; i < kPictures; ++i) {
    // Every row has a value of its own.
    for (size_t at = 0; at < kBytes; ++at) {
      picture[at] = static_cast<uint8_t>(at / kWide + static_cast<size_t>(i) * 20);
    }
    EXPECT_EQ(encoder.EncodeVideo(picture.data(), 0, int64_t{40000} * i), 0);
    std::fill(picture.begin(), picture.end(), uint8_t{7});
  }
  encoder.Close();
  const std::vector<test_support::Picture> shown = test_support::DecodeLuma(path);
  // The last ones stay in the encoder.
  ASSERT_GE(shown.size(), 4U);
  for (size_t i = 0; i < shown.size(); ++i) {
    for (size_t row = 0; row < kHigh; ++row) {
      ASSERT_EQ(shown[i].luma[row * kWide], static_cast<uint8_t>(row + i * 20)) << i << " " << row;
    }
  }
}

TEST(VideoEncoderAlone, WritesALateHeaderOnceItHasExtradata) {
  const std::string path = ScratchPath("late-header.mp4");
  const EncoderSettings settings = encoder_test::SettingsOf(encoder_test::VideoFormat(path));
  for (const bool sendReceive : {false, true}) {
    OutputFile file;
    VideoEncoder video(settings, &file);
    ASSERT_EQ(file.Create(path, DefaultEncoderOptions()), 0);
    ASSERT_EQ(video.Create(DefaultEncoderOptions()), 0);
    video.SetSendReceive(sendReceive);
    EXPECT_FALSE(file.HeaderWritten());
    for (int i = 0; i < 4; ++i) {
      EXPECT_EQ(video.Encode(encoder_test::Picture(i).data(), int64_t{40000} * i), 0);
      EXPECT_TRUE(file.HeaderWritten());
    }
    file.WriteTrailer();
    video.Close();
    file.Close();
    EXPECT_EQ(file.OutputError(), 0);
    EXPECT_EQ(encoder_test::PacketCount(path, "v"), 4);
  }
}

TEST(VideoEncoderAlone, EncodesNothingBeforeCreateNorAfterClose) {
  const std::string path = ScratchPath("closed.mp4");
  const EncoderSettings settings = encoder_test::SettingsOf(encoder_test::VideoFormat(path));
  const std::vector<uint8_t> picture = encoder_test::Picture(0);
  OutputFile file;
  VideoEncoder video(settings, &file);
  EXPECT_EQ(video.Encode(picture.data(), 0), AVERROR(EINVAL));
  EXPECT_EQ(video.Drain(), 0);
  ASSERT_EQ(file.Create(path, DefaultEncoderOptions()), 0);
  ASSERT_EQ(video.Create(DefaultEncoderOptions()), 0);
  video.Close();
  EXPECT_EQ(video.Encode(picture.data(), 0), AVERROR(EINVAL));
  EXPECT_EQ(video.Drain(), 0);
}

}  // namespace
}  // namespace codec
