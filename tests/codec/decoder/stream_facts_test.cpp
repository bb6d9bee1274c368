// SPDX-License-Identifier: MIT
#include "codec/decoder/stream_facts.h"

#include <gtest/gtest.h>

#include <cmath>

#include "codec/ffmpeg/owned.h"

namespace codec {
namespace {

constexpr AVRational kUnset = {0, 0};
constexpr AVRational kZero = {0, 1};

TEST(StreamFacts, NormalisesRotation) {
  EXPECT_DOUBLE_EQ(RotationDegrees("90"), 90);
  EXPECT_DOUBLE_EQ(RotationDegrees("-90"), 270);
  EXPECT_DOUBLE_EQ(RotationDegrees("450"), 90);
  EXPECT_DOUBLE_EQ(RotationDegrees("270.5"), 270.5);
}

TEST(StreamFacts, TakesAnAngleJustBelowAFullTurnToJustBelowZero) {
  EXPECT_DOUBLE_EQ(RotationDegrees("359.5"), -0.5);
  EXPECT_DOUBLE_EQ(RotationDegrees("359"), 359);
}

TEST(StreamFacts, IgnoresRotationTextThatIsNoNumber) {
  for (const char* text : {"", "0", "abc", "90x", "90 ", "inf", "nan", "1e308"}) {
    EXPECT_LE(std::abs(RotationDegrees(text)), text[0] == '1' ? 360.0 : 0.0) << text;
  }
}

TEST(StreamFacts, TakesTheAverageRate) {
  EXPECT_DOUBLE_EQ(*FrameRate({30000, 1001}, {60, 1}, {1, 50}, 2), 30000.0 / 1001);
}

TEST(StreamFacts, TakesTheRealBaseRateWhereTheAverageIsUnusable) {
  EXPECT_DOUBLE_EQ(*FrameRate(kZero, {90000, 1}, kUnset, 1), 90000);
  EXPECT_DOUBLE_EQ(*FrameRate(kUnset, {25, 1}, kUnset, 1), 25);
  EXPECT_DOUBLE_EQ(*FrameRate({1, 0}, {25, 1}, kUnset, 1), 25);
}

TEST(StreamFacts, SimplifiesTheAverageWhereTheRealBaseRateIsAClock) {
  const double simplified = av_q2d(av_d2q(30000.0 / 1001, 1024));
  EXPECT_NE(simplified, 30000.0 / 1001);
  EXPECT_EQ(*FrameRate({30000, 1001}, {1000, 1}, kUnset, 1), simplified);
  EXPECT_EQ(*FrameRate({30000, 1001}, {999, 1}, kUnset, 1), 30000.0 / 1001);
}

TEST(StreamFacts, FallsBackOnTheDecodersTimeBase) {
  EXPECT_DOUBLE_EQ(*FrameRate(kUnset, kUnset, {1, 50}, 2), 25);
  EXPECT_DOUBLE_EQ(*FrameRate({1, 2}, {1, 2}, {1, 50}, 2), 25);
}

TEST(StreamFacts, GivesNoRateBelowOne) {
  EXPECT_FALSE(FrameRate({1, 2}, {1, 2}, {2, 1}, 1).has_value());
  EXPECT_FALSE(FrameRate(kUnset, kUnset, kUnset, 1).has_value());
  EXPECT_FALSE(FrameRate(kZero, kZero, {0, 1}, 2).has_value());
  EXPECT_EQ(FrameRate({1, 1}, kUnset, kUnset, 1), 1.0);
}

TEST(StreamFacts, ComputesTheDurationInSinglePrecision) {
  // 2^24 + 1 microseconds are not a single-precision number.
  EXPECT_EQ(DurationSeconds(16777217, AV_NOPTS_VALUE, {1, 1}),
            static_cast<double>(16777216.0F / 1000000.0F));
  EXPECT_NE(DurationSeconds(16777217, AV_NOPTS_VALUE, {1, 1}), 16.777217);
}

TEST(StreamFacts, TakesTheStreamsDurationWhereTheDemuxerHasNone) {
  EXPECT_DOUBLE_EQ(DurationSeconds(AV_NOPTS_VALUE, 15360 * 3 + 1, {1, 15360}), 46081.0 / 15360);
  EXPECT_EQ(DurationSeconds(AV_NOPTS_VALUE, AV_NOPTS_VALUE, {1, 15360}), 0);
}

TEST(StreamFacts, FoldsFullRangePlanarFormats) {
  EXPECT_EQ(FoldedPixelFormat(AV_PIX_FMT_YUVJ420P), AV_PIX_FMT_YUV420P);
  EXPECT_EQ(FoldedPixelFormat(AV_PIX_FMT_YUVJ422P), AV_PIX_FMT_YUV422P);
  EXPECT_EQ(FoldedPixelFormat(AV_PIX_FMT_YUVJ444P), AV_PIX_FMT_YUV444P);
  EXPECT_EQ(FoldedPixelFormat(AV_PIX_FMT_YUVJ411P), AV_PIX_FMT_YUV411P);
  EXPECT_EQ(FoldedPixelFormat(AV_PIX_FMT_YUVJ440P), AV_PIX_FMT_YUVJ440P);
  EXPECT_EQ(FoldedPixelFormat(AV_PIX_FMT_BGRA), AV_PIX_FMT_BGRA);
}

TEST(StreamFacts, CodesProfiles) {
  EXPECT_EQ(ProfileCode(66), 0);
  EXPECT_EQ(ProfileCode(578), 0);
  EXPECT_EQ(ProfileCode(77), 1);
  EXPECT_EQ(ProfileCode(100), 2);
  EXPECT_EQ(ProfileCode(110), -1);
  EXPECT_EQ(ProfileCode(-99), -1);
}

TEST(StreamFacts, CodesTheFirstTenSampleFormats) {
  for (int format = 0; format < 10; ++format) {
    EXPECT_EQ(SampleFormatCode(static_cast<AVSampleFormat>(format)), format);
  }
  EXPECT_EQ(SampleFormatCode(AV_SAMPLE_FMT_S64), -1);
  EXPECT_EQ(SampleFormatCode(AV_SAMPLE_FMT_S64P), -1);
  EXPECT_EQ(SampleFormatCode(AV_SAMPLE_FMT_NONE), -1);
}

TEST(StreamFacts, ComputesTheKeyInterval) {
  EXPECT_EQ(KeyIntervalTicks(29 + 1, 30, {1, 15360}), 15360);
  EXPECT_EQ(KeyIntervalTicks(3, 25, {1, 10}), 1);  // 1.2, truncated
}

TEST(StreamFacts, GivesNoKeyIntervalThatDoesNotFit) {
  EXPECT_FALSE(KeyIntervalTicks(30, 0, {1, 15360}).has_value());
  EXPECT_FALSE(KeyIntervalTicks(1 << 30, 1, {1, 90000}).has_value());
}

constexpr int kUnknown = -99;

int Held(AVCodecID codec, int level, int width, int height, int delay = 0) {
  AVCodecParameters parameters{};
  parameters.codec_id = codec;
  parameters.level = level;
  parameters.width = width;
  parameters.height = height;
  parameters.video_delay = delay;
  return PicturesHeld(&parameters);
}

// The numbers of the standards for well-known sizes.
TEST(StreamFacts, CountsThePicturesThatALevelLetsADecoderHold) {
  EXPECT_EQ(Held(AV_CODEC_ID_H264, 40, 1920, 1088), 4);
  EXPECT_EQ(Held(AV_CODEC_ID_H264, 41, 1280, 720), 9);
  EXPECT_EQ(Held(AV_CODEC_ID_H264, 31, 1280, 720), 5);
  EXPECT_EQ(Held(AV_CODEC_ID_H264, 51, 3840, 2160), 5);
  EXPECT_EQ(Held(AV_CODEC_ID_H264, 51, 640, 360), 16);
  EXPECT_EQ(Held(AV_CODEC_ID_H264, 10, 3840, 2160), 1) << "the level is too low for the size";
  EXPECT_EQ(Held(AV_CODEC_ID_H264, 40, 1920, 1088, 2), 6) << "and those that wait";
  EXPECT_EQ(Held(AV_CODEC_ID_HEVC, 150, 3840, 2160), 6);
  EXPECT_EQ(Held(AV_CODEC_ID_HEVC, 123, 1920, 1080), 6);
  EXPECT_EQ(Held(AV_CODEC_ID_HEVC, 153, 1920, 1080), 16);
  EXPECT_EQ(Held(AV_CODEC_ID_HEVC, 123, 1280, 720, 1), 13);
}

TEST(StreamFacts, GuessesThePicturesHeldWhereThereIsNoLevel) {
  EXPECT_EQ(Held(AV_CODEC_ID_H264, kUnknown, 1920, 1080), 4);
  EXPECT_EQ(Held(AV_CODEC_ID_HEVC, kUnknown, 1920, 1080), 6);
  EXPECT_EQ(Held(AV_CODEC_ID_VP9, kUnknown, 1920, 1080), 8);
  EXPECT_EQ(Held(AV_CODEC_ID_H264, 40, 0, 0), 16);
}

constexpr std::optional<ScannedLength> kNoScan;

ScannedLength Scanned(double end) { return {end, end}; }

// A file of 4 s with streams in milliseconds.
class ToldLength : public testing::Test {
 protected:
  void SetUp() override {
    mFile.reset(avformat_alloc_context());
    mFile->iformat = av_find_input_format("mpegts");
    mFile->start_time = 0;
    mFile->duration = 4 * AV_TIME_BASE;
    mFile->duration_estimation_method = AVFMT_DURATION_FROM_STREAM;
  }

