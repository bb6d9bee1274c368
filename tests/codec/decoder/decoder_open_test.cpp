// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "codec/decoder/stream_facts.h"
#include "tests/codec/decoder/decoder_reading.h"
#include "tests/faults/faults.h"
#include "tests/support/clips.h"
#include "tests/support/log_capture.h"

namespace codec {
namespace {

using test_support::Clip;
using test_support::ClipKind;
using test_support::CustomClip;
using test_support::LogCapture;
using test_support::StreamFields;

constexpr char kNoKeyInterval[] = "not find keyint, not support seek to no key frame";

// Small clips for what needs no frame number.
std::string KeyIntervalClip() {
  return CustomClip(
      "decoder_keyint.mp4",
      {"-f", "lavfi", "-i", "testsrc2=size=64x48:rate=30", "-t", "3", "-c:v", "libx264", "-g", "30",
       "-keyint_min", "30", "-sc_threshold", "0", "-bf", "0", "-video_track_timescale", "15360"});
}

std::string SingleKeyClip() {
  return CustomClip("decoder_single_key.mp4",
                    {"-f", "lavfi", "-i", "testsrc2=size=64x48:rate=25", "-t", "2", "-c:v",
                     "libx264", "-g", "250", "-sc_threshold", "0"});
}

std::string FullRangeClip() {
  return CustomClip("decoder_full_range.avi", {"-f", "lavfi", "-i", "testsrc2=size=64x48:rate=25",
                                               "-t", "1", "-pix_fmt", "yuvj420p", "-c:v", "mjpeg"});
}

TEST(DecoderBase, DoesNothing) {
  FFmpegDecoder base;
  MediaInfo info;
  EXPECT_EQ(base.Init(), -1);
  EXPECT_EQ(base.Release(), -1);
  EXPECT_EQ(base.Seek(0, 3), -1);
  EXPECT_EQ(base.GetMediaInfo(info), -1);
  EXPECT_EQ(base.GetFrameBufferSize(), 0);
  EXPECT_EQ(base.ReceiveFrame(nullptr, nullptr, nullptr, nullptr), -1);
  EXPECT_EQ(base.DecodeFrame(nullptr, nullptr, nullptr, nullptr), -1);
  EXPECT_EQ(base.Reserved31(), -1);
  EXPECT_EQ(base.Reserved32(), 0);
}

TEST(DecoderOpen, ReportsWhatFfprobeReports) {
  const std::string path = Clip(ClipKind::kH264);
  DecoderReader reader(path);
  ASSERT_EQ(reader.InitResult(), 0);
  const MediaInfo info = reader.Info();
  const auto video = StreamFields(path, "v");
  const auto audio = StreamFields(path, "a");
  EXPECT_EQ(info.has_video, 1);
  EXPECT_EQ(info.has_audio, 1);
  EXPECT_EQ(info.width, std::stoi(video.at("width")));
  EXPECT_EQ(info.height, std::stoi(video.at("height")));
  EXPECT_EQ(info.frame_rate, 25.0F);
  EXPECT_EQ(info.pixel_format, AV_PIX_FMT_YUV420P);
  EXPECT_EQ(info.pixel_format_name, video.at("pix_fmt"));
  EXPECT_EQ(info.profile, 2);
  EXPECT_EQ(info.level, std::stoi(video.at("level")));
  EXPECT_EQ(info.video_bit_rate, std::stoi(video.at("bit_rate")));
  EXPECT_EQ(info.sample_rate, std::stoi(audio.at("sample_rate")));
  EXPECT_EQ(info.channels, 2);
  EXPECT_EQ(info.sample_format, 3);
  EXPECT_EQ(info.audio_bit_rate, std::stoi(audio.at("bit_rate")));
  EXPECT_EQ(info.sample_aspect_num, 1);
  EXPECT_EQ(info.sample_aspect_den, 1);
  EXPECT_EQ(info.rotation, 0);
  EXPECT_NEAR(info.duration, std::stod(test_support::ContainerFields(path).at("duration")), 1e-3);
  EXPECT_EQ(reader.Decoder().GetFrameBufferSize(), 640 * 360 * 3 / 2);
  EXPECT_EQ(reader.Decoder().GetAudioBufferSize(), 131072 * 2 * 4);
  EXPECT_EQ(reader.Decoder().GetWidth(), 640);
  EXPECT_EQ(reader.Decoder().GetHeight(), 360);
}

TEST(DecoderOpen, ReadsTheRotationOfAPhoneClip) {
  EXPECT_EQ(DecoderReader(Clip(ClipKind::kRotated)).Info().rotation, 90);
}

TEST(DecoderOpen, ReportsTheSourceFormatUnfolded) {
  const MediaInfo info = DecoderReader(FullRangeClip()).Info();
  EXPECT_EQ(info.pixel_format, AV_PIX_FMT_YUV420P);
  EXPECT_EQ(info.pixel_format_name, "yuvj420p");
  EXPECT_EQ(info.profile, -1);
}

TEST(DecoderOpen, FindsTheKeyInterval) {
  const LogCapture log;
  DecoderReader reader(KeyIntervalClip());
  ASSERT_EQ(reader.InitResult(), 0);
  EXPECT_EQ(reader.Decoder().KeyInterval(), 15360);
  EXPECT_TRUE(log.Has(kLogDebug, kDecoderTestTag, "keyint_:15360"));
  EXPECT_TRUE(log.Has(kLogDebug, kDecoderTestTag, "video time_base(1/15360)"));
  EXPECT_FALSE(log.Has(kLogWarn, kDecoderTestTag, kNoKeyInterval));
}

TEST(DecoderOpen, WarnsOfASingleKeyFrame) {
  const LogCapture log;
  DecoderReader reader(SingleKeyClip());
  ASSERT_EQ(reader.InitResult(), 0);
  EXPECT_EQ(reader.Decoder().KeyInterval(), 0);
  EXPECT_TRUE(log.Has(kLogWarn, kDecoderTestTag, kNoKeyInterval));
  EXPECT_TRUE(log.Has(kLogDebug, kDecoderTestTag, "keyint_:0"));
}

TEST(DecoderOpen, LogsItsLifeInOrder) {
  const LogCapture log;
  DecoderReader reader(KeyIntervalClip());
  const std::vector<std::string> texts = log.Texts(kDecoderTestTag);
  ASSERT_EQ(texts.size(), 8U);
  EXPECT_EQ(texts[0], "=====Init=====");
  EXPECT_EQ(texts[1].find("SetVideoProfileAndLevel.profile: "), 0U);
  EXPECT_EQ(texts[2], "fps:30.000000 duration:3.000000");
  EXPECT_EQ(texts[3].find("Could not find audio stream in input file '"), 0U);
  EXPECT_EQ(texts[4], "video time_base(1/15360)");
  EXPECT_EQ(texts[5], "keyint_:15360");
  EXPECT_EQ(texts[6], "first video pts:0, first audio pts:-9223372036854775808");
  EXPECT_EQ(texts[7], "=====Init done=====");
}

TEST(DecoderOpen, DoesNothingTheSecondTime) {
  DecoderReader reader(KeyIntervalClip());
  const int64_t packets = reader.Decoder().Counters().packetsRead;
  const LogCapture log;
  EXPECT_EQ(reader.Decoder().Init(), 0);
  EXPECT_EQ(reader.Decoder().Counters().packetsRead, packets);
  EXPECT_TRUE(log.Lines().empty());
}

TEST(DecoderOpen, KeepsFactsAndFailureOfAnInputThatIsFinished) {
  const LogCapture log;
  DecoderReader reader(Clip(ClipKind::kH264Short));
  ReadFrame frame;
  ASSERT_TRUE(reader.Receive(&frame));
  {
    const test_support::Fault fault(test_support::FaultCall::av_read_frame, 0, AVERROR(ENOMEM));
    while (reader.Receive(&frame)) {
    }
  }
  ASSERT_EQ(reader.Decoder().HostError(), AVERROR(ENOMEM));
  reader.Decoder().Finish();
  EXPECT_EQ(reader.Decoder().HostError(), AVERROR(ENOMEM));
  EXPECT_EQ(reader.Decoder().GetWidth(), 640);
  EXPECT_EQ(reader.Info().has_audio, 1);
  EXPECT_EQ(reader.Decoder().Seek(0, 3), -1);
  EXPECT_FALSE(reader.Receive(&frame));
  EXPECT_FALSE(reader.Decode(&frame));
  reader.Decoder().Finish();
  EXPECT_EQ(log.CountContaining(kLogVerbose, kDecoderTestTag, "frames decoded:"), 1);
}

TEST(DecoderOpen, OpensAgainAfterRelease) {
  DecoderReader reader(KeyIntervalClip());
  ReadFrame frame;
  ASSERT_TRUE(reader.Receive(&frame));
  const LogCapture log;
  reader.Decoder().Release();
  EXPECT_EQ(log.Texts(kDecoderTestTag),
            (std::vector<std::string>{"=====Release=====", "=====Release done====="}));
  EXPECT_EQ(log.CountContaining(kLogDebug, kDecoderTestTag, "=====Release"), 2);
  EXPECT_FALSE(reader.Receive(&frame));
  EXPECT_FALSE(reader.Decode(&frame));
  EXPECT_EQ(reader.Decoder().Seek(1, 3), -1);
  EXPECT_EQ(reader.Decoder().Init(), 0);
  EXPECT_TRUE(reader.Receive(&frame));
  EXPECT_EQ(frame.pts, 0);
}

TEST(DecoderOpen, ReadsNothingBeforeInit) {
  FFmpegDecoderImpl2 decoder("nowhere");
  uint32_t size = 0;
  uint32_t type = 0;
  double pts = 0;
  std::vector<uint8_t> buffer(16);
  EXPECT_EQ(decoder.ReceiveFrame(buffer.data(), &size, &type, &pts), -1);
  EXPECT_EQ(decoder.DecodeFrame(buffer.data(), &size, &type, &pts), -1);
  EXPECT_EQ(decoder.Seek(0, 0), -1);
}

TEST(DecoderOpen, FailsOnAMissingFile) {
  const LogCapture log;
  EXPECT_EQ(DecoderReader("/nowhere/clip.mp4").InitResult(), -1);
  EXPECT_TRUE(log.Has(kLogError, kDecoderTestTag, "Could not open source file /nowhere/clip.mp4"));
}

// Blanks the bytes of this value between two marks.
std::string Blanked(std::string bytes, const char* from, const char* to, int value) {
  const size_t begin = bytes.find(from);
  const size_t end = bytes.rfind(to);
  if (begin == std::string::npos || end == std::string::npos) return {};
  for (size_t i = begin + 4; i < end - 4; ++i) {
    if (value < 0 || static_cast<uint8_t>(bytes[i]) == value) bytes[i] = '\0';
  }
  return bytes;
}

TEST(DecoderOpen, FailsOnAFileWithoutStreamInformation) {
  // Neither the samples nor the header tells anything of the pictures.
  std::string bytes = Blanked(FileBytes(KeyIntervalClip()), "mdat", "moov", -1);
  bytes.replace(bytes.find("avcC"), 4, "free");
  const LogCapture log;
  DecoderReader reader(ScratchFile("blank.mp4", bytes));
  EXPECT_EQ(reader.InitResult(), -1);
  EXPECT_TRUE(log.Has(kLogError, kDecoderTestTag, "Could not find stream information"));
  ReadFrame frame;
  EXPECT_FALSE(reader.Receive(&frame));
}

TEST(DecoderOpen, FailsOnAVideoWithoutPixelFormat) {
  // A JPEG without its markers does not tell the form of the picture.
  const std::string bytes = Blanked(FileBytes(FullRangeClip()), "movi", "idx1", 0xFF);
  const LogCapture log;
  DecoderReader reader(ScratchFile("blank.avi", bytes));
  EXPECT_EQ(reader.InitResult(), -1);
  EXPECT_TRUE(log.Has(kLogError, kDecoderTestTag, "Could not find video pixel format"));
  ReadFrame frame;
  EXPECT_FALSE(reader.Receive(&frame));
}

TEST(DecoderOpen, OpensAFileWhoseVideoCodecIsUnknown) {
  std::string bytes = FileBytes(Clip(ClipKind::kH264Short));
  for (size_t at = bytes.find("avc1"); at != std::string::npos; at = bytes.find("avc1", at)) {
    bytes.replace(at, 4, "zzzz");
  }
  const LogCapture log;
  DecoderReader reader(ScratchFile("unknown_codec.mp4", bytes));
  EXPECT_EQ(reader.InitResult(), 0);
  EXPECT_TRUE(log.Has(kLogError, kDecoderTestTag, "Failed to find video codec"));
  EXPECT_EQ(reader.Info().has_video, 0);
  EXPECT_EQ(reader.Info().has_audio, 1);
  ReadFrame frame;
  EXPECT_TRUE(reader.Receive(&frame));
  EXPECT_EQ(frame.type, static_cast<uint32_t>(kAudioFrame));
  EXPECT_EQ(reader.Decoder().Seek(1, 3), -1);
}

TEST(DecoderOpen, CountsSoundWhoseDecoderDoesNotOpenAsNoSound) {
  // The container tells of rate and channels, so that the stream is found; the decoder looks for
  // the mark of its own header.
  const std::string mark = "\1vorbis";
  std::string bytes = FileBytes(
      CustomClip("decoder_vorbis.mkv",
                 {"-f", "lavfi", "-i", "testsrc2=size=64x48:rate=25", "-f", "lavfi", "-i",
                  "sine=frequency=440", "-t", "1", "-c:v", "mpeg4", "-c:a", "libvorbis"}));
  bytes.replace(bytes.find(mark), mark.size(), "\1Vorbis");
  const LogCapture log;
  const std::string path = ScratchFile("refused.mkv", bytes);
  DecoderReader reader(path);
  EXPECT_EQ(reader.InitResult(), 0);
  // FFmpeg 7.1 forgets the channels of a stream whose decoder it could not open, and then does not
  // count it as one.
  EXPECT_TRUE(log.Has(kLogError, kDecoderTestTag, "Failed to open audio codec") ||
              log.Has(kLogError, kDecoderTestTag,
                      "Could not find audio stream in input file '" + path + "'"));
  EXPECT_EQ(reader.Info().has_video, 1);
  EXPECT_EQ(reader.Info().has_audio, 0);
  ReadFrame frame;
  EXPECT_TRUE(reader.Receive(&frame));
}

TEST(DecoderOpen, OpensSoundAlone) {
  const std::string path = Clip(ClipKind::kAudioOnly);
  const LogCapture log;
  DecoderReader reader(path);
  EXPECT_EQ(reader.InitResult(), 0);
  EXPECT_TRUE(log.Has(kLogError, kDecoderTestTag,
                      "Could not find video stream in input file '" + path + "'"));
  EXPECT_TRUE(log.Has(kLogWarn, kDecoderTestTag, kNoKeyInterval));
  EXPECT_EQ(reader.Info().has_video, 0);
  EXPECT_EQ(reader.Info().has_audio, 1);
  EXPECT_NEAR(reader.Info().duration, 3, 0.1);
  EXPECT_EQ(reader.Decoder().GetFrameBufferSize(), 0);
  EXPECT_GT(reader.ReceiveAll(kAudioFrame).size(), 100U);
  EXPECT_EQ(reader.Decoder().Seek(1, 3), -1);
  EXPECT_EQ(reader.Decoder().Seek(1, 0), 0);
  ReadFrame frame;
  ASSERT_TRUE(reader.Receive(&frame));
  EXPECT_NEAR(frame.pts, 1, 0.05);
}

TEST(DecoderOpen, OpensVideoAlone) {
  const std::string path = Clip(ClipKind::kH264NoAudio);
  const LogCapture log;
  DecoderReader reader(path);
  EXPECT_EQ(reader.InitResult(), 0);
  EXPECT_TRUE(log.Has(kLogError, kDecoderTestTag,
                      "Could not find audio stream in input file '" + path + "'"));
  EXPECT_EQ(reader.Info().has_audio, 0);
  EXPECT_EQ(reader.Info().channels, 2);
  EXPECT_EQ(reader.Info().sample_rate, 0);
  EXPECT_EQ(reader.Decoder().GetAudioBufferSize(), 0);
  EXPECT_EQ(reader.Decoder().Seek(1, 3), 0);
}

TEST(DecoderOpen, OpensAFileWithNeitherStream) {
  DecoderReader reader(ScratchFile("words.srt", "1\n00:00:01,000 --> 00:00:02,000\nHello\n\n"));
  EXPECT_EQ(reader.InitResult(), 0);
  EXPECT_EQ(reader.Info().has_video, 0);
  EXPECT_EQ(reader.Info().has_audio, 0);
  ReadFrame frame;
  EXPECT_FALSE(reader.Receive(&frame));
  EXPECT_FALSE(reader.Decode(&frame));
  EXPECT_EQ(reader.Decoder().Seek(0, 3), -1);
}

TEST(DecoderOpen, OpensSoundWithACoverPictureAsVideo) {
  DecoderReader reader(CoverClip());
  EXPECT_EQ(reader.InitResult(), 0);
  EXPECT_EQ(reader.Info().has_video, 1);
  EXPECT_EQ(reader.Info().frame_rate, 90000.0F);
  EXPECT_EQ(reader.ReceiveAll(kVideoFrame).size(), 1U);
  EXPECT_EQ(reader.Decoder().Seek(0, 3), 0);
  EXPECT_EQ(reader.Decoder().Seek(1, 3), -1);
}

TEST(DecoderOpen, CountsSoundWithoutALayoutAsNoSound) {
  // A second of 31-channel 16-bit PCM; FFmpeg knows no layout of so many channels.
  std::string bytes("RIFF\0\0\0\0WAVEfmt \x10\0\0\0\x01\0\x1f\0\x40\x1f\0\0", 28);
  bytes += std::string("\x80\x8f\x07\0\x3e\0\x10\0data", 12);
  bytes += std::string("\x80\x8f\x07\0", 4) + std::string(8000 * 31 * 2, '\0');
  const std::string path = ScratchFile("31_channels.wav", bytes);
  const LogCapture log;
  DecoderReader reader(path);
  EXPECT_EQ(reader.InitResult(), 0);
  EXPECT_EQ(reader.Info().has_audio, 0);
  EXPECT_EQ(log.CountContaining(kLogError, kDecoderTestTag, "Could not convert audio"), 1);
}

}  // namespace
}  // namespace codec
