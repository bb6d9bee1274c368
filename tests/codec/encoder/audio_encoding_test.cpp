// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "codec/encoder/ffmpeg_encoder_impl.h"
#include "codec/ffmpeg/ffmpeg_headers.h"
#include "tests/codec/encoder/encoder_fixture.h"
#include "tests/faults/faults.h"
#include "tests/faults/no_threads.h"
#include "tests/support/command.h"
#include "tests/support/same_items.h"

namespace codec {
namespace {

using encoder_test::kEncoderTag;
using encoder_test::Texts;
using test_support::Fault;
using test_support::FaultCall;
using test_support::LogCapture;
using test_support::ScratchPath;
using Lines = std::vector<std::string>;

std::vector<uint8_t> Numbered(size_t size) {
  std::vector<uint8_t> bytes(size);
  for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<uint8_t>(i * 89 + i / 256 * 7);
  return bytes;
}

std::string DecodedBytes(const std::string& path, const std::string& format) {
  return test_support::Run({"ffmpeg", "-v", "error", "-i", path, "-map", "0:a:0", "-f", format,
                            "-c:a", "pcm_" + format, "-"})
      .out;
}

// Lossless encoders give back the bytes that went in: packed by them and taken apart by us.
TEST(AudioEncoding, LosslessSoundComesBackAsItWas) {
  struct Case {
    const char *codec, *extension, *raw;
    int format, channels, bytes;
  };
  for (const Case& row : {Case{"pcm_s16le", "wav", "s16le", AV_SAMPLE_FMT_S16, 2, 2},
                          Case{"flac", "mkv", "s16le", AV_SAMPLE_FMT_S16, 2, 2},
                          Case{"pcm_s16le_planar", "nut", "s16le", AV_SAMPLE_FMT_S16P, 2, 2},
                          Case{"alac", "mov", "s16le", AV_SAMPLE_FMT_S16P, 1, 2},
                          Case{"pcm_s32le_planar", "nut", "s32le", AV_SAMPLE_FMT_S32P, 2, 4},
                          Case{"pcm_s8_planar", "nut", "u8", AV_SAMPLE_FMT_U8P, 2, 1},
                          Case{"pcm_s16le_planar", "nut", "s16le", AV_SAMPLE_FMT_S16P, 16, 2}}) {
    const std::string path = ScratchPath(std::string("lossless.") + row.extension);
    MediaFormat format = encoder_test::SoundFormat(path, row.codec);
    format.SetInt32("sample-format", row.format);
    format.SetInt32("channel-count", row.channels);
    FFmpegEncoderImpl encoder;
    encoder_test::Configure(&encoder, format);
    ASSERT_EQ(encoder.Open(), 0) << row.codec;
    const auto frame =
        static_cast<size_t>(encoder.GetParameter("audio-frame-size") * row.channels * row.bytes);
    std::vector<uint8_t> sound = Numbered(3 * frame);
    const std::string expected(sound.begin(), sound.end());
    for (size_t i = 0; i < 3; ++i) {
      EXPECT_EQ(encoder.EncodeAudio(sound.data() + i * frame, frame), 0) << row.codec;
    }
    encoder.Close();
    EXPECT_EQ(encoder.OutputError(), 0);
    EXPECT_TRUE(test_support::SameItems(DecodedBytes(path, row.raw), expected))
        << row.codec << " " << row.raw;
  }
}

// What the encoder asks for after each frame of a short film.
std::vector<int> Wishes(const std::string& path, const char* codec = "aac") {
  FFmpegEncoderImpl encoder;
  MediaFormat format = encoder_test::FilmFormat(path);
  format.SetString("audio-codec", codec);
  encoder_test::Configure(&encoder, format);
  EXPECT_EQ(encoder.Open(), 0);
  std::vector<uint8_t> tone = encoder_test::Tone(encoder.GetParameter("audio-frame-size"));
  std::vector<uint8_t> picture = encoder_test::Picture(1);
  std::vector<int> wishes;
  for (int64_t pictures = 0; pictures < 50;) {
    wishes.push_back(encoder.GetParameter("next-frame-type"));
    const int result = wishes.back() == 2
                           ? encoder.EncodeAudio(tone.data(), tone.size())
                           : encoder.EncodeVideo(picture.data(), 0, 40000 * pictures++);
    EXPECT_EQ(result, 0);
  }
  encoder.Close();
  return wishes;
}

TEST(AudioEncoding, AsksForTheSameFramesWithAThreadOfItsOwnAndWithout) {
  // Containers with other time bases round the stamps that the wishes rest on.
  for (const char* name : {"wishes.mp4", "wishes.mkv", "wishes.ts"}) {
    const std::string path = ScratchPath(name);
    const std::vector<int> beside = Wishes(path);
    const test_support::NoThreads none;
    EXPECT_EQ(beside, Wishes(path)) << name;
  }
}

// Its packets come late, several at a time, and are of several lengths.
TEST(AudioEncoding, AsksForTheSameFramesOfAnIrregularEncoder) {
  const std::string path = ScratchPath("irregular.mkv");
  const std::vector<int> beside = Wishes(path, "libvorbis");
  const std::vector<std::string> packets = encoder_test::Probe(path, "a", "packet=pts,size");
  EXPECT_GT(packets.size(), 100U);
  const test_support::NoThreads none;
  EXPECT_EQ(beside, Wishes(path, "libvorbis"));
  EXPECT_EQ(packets, encoder_test::Probe(path, "a", "packet=pts,size"));
}

TEST(AudioEncoding, StampsCountSamplesNotTimes) {
  const std::string path = ScratchPath("stamps.mp4");
  FFmpegEncoderImpl encoder;
  encoder_test::Configure(&encoder, encoder_test::SoundFormat(path, "aac"));
  ASSERT_EQ(encoder.Open(), 0);
  std::vector<uint8_t> tone = encoder_test::Tone(1024);
  for (int i = 0; i < 5; ++i) EXPECT_EQ(encoder.EncodeAudio(tone.data(), tone.size()), 0);
  encoder.Close();
  EXPECT_EQ(encoder_test::Probe(path, "a", "packet=pts"),
            (Lines{"-1024", "0", "1024", "2048", "3072", "4096"}));
}

TEST(AudioEncoding, ParametersComeFromTheOpenedEncoder) {
  struct Case {
    const char *codec, *extension;
    int format, rate, frameSize, duration;
  };
  for (const Case& row : {Case{"aac", "m4a", AV_SAMPLE_FMT_FLTP, 48000, 1024, 21333},
                          Case{"mp2", "mp2", AV_SAMPLE_FMT_S16, 44100, 1152, 26122},
                          Case{"pcm_s16le", "wav", AV_SAMPLE_FMT_S16, 44100, 1024, 23219},
                          Case{"pcm_s16le", "wav", AV_SAMPLE_FMT_S16, 1, 1024, 1024000000}}) {
    MediaFormat format =
        encoder_test::SoundFormat(ScratchPath(std::string("ask.") + row.extension), row.codec);
    format.SetInt32("sample-rate", row.rate);
    format.SetInt32("sample-format", row.format);
    FFmpegEncoderImpl encoder;
    encoder_test::Configure(&encoder, format);
    for (const char* key : {"audio-frame-size", "audio-frame-duration", "sample-rate"}) {
      EXPECT_EQ(encoder.GetParameter(key), 0) << key;
    }
    ASSERT_EQ(encoder.Open(), 0);
    EXPECT_EQ(encoder.GetParameter("audio-frame-size"), row.frameSize);
    EXPECT_EQ(encoder.GetParameter("audio-frame-duration"), row.duration);
    EXPECT_EQ(encoder.GetParameter("sample-rate"), row.rate);
    encoder.Close();
    EXPECT_EQ(encoder.GetParameter("audio-frame-size"), 0);
  }
}

TEST(AudioEncoding, UnknownParametersAreErrorsOnlyWithAnAudioStream) {
  const LogCapture log;
  FFmpegEncoderImpl video;
  encoder_test::Configure(&video, encoder_test::VideoFormat(ScratchPath("ask.mp4")));
  ASSERT_EQ(video.Open(), 0);
  EXPECT_EQ(video.GetParameter("surface"), 0);
  EXPECT_EQ(video.GetParameter("nonsense"), 0);
  EXPECT_EQ(video.GetParameter("Sample-rate"), 0);
  EXPECT_EQ(Texts(log, kLogError), Lines{});
  video.Close();
  FFmpegEncoderImpl film;
  encoder_test::Configure(&film, encoder_test::FilmFormat(ScratchPath("ask2.mp4")));
  ASSERT_EQ(film.Open(), 0);
  EXPECT_EQ(film.GetParameter("surface"), 0);
  EXPECT_EQ(film.GetParameter("nonsense"), 0);
  EXPECT_EQ(film.GetParameter(""), 0);
  EXPECT_EQ(Texts(log, kLogError),
            (Lines{"Get invalid parameter key:nonsense", "Get invalid parameter key:"}));
  film.Close();
}

TEST(AudioEncoding, NextFrameTypeFollowsTheSettingsTheHeaderAndTheTimes) {
  FFmpegEncoderImpl encoder;
  EXPECT_EQ(encoder.GetParameter("next-frame-type"), 1);
  encoder.SetParameter("has-video", "0");
  EXPECT_EQ(encoder.GetParameter("next-frame-type"), 0);
  encoder.SetParameter("has-audio", "1");
  EXPECT_EQ(encoder.GetParameter("next-frame-type"), 2);

  encoder_test::Configure(&encoder, encoder_test::FilmFormat(ScratchPath("next.mkv")));
  EXPECT_EQ(encoder.GetParameter("next-frame-type"), 1);
  ASSERT_EQ(encoder.Open(), 0);
  EXPECT_EQ(encoder.GetParameter("next-frame-type"), 1);  // a tie at 0
  std::vector<uint8_t> picture = encoder_test::Picture(0);
  std::vector<uint8_t> tone = encoder_test::Tone(1024);
  EXPECT_EQ(encoder.EncodeVideo(picture.data(), 0, 0), 0);
  EXPECT_EQ(encoder.GetParameter("next-frame-type"), 1);  // still one
  EXPECT_EQ(encoder.EncodeVideo(picture.data(), 0, 40000), 0);
  EXPECT_EQ(encoder.GetParameter("next-frame-type"), 2);
  int blocks = 0;  // the first gives no packet, the others come 1024 samples early
  while (encoder.GetParameter("next-frame-type") == 2 && blocks < 10) {
    EXPECT_EQ(encoder.EncodeAudio(tone.data(), tone.size()), 0);
    ++blocks;
  }
  EXPECT_EQ(blocks, 5);  // packets at -21, 0, 21 and 43 ms, one block late
  encoder.Close();
}

TEST(AudioEncoding, SoundBeforeTheHeaderIsLostSilently) {
  FFmpegEncoderImpl encoder;
  encoder_test::Configure(&encoder, encoder_test::FilmFormat(ScratchPath("early.mkv")));
  std::vector<uint8_t> tone = encoder_test::Tone(1024);
  const LogCapture log;
  EXPECT_EQ(encoder.EncodeAudio(tone.data(), tone.size()), 0);
  EXPECT_EQ(log.Lines().size(), 0U);
}

TEST(AudioEncoding, WithoutAudioTakesNothing) {
  FFmpegEncoderImpl encoder;
  encoder_test::Configure(&encoder, encoder_test::VideoFormat(ScratchPath("mute.mkv")));
  ASSERT_EQ(encoder.Open(), 0);
  std::vector<uint8_t> tone = encoder_test::Tone(1024);
  EXPECT_EQ(encoder.EncodeAudio(tone.data(), tone.size()), 0);
  encoder.Close();
}

class OpenSound : public testing::Test {
 protected:
  void SetUp() override {
    encoder_test::Configure(&mEncoder, encoder_test::SoundFormat(ScratchPath("open.m4a"), "aac"));
    ASSERT_EQ(mEncoder.Open(), 0);
  }
  void TearDown() override { mEncoder.Close(); }
  int Encode(size_t size) { return mEncoder.EncodeAudio(mTone.data(), size); }

