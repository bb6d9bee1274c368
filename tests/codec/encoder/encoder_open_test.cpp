// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "codec/encoder/ffmpeg_encoder_impl.h"
#include "codec/ffmpeg/ffmpeg_headers.h"
#include "tests/codec/encoder/encoder_fixture.h"
#include "tests/faults/faults.h"
#include "tests/support/command.h"

namespace codec {
namespace {

using encoder_test::kEncoderTag;
using encoder_test::Texts;
using test_support::Fault;
using test_support::FaultCall;
using test_support::LogCapture;
using test_support::ScratchPath;
using Lines = std::vector<std::string>;

// Opens, closes and gives the error lines of opening.
Lines ErrorsOfOpening(const MediaFormat& format) {
  FFmpegEncoderImpl encoder;
  encoder_test::Configure(&encoder, format);
  LogCapture log;
  EXPECT_EQ(encoder.Open(), -1);
  EXPECT_LT(encoder.OutputError(), 0);
  Lines errors = Texts(log, kLogError);
  encoder.Close();
  return errors;
}

MediaFormat With(MediaFormat format, const char* key, const std::string& value) {
  format.SetString(key, value.c_str());
  return format;
}

TEST(EncoderOpen, RefusesMobileCodecsBeforeAnythingIsMade) {
  for (const char* name : {"h264_zqmediacodec", "hevc_zqmediacodec"}) {
    const std::string path = ScratchPath(std::string("open-") + name + ".mp4");
    const MediaFormat format = With(encoder_test::VideoFormat(path), "video-codec", name);
    EXPECT_EQ(ErrorsOfOpening(format),
              (Lines{"h264_zqmediacodec|hevc_zqmediacodec only support android"}));
    EXPECT_FALSE(std::filesystem::exists(path));
  }
}

TEST(EncoderOpen, RefusesForeignCodecsBeforeAnyStreamExists) {
  for (const std::string name : {"vomx", "vomx2", "h264_mediacodec"}) {
    const std::string path = ScratchPath("open-" + name + ".mp4");
    FFmpegEncoderImpl encoder;
    encoder_test::Configure(&encoder, With(encoder_test::FilmFormat(path), "video-codec", name));
    const LogCapture log;
    EXPECT_EQ(encoder.Open(), -1);
    EXPECT_LT(encoder.OutputError(), 0);
    EXPECT_EQ(Texts(log, kLogError),
              (Lines{"this platform not support " + name, "Create video stream failed."}));
    encoder.Close();
    EXPECT_FALSE(log.Has(kLogDebug, kEncoderTag, "free Videostream"));
    EXPECT_TRUE(log.Has(kLogDebug, kEncoderTag, "close output file."));
    EXPECT_FALSE(std::filesystem::exists(path));
  }
}

TEST(EncoderOpen, ReportsUnknownCodecs) {
  const MediaFormat film = encoder_test::FilmFormat(ScratchPath("open-unknown.mp4"));
  EXPECT_EQ(ErrorsOfOpening(With(film, "video-codec", "h265000")),
            (Lines{"video codec not found h265000", "Create video stream failed."}));
  EXPECT_EQ(ErrorsOfOpening(With(film, "audio-codec", "mp33")),
            (Lines{"audio codec not found:mp33", "Create audio stream failed."}));
}

TEST(EncoderOpen, ReportsCodecsThatDoNotOpen) {
  const MediaFormat film = encoder_test::FilmFormat(ScratchPath("open-odd.mp4"));
  // A level without a profile is what this encoder refuses. (libx264 leaks memory when it refuses.)
  EXPECT_EQ(ErrorsOfOpening(With(film, "video-codec", "mpeg2video")),
            (Lines{"Could not open video codec", "Create video stream failed."}));
  EXPECT_EQ(ErrorsOfOpening(With(film, "sample-format", "1")),
            (Lines{"could not open audio codec", "Create audio stream failed."}));
}

TEST(EncoderOpen, ReportsAPathThatCannotBeOpened) {
  const std::string path = ScratchPath("no-such-directory") + "/x.mp4";
  FFmpegEncoderImpl encoder;
  encoder_test::Configure(&encoder, encoder_test::FilmFormat(path));
  const LogCapture log;
  EXPECT_EQ(encoder.Open(), -1);
  EXPECT_LT(encoder.OutputError(), 0);
  EXPECT_EQ(Texts(log, kLogError),
            (Lines{"Could not open '" + path + "'", "'" + path + "': No such file or directory"}));
  EXPECT_EQ(log.CountContaining(kLogDebug, kEncoderTag, ", after WriteHeader"), 1);
  EXPECT_EQ(encoder.OutputError(), AVERROR(ENOENT));
  EXPECT_EQ(encoder.GetParameter("next-frame-type"), 1);
  encoder.Close();
  EXPECT_EQ(encoder.OutputError(), AVERROR(ENOENT));
  EXPECT_EQ(log.CountContaining(kLogDebug, kEncoderTag, "write trailer"), 0);
}

// The times of a file without a header are those of nothing.
TEST(EncoderOpen, AsksForPicturesUntilThereIsAHeader) {
  FFmpegEncoderImpl encoder;
  encoder_test::Configure(&encoder,
                          encoder_test::FilmFormat(ScratchPath("no-such-directory") + "/x.mp4"));
  const LogCapture log;
  EXPECT_EQ(encoder.Open(), -1);
  std::vector<uint8_t> picture = encoder_test::Picture(1);
  for (int64_t i = 0; i < 3; ++i) {
    EXPECT_LT(encoder.EncodeVideo(picture.data(), 0, i * 1000000), 0);
    EXPECT_EQ(encoder.GetParameter("next-frame-type"), 1) << i;
  }
  encoder.Close();
}

TEST(EncoderOpen, TellsWhyItFailed) {
  const MediaFormat film = encoder_test::FilmFormat(ScratchPath("open-why.mp4"));
  const auto reason = [](const MediaFormat& format) {
    FFmpegEncoderImpl encoder;
    encoder_test::Configure(&encoder, format);
    const LogCapture log;
    EXPECT_EQ(encoder.Open(), -1);
    encoder.Close();
    return encoder.OutputError();
  };
  EXPECT_EQ(reason(With(film, "video-codec", "h265000")), AVERROR_ENCODER_NOT_FOUND);
  EXPECT_EQ(reason(With(film, "audio-codec", "mp33")), AVERROR_ENCODER_NOT_FOUND);
  EXPECT_EQ(reason(With(film, "sample-rate", "0")), AVERROR(EINVAL));
  const MediaFormat any = With(film, "any-encoder", "1");
  EXPECT_EQ(reason(With(any, "video-codec", "h265000")), AVERROR(EINVAL));
  EXPECT_EQ(reason(With(With(any, "video-codec", "libx265"), "width", "3")), AVERROR(EINVAL));
  EXPECT_EQ(reason(With(With(any, "audio-codec", "libopus"), "channel-count", "300")),
            AVERROR(EINVAL));
  for (const FaultCall call :
       {FaultCall::avformat_new_stream, FaultCall::avcodec_alloc_context3,
        FaultCall::av_frame_alloc, FaultCall::av_frame_get_buffer, FaultCall::av_packet_alloc,
        FaultCall::avcodec_open2, FaultCall::avcodec_parameters_from_context}) {
    const Fault fault(call);
    EXPECT_EQ(reason(film), AVERROR(ENOMEM)) << test_support::FaultCallName(call);
  }
}

TEST(EncoderOpen, ReportsStreamsAndFramesThatCannotBeMade) {
  const MediaFormat picture = encoder_test::VideoFormat(ScratchPath("open-faults.mp4"));
  const MediaFormat sound = encoder_test::SoundFormat(ScratchPath("open-faults.m4a"), "aac");
  {
    const Fault fault(FaultCall::avformat_new_stream);
    EXPECT_EQ(ErrorsOfOpening(picture),
              (Lines{"Could not alloc video stream.", "Create video stream failed."}));
    EXPECT_EQ(ErrorsOfOpening(sound),
              (Lines{"Could not alloc  audio stream.", "Create audio stream failed."}));
  }
  {
    const Fault fault(FaultCall::av_frame_alloc);
    EXPECT_EQ(ErrorsOfOpening(picture), (Lines{"av_frame_alloc error.", "alloc_picture error",
                                               "Create video stream failed."}));
    EXPECT_EQ(ErrorsOfOpening(sound),
              (Lines{"Error allocating an audio frame.", "alloc_audio_frame error",
                     "Create audio stream failed."}));
  }
  const Fault fault(FaultCall::av_frame_get_buffer);
  EXPECT_EQ(ErrorsOfOpening(sound),
            (Lines{"Error allocating an audio buffer", "alloc_audio_frame error",
                   "Create audio stream failed."}));
}

TEST(EncoderOpen, LogsItsStepsInOrder) {
  MediaFormat format = encoder_test::FilmFormat(ScratchPath("open-steps.mp4"));
  format.SetString("thread-type", "slice");
  FFmpegEncoderImpl encoder;
  encoder_test::Configure(&encoder, format);
  LogCapture log;
  EXPECT_EQ(encoder.Open(), 0);
  EXPECT_EQ(Texts(log, kLogInfo), (Lines{"video codec name: libx264"}));
  EXPECT_EQ(Texts(log, kLogError), Lines{});
  Lines steps;
  for (const std::string& text : Texts(log, kLogDebug)) {
    if (text.find(" parameters: ") == std::string::npos) steps.push_back(text);
  }
  EXPECT_EQ(steps, (Lines{"CheckParams m_hasVideo:ture",
                          "video codec frameRate:25.000000 ,den:25000, num:1000", "thread_coount:1",
                          "thread_type: slice", "fmt->name:mp4",
                          "video stream::time_base:1000/25000, cc::time_base:1000/25000",
                          "Create video stream:0 successfully.",
                          "audio codec id:" + std::to_string(AV_CODEC_ID_AAC),
                          "audio codec name:aac", "cc->frame_size:1024", "cc->sample_rate:48000",
                          "cc->channel_layout:3", "Create audio stream:1 successfully.",
                          "video stream time_base::1/25000, after WriteHeader"}));
  encoder.Close();
}

TEST(EncoderOpen, OptionsOfOneKindAreSkippedSilentlyByTheOther) {
  FFmpegEncoderImpl encoder;
  encoder_test::Configure(&encoder, encoder_test::SoundFormat(ScratchPath("o.m4a"), "aac"));
  const LogCapture log;
  EXPECT_EQ(encoder.Open(), 0);
  EXPECT_TRUE(log.Has(kLogDebug, kEncoderTag, "aac parameters: tune = zerolatency"));
  for (const test_support::LogLine& line : log.Lines())
    EXPECT_GT(line.level, kLogInfo) << line.text;
  encoder.Close();
}

TEST(EncoderOpen, ThreadTypesOtherThanTheTwoAreIgnored) {
  for (const std::string type : {"frame", "slice", "Frame", ""}) {
    MediaFormat format = encoder_test::VideoFormat(ScratchPath("open-threads.mp4"));
    format.SetString("thread-type", type.c_str());
    format.SetInt32("thread-count", type == "frame" ? 2 : 0);
    FFmpegEncoderImpl encoder;
    encoder_test::Configure(&encoder, format);
    const LogCapture log;
    EXPECT_EQ(encoder.Open(), 0);
    const bool known = type == "frame" || type == "slice";
    EXPECT_EQ(log.CountContaining(kLogDebug, kEncoderTag, "thread_type: "), known ? 1 : 0);
    EXPECT_EQ(log.CountContaining(kLogDebug, kEncoderTag, "thread_coount:"), type == "frame");
    if (known) {
      EXPECT_TRUE(log.Has(kLogDebug, kEncoderTag, "thread_type: " + type));
    }
    encoder.Close();
  }
}

TEST(EncoderOpen, FrameRatesAreTruncatedToThousandths) {
  for (const auto& [rate, den] : std::vector<std::pair<const char*, const char*>>{
           {"29.97", "29970"}, {"15", "15000"}, {"23.9766", "23976"}, {"0.5", "500"}}) {
    FFmpegEncoderImpl encoder;
    encoder_test::Configure(
        &encoder, With(encoder_test::VideoFormat(ScratchPath("rate.mkv")), "frame-rate", rate));
    const LogCapture log;
    EXPECT_EQ(encoder.Open(), 0);
    const std::string base = std::string("1000/") + den;
    EXPECT_TRUE(log.Has(kLogDebug, kEncoderTag,
                        "video stream::time_base:" + base + ", cc::time_base:" + base));
    EXPECT_TRUE(
        log.Has(kLogDebug, kEncoderTag, "video stream time_base::1/1000, after WriteHeader"));
    encoder.Close();
  }
}

TEST(EncoderOpen, ASecondOpenMakesNoSecondStream) {
  FFmpegEncoderImpl encoder;
  encoder_test::Configure(&encoder, encoder_test::VideoFormat(ScratchPath("twice.mp4")));
  EXPECT_EQ(encoder.Open(), 0);
  EXPECT_EQ(encoder_test::Feed(&encoder, 3), 0);
  {
    const LogCapture log;
    EXPECT_EQ(encoder.Open(), -1);
    EXPECT_LT(encoder.OutputError(), 0);
    EXPECT_EQ(Texts(log, kLogError), (Lines{"Video stream has existed or AVFormatContext is null.",
                                            "Create video stream failed."}));
  }
  encoder.Close();
  EXPECT_EQ(encoder_test::PacketCount(ScratchPath("twice.mp4"), "v"), 3);

  FFmpegEncoderImpl sound;
  encoder_test::Configure(&sound, encoder_test::SoundFormat(ScratchPath("twice.m4a"), "aac"));
  EXPECT_EQ(sound.Open(), 0);
  const LogCapture log;
  EXPECT_EQ(sound.Open(), -1);
  EXPECT_LT(sound.OutputError(), 0);
  EXPECT_EQ(Texts(log, kLogError), (Lines{"Audio stream has existed or AVFormatContext is null.",
                                          "Create audio stream failed."}));
  sound.Close();
}

TEST(EncoderOpen, StreamsNeedAContainer) {
  const LogCapture log;
  const EncoderSettings settings = encoder_test::SettingsOf(encoder_test::FilmFormat("x.mp4"));
  OutputFile file;
  VideoEncoder video(settings, &file);
  AudioEncoder audio(settings, &file);
  EXPECT_EQ(video.Create({}), -1);
  EXPECT_EQ(audio.Create({}), -1);
  EXPECT_EQ(file.OpenFileAndWriteHeader(), -1);
  EXPECT_EQ(Texts(log, kLogError), (Lines{"Video stream has existed or AVFormatContext is null.",
                                          "Audio stream has existed or AVFormatContext is null."}));
}

TEST(EncoderOpen, SettingsChangedAfterwardsDoNotTouchTheOpenFile) {
  const std::string path = ScratchPath("frozen.mkv");
  FFmpegEncoderImpl encoder;
  encoder_test::Configure(&encoder, encoder_test::FilmFormat(path));
  EXPECT_EQ(encoder.Open(), 0);
  for (const char* key : {"channel-count", "sample-format", "sample-rate", "frame-rate",
                          "has-audio", "has-video", "width", "height"}) {
    encoder.SetParameter(key, "0");
  }
  EXPECT_EQ(encoder.GetParameter("next-frame-type"), 1);
  EXPECT_EQ(encoder.GetParameter("sample-rate"), 48000);
  EXPECT_EQ(encoder_test::Feed(&encoder, 10), 0);
  encoder.Close();
  const std::vector<double> times = encoder_test::PacketTimes(path);
  ASSERT_EQ(times.size(), 10U);
  EXPECT_NEAR(times[9] - times[0], 0.36, 0.002);
  EXPECT_GT(encoder_test::PacketCount(path, "a"), 10);
}

TEST(EncoderOpen, AFailedOpenFreesAndEncodesNothing) {
  const std::string path = ScratchPath("half-open.mp4");
  FFmpegEncoderImpl encoder;
  MediaFormat format = encoder_test::FilmFormat(path);
  format.SetInt32("sample-rate", 0);
  encoder_test::Configure(&encoder, format);
  const LogCapture log;
  EXPECT_EQ(encoder.Open(), -1);
  EXPECT_LT(encoder.OutputError(), 0);
  std::vector<uint8_t> picture = encoder_test::Picture(0);
  std::vector<uint8_t> sound = encoder_test::Tone(1024);
  EXPECT_LT(encoder.EncodeVideo(picture.data(), 0, 0), 0);
  EXPECT_LE(encoder.EncodeAudio(sound.data(), sound.size()), 0);
  encoder.Close();
  EXPECT_TRUE(log.Has(kLogDebug, kEncoderTag, "free Videostream"));
  EXPECT_TRUE(log.Has(kLogDebug, kEncoderTag, "free AudioStream"));
}

}  // namespace
}  // namespace codec
