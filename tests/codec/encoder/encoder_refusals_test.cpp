// SPDX-License-Identifier: MIT
// Outputs that cannot be written and settings that make no sense: errors, never a crash.
#include <gmock/gmock.h>

#include <unistd.h>

#include <string>
#include <vector>

#include "codec/encoder/ffmpeg_encoder_impl.h"
#include "codec/ffmpeg/error_text.h"
#include "codec/ffmpeg/ffmpeg_headers.h"
#include "tests/codec/encoder/encoder_fixture.h"
#include "tests/support/command.h"

namespace codec {
namespace {

using encoder_test::kEncoderTag;
using encoder_test::Texts;
using test_support::LogCapture;
using test_support::ScratchPath;
using Lines = std::vector<std::string>;

class RefusedHeader : public testing::TestWithParam<const char*> {};

TEST_P(RefusedHeader, IsLoggedAndKeptAndNothingCallsTheMuxerAgain) {
  const std::string path = ScratchPath(std::string("refused.") + GetParam());
  FFmpegEncoderImpl encoder;
  encoder_test::Configure(&encoder, encoder_test::FilmFormat(path));
  const LogCapture log;
  EXPECT_EQ(encoder.Open(), 0);
  // Which of the two it is for raw pictures depends on FFmpeg's release.
  const int reason = encoder.OutputError();
  EXPECT_THAT(reason, testing::AnyOf(AVERROR(EINVAL), AVERROR(EIO)));
  EXPECT_EQ(Texts(log, kLogError),
            Lines{"Could not write the header of '" + path + "': " + ffmpeg::ErrorText(reason)});
  std::vector<uint8_t> tone = encoder_test::Tone(1024);
  for (int i = 0; i < 4; ++i) {
    std::vector<uint8_t> picture = encoder_test::Picture(i);
    EXPECT_EQ(encoder.EncodeVideo(picture.data(), 0, int64_t{40000} * i), AVERROR(EINVAL));
    EXPECT_EQ(encoder.EncodeAudio(tone.data(), tone.size()), 0);
  }
  encoder.Close();
  EXPECT_GE(log.Count(kLogError, kEncoderTag, "Error while writing audio frame."), 3);
  EXPECT_EQ(log.CountContaining(kLogDebug, kEncoderTag, "trailer"), 0);
  EXPECT_EQ(log.CountContaining(kLogError, kEncoderTag, "trailer"), 0);
  EXPECT_EQ(encoder.OutputError(), reason);
}

INSTANTIATE_TEST_SUITE_P(Containers, RefusedHeader,
                         testing::Values("webm", "gif", "mpg", "unknown-kind", "y4m", "ogg"));

TEST(RefusedOutput, WithoutStreamsIsARefusedHeader) {
  FFmpegEncoderImpl encoder;
  MediaFormat format = encoder_test::VideoFormat(ScratchPath("empty.mp4"));
  format.SetString("video-codec", "none");
  encoder_test::Configure(&encoder, format);
  const LogCapture log;
  EXPECT_EQ(encoder.Open(), 0);
  EXPECT_LT(encoder.OutputError(), 0);
  EXPECT_EQ(encoder.GetParameter("next-frame-type"), 0);
  encoder.Close();
}

class FullDisk : public testing::TestWithParam<const char*> {};

// A name with the wanted extension that leads to a device without room.
TEST_P(FullDisk, IsReportedOnceTheBytesDoNotFit) {
  const std::string path = ScratchPath(std::string("full_device.") + GetParam());
  ASSERT_EQ(symlink("/dev/full", path.c_str()), 0);
  FFmpegEncoderImpl encoder;
  encoder_test::Configure(&encoder, encoder_test::FilmFormat(path));
  const LogCapture log;
  encoder.Open();
  encoder_test::Feed(&encoder, 60);
  encoder.Close();
  EXPECT_EQ(encoder.OutputError(), AVERROR(ENOSPC));
  unlink(path.c_str());
}

INSTANTIATE_TEST_SUITE_P(Containers, FullDisk, testing::Values("mp4", "mov", "mkv", "avi", "ts"));

struct Setting {
  const char* key;
  const char* value;
};

class AbsurdSetting : public testing::TestWithParam<Setting> {};

TEST_P(AbsurdSetting, IsRefusedByOpen) {
  MediaFormat format = encoder_test::FilmFormat(ScratchPath("absurd.mp4"));
  format.SetString(GetParam().key, GetParam().value);
  // libx264 refuses this width as well, but leaks memory as it does.
  if (std::string(GetParam().value) == "100000") format.SetString("video-codec", "mpeg4");
  FFmpegEncoderImpl encoder;
  encoder_test::Configure(&encoder, format);
  const LogCapture log;
  EXPECT_EQ(encoder.Open(), -1);
  EXPECT_LT(encoder.OutputError(), 0);
  EXPECT_GE(Texts(log, kLogError).size(), 1U);
  std::vector<uint8_t> tone = encoder_test::Tone(1024);
  encoder.EncodeAudio(tone.data(), tone.size());
  encoder.GetParameter("audio-frame-duration");
  encoder.Close();
}

INSTANTIATE_TEST_SUITE_P(
    Values, AbsurdSetting,
    testing::Values(Setting{"frame-rate", "0"}, Setting{"frame-rate", "nan"},
                    Setting{"frame-rate", "-25"}, Setting{"frame-rate", "-inf"},
                    Setting{"frame-rate", "0.0001"}, Setting{"sample-rate", "0"},
                    Setting{"sample-rate", "-1"}, Setting{"sample-rate", "2147483647"},
                    Setting{"channel-count", "0"}, Setting{"channel-count", "-1"},
                    Setting{"channel-count", "100"}, Setting{"channel-count", "2147483647"},
                    Setting{"width", "0"}, Setting{"width", "-1"}, Setting{"width", "100000"},
                    Setting{"height", "-2147483648"}, Setting{"height", "2147483647"},
                    Setting{"sample-format", "-1"}, Setting{"sample-format", "99"},
                    Setting{"sample-format", "2147483647"}));

class StrangeSetting : public testing::TestWithParam<Setting> {};

// Whether these are taken is the encoder's choice; either way the file is closed without a crash.
TEST_P(StrangeSetting, DoesNotCrash) {
  MediaFormat format = encoder_test::FilmFormat(ScratchPath("strange.mp4"));
  format.SetString(GetParam().key, GetParam().value);
  FFmpegEncoderImpl encoder;
  encoder_test::Configure(&encoder, format);
  const LogCapture log;
  const bool open = encoder.Open() == 0;
  if (open) encoder_test::Feed(&encoder, 5);
  encoder.Close();
  EXPECT_EQ(Texts(log, kLogError).empty(), open);
}

INSTANTIATE_TEST_SUITE_P(
    Values, StrangeSetting,
    testing::Values(Setting{"frame-rate", "1e12"}, Setting{"frame-rate", "inf"},
                    Setting{"gop", "nan"}, Setting{"gop", "-1e300"}, Setting{"gop", "1e300"},
                    Setting{"video-bitrate", "2147483647"}, Setting{"video-bitrate", "-5"},
                    Setting{"maxrate", "2147483647"}, Setting{"audio-bit-rate", "-1"},
                    Setting{"sample_aspect_num", "-3"}, Setting{"sample_aspect_den", "7"},
                    Setting{"rotate", "abc"}, Setting{"rotate", ""}, Setting{"thread-count", "-4"},
                    Setting{"preset", "no such preset"}));

}  // namespace
}  // namespace codec