  FFmpegEncoderImpl mEncoder;
  std::vector<uint8_t> mTone = encoder_test::Tone(2048);
};

TEST_F(OpenSound, RefusesBlocksShorterThanAFrame) {
  const LogCapture log;
  for (const size_t size : {size_t{0}, size_t{1}, size_t{8191}}) EXPECT_EQ(Encode(size), -1);
  EXPECT_EQ(Texts(log, kLogError),
            Lines(3, "avcodec_fill_audio_frame failed: " + std::to_string(AVERROR(EINVAL))));
  EXPECT_EQ(Encode(8192), 0);
}

TEST_F(OpenSound, RefusesBlocksThatFFmpegCannotCount) {
  const LogCapture log;
  EXPECT_EQ(Encode((size_t{1} << 32) + 8192), -1);
  EXPECT_EQ(Encode(SIZE_MAX), -1);
  EXPECT_EQ(Texts(log, kLogError),
            Lines(2, "avcodec_fill_audio_frame failed: " + std::to_string(AVERROR(EINVAL))));
}

TEST_F(OpenSound, NamesASendFailure) {
  const LogCapture log;
  const Fault fault(FaultCall::avcodec_send_frame, 0, AVERROR(ENOMEM));
  EXPECT_EQ(Encode(8192), -1);
  EXPECT_EQ(Texts(log, kLogError), (Lines{"Error encoding audio frame: Cannot allocate memory"}));
}

TEST_F(OpenSound, ReportsAReceiveFailure) {
  const LogCapture log;
  const Fault fault(FaultCall::avcodec_receive_packet, 0, AVERROR(EIO));
  EXPECT_EQ(Encode(8192), -1);
  EXPECT_EQ(Texts(log, kLogError), (Lines{"error encoding audio frame"}));
}

// The results of frames among which one holds a sample that is no sound.
std::vector<int> ResultsWith(float wrong) {
  FFmpegEncoderImpl encoder;
  encoder_test::Configure(&encoder, encoder_test::SoundFormat(ScratchPath("wrong.m4a"), "aac"));
  EXPECT_EQ(encoder.Open(), 0);
  const LogCapture log;
  std::vector<uint8_t> tone = encoder_test::Tone(1024);
  std::vector<uint8_t> block = tone;
  std::memcpy(block.data() + 8000, &wrong, sizeof(wrong));
  std::vector<int> results;
  for (int i = 0; i < 24; ++i) {
    results.push_back(encoder.EncodeAudio(i == 20 ? block.data() : tone.data(), tone.size()));
  }
  encoder.Close();
  EXPECT_EQ(encoder.OutputError(), AVERROR(EINVAL)) << wrong;
  return results;
}

TEST(AudioEncoding, AnswersForWhatIsNoSoundAsWithoutAThread) {
  for (const float wrong :
       {std::numeric_limits<float>::quiet_NaN(), -std::numeric_limits<float>::infinity(), 1e30F}) {
    const std::vector<int> beside = ResultsWith(wrong);
    const test_support::NoThreads none;
    EXPECT_EQ(beside, ResultsWith(wrong)) << wrong;
    EXPECT_EQ(std::count(beside.begin(), beside.end(), -1), 1) << wrong;
  }
}

// Frames are encoded on another thread, so that the failure of one may come with a later call.
TEST_F(OpenSound, TellsOfALateFailureOnce) {
  constexpr int kMostPending = 8;
  for (int i = 0; i < 20; ++i) ASSERT_EQ(Encode(8192), 0);
  const LogCapture log;
  Fault fault(FaultCall::avcodec_send_frame, 0, AVERROR(ENOMEM));
  fault.Once();
  int failures = 0;
  for (int i = 0; i < 2 * kMostPending; ++i) failures += Encode(8192) != 0 ? 1 : 0;
  EXPECT_EQ(failures, 1);
  EXPECT_EQ(fault.Failed(), 1);
  EXPECT_EQ(mEncoder.OutputError(), AVERROR(ENOMEM));
}

TEST_F(OpenSound, ReturnsTheEndOfTheStream) {
  const LogCapture log;
  const Fault fault(FaultCall::avcodec_receive_packet, 0, AVERROR_EOF);
  EXPECT_EQ(Encode(8192), AVERROR_EOF);
  EXPECT_EQ(Texts(log, kLogDebug), (Lines{"audio encode eof"}));
}

}  // namespace
}  // namespace codec