  // Closing a file calls its format, which has not opened this one.
  void TearDown() override { mFile->iformat = nullptr; }

  AVStream* Add(AVMediaType type, int64_t start, int64_t duration) {
    AVStream* const stream = avformat_new_stream(mFile.get(), nullptr);
    stream->codecpar->codec_type = type;
    stream->time_base = {1, 1000};
    stream->start_time = start;
    stream->duration = duration;
    return stream;
  }

  ffmpeg::UniqueInput mFile;
};

TEST_F(ToldLength, CountsIfNoStreamIsLonger) {
  Add(AVMEDIA_TYPE_VIDEO, 10, 3990);
  Add(AVMEDIA_TYPE_AUDIO, 0, 4001);
  EXPECT_FALSE(IsLengthVague(mFile.get()));
  EXPECT_DOUBLE_EQ(ToldEnd(mFile.get(), Scanned(4.5)).value(), 4);
}

TEST_F(ToldLength, IsVagueIfAStreamBeginsLaterThanItCounts) {
  Add(AVMEDIA_TYPE_VIDEO, 720, 4000);
  Add(AVMEDIA_TYPE_AUDIO, 0, 4000);
  EXPECT_TRUE(IsLengthVague(mFile.get()));
  EXPECT_DOUBLE_EQ(ToldEnd(mFile.get(), kNoScan).value(), 4);
  EXPECT_DOUBLE_EQ(ToldEnd(mFile.get(), Scanned(3.5)).value(), 4);
  EXPECT_DOUBLE_EQ(ToldEnd(mFile.get(), Scanned(4.5)).value(), 4.5);
  EXPECT_DOUBLE_EQ(ToldEnd(mFile.get(), Scanned(4.73)).value(), 4.72);
}

TEST_F(ToldLength, IsThatOfThePacketsIfAllStreamsAreShorter) {
  Add(AVMEDIA_TYPE_VIDEO, 0, 3960);
  AVStream* const sound = Add(AVMEDIA_TYPE_AUDIO, 20, 3958);
  EXPECT_FALSE(IsLengthVague(mFile.get()));
  EXPECT_TRUE(EndsAfterStreams(mFile.get()));
  EXPECT_DOUBLE_EQ(ToldEnd(mFile.get(), kNoScan).value(), 4);
  EXPECT_DOUBLE_EQ(ToldEnd(mFile.get(), Scanned(3.9)).value(), 3.978);
  EXPECT_DOUBLE_EQ(ToldEnd(mFile.get(), Scanned(3.98)).value(), 3.98);
  EXPECT_DOUBLE_EQ(ToldEnd(mFile.get(), Scanned(4.5)).value(), 4);
  sound->duration = 3979;
  EXPECT_FALSE(EndsAfterStreams(mFile.get()));
  EXPECT_DOUBLE_EQ(ToldEnd(mFile.get(), Scanned(3.9)).value(), 4);
  sound->duration = AV_NOPTS_VALUE;
  EXPECT_FALSE(EndsAfterStreams(mFile.get()));
}

TEST_F(ToldLength, IsThatOfSubtitlesIfTheyAreLongest) {
  Add(AVMEDIA_TYPE_VIDEO, 0, 3960);
  Add(AVMEDIA_TYPE_VIDEO, 0, 0)->disposition = AV_DISPOSITION_ATTACHED_PIC;
  EXPECT_TRUE(EndsAfterStreams(mFile.get()));
  Add(AVMEDIA_TYPE_SUBTITLE, 0, 4000);
  EXPECT_FALSE(EndsAfterStreams(mFile.get()));
  EXPECT_DOUBLE_EQ(ToldEnd(mFile.get(), Scanned(3.96)).value(), 4);
}

TEST_F(ToldLength, StandsIfAllStreamsAreMuchShorter) {
  Add(AVMEDIA_TYPE_VIDEO, 0, 3890);
  EXPECT_FALSE(EndsAfterStreams(mFile.get()));
  EXPECT_DOUBLE_EQ(ToldEnd(mFile.get(), Scanned(3.89)).value(), 4);
}

// Matroska does not tell how long a packet lasts, so that its last packet may seem too long.
TEST_F(ToldLength, CountsInMatroskaIfItLiesWithinTheLastPacket) {
  Add(AVMEDIA_TYPE_VIDEO, 0, 7000);
  EXPECT_DOUBLE_EQ(ToldEnd(mFile.get(), ScannedLength{7, 3.9}).value(), 7);
  mFile->iformat = av_find_input_format("matroska");
  EXPECT_DOUBLE_EQ(ToldEnd(mFile.get(), ScannedLength{7, 3.9}).value(), 4);
  EXPECT_DOUBLE_EQ(ToldEnd(mFile.get(), ScannedLength{7, 4}).value(), 7);
  mFile->iformat = nullptr;  // nothing was opened
}

TEST_F(ToldLength, IsNoneIfTheFileBeginsLate) {
  mFile->start_time = AV_TIME_BASE;
  EXPECT_TRUE(IsLengthVague(mFile.get()));
  EXPECT_EQ(ToldEnd(mFile.get(), kNoScan), std::nullopt);
  mFile->duration_estimation_method = AVFMT_DURATION_FROM_PTS;
  EXPECT_FALSE(IsLengthVague(mFile.get()));
  EXPECT_DOUBLE_EQ(ToldEnd(mFile.get(), kNoScan).value(), 5);
}

// NUT tells when its last packet begins, and FFmpeg says that it has worked this out.
TEST_F(ToldLength, IsNoneIfItIsWhenTheLastPacketBegins) {
  mFile->duration_estimation_method = AVFMT_DURATION_FROM_PTS;
  EXPECT_FALSE(IsLengthVague(mFile.get()));
  mFile->iformat = av_find_input_format("nut");
  EXPECT_TRUE(IsLengthVague(mFile.get()));
  EXPECT_EQ(ToldEnd(mFile.get(), Scanned(4.04)), std::nullopt);
}

TEST_F(ToldLength, IsNoneIfItIsAGuess) {
  mFile->duration_estimation_method = AVFMT_DURATION_FROM_BITRATE;
  EXPECT_TRUE(IsLengthVague(mFile.get()));
  EXPECT_EQ(ToldEnd(mFile.get(), Scanned(4.5)), std::nullopt);
}

TEST_F(ToldLength, DoesNotAskStreamsThatAreNotPlayed) {
  Add(AVMEDIA_TYPE_SUBTITLE, 0, 9000);
  Add(AVMEDIA_TYPE_VIDEO, 0, 9000)->disposition = AV_DISPOSITION_ATTACHED_PIC;
  Add(AVMEDIA_TYPE_VIDEO, AV_NOPTS_VALUE, 9000);
  Add(AVMEDIA_TYPE_AUDIO, 4500, AV_NOPTS_VALUE);
  EXPECT_FALSE(IsLengthVague(mFile.get()));
  EXPECT_DOUBLE_EQ(ToldEnd(mFile.get(), kNoScan).value(), 4);
}

TEST(LikelyEnd, IsWhatIsKnown) {
  EXPECT_DOUBLE_EQ(LikelyEnd(4, std::nullopt), 4);
  EXPECT_DOUBLE_EQ(LikelyEnd(std::nullopt, ScannedLength{5, 4.9}), 5);
}

TEST(LikelyEnd, IsThatOfThePacketsIfTheFileIsWrong) {
  EXPECT_DOUBLE_EQ(LikelyEnd(4, ScannedLength{4.05, 4.01}), 4);
  EXPECT_DOUBLE_EQ(LikelyEnd(4, ScannedLength{8, 7.9}), 8);
  EXPECT_DOUBLE_EQ(LikelyEnd(8, ScannedLength{4, 3.9}), 4);
}

// At an average rate of a picture in three seconds the last packet seems to last as long.
TEST(LikelyEnd, IsTheFilesIfItLiesWithinTheLastPacket) {
  EXPECT_DOUBLE_EQ(LikelyEnd(80.04, ScannedLength{83.2, 80}), 80.04);
  EXPECT_DOUBLE_EQ(LikelyEnd(80, ScannedLength{83.2, 80}), 83.2);
}

TEST(LikelyEnd, LeavesOutNoPicture) {
  EXPECT_DOUBLE_EQ(LikelyEnd(1.2, ScannedLength{1.24, 1.22, 1.16}), 1.2);
  EXPECT_DOUBLE_EQ(LikelyEnd(1.2, ScannedLength{1.24, 1.22, 1.2}), 1.24);
  EXPECT_DOUBLE_EQ(LikelyEnd(1.2, ScannedLength{1.24, 1.24, 1.21}), 1.24);
}

}  // namespace
}  // namespace codec
