// SPDX-License-Identifier: MIT
// Whole files, written through the front and read back with ffprobe.
#include <gtest/gtest.h>

#include <ctime>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "codec/encoder/media_encoder_impl.h"
#include "tests/codec/encoder/encoder_fixture.h"
#include "tests/support/command.h"
#include "tests/support/media_reading.h"

namespace codec {
namespace {

using encoder_test::Probe;
using test_support::ScratchPath;
using Values = std::vector<std::string>;

constexpr int kPictures = 50;

void Write(const MediaFormat& format, int pictures = kPictures, int width = encoder_test::kWidth,
           int height = encoder_test::kHeight) {
  MediaEncoderImpl encoder;
  ASSERT_EQ(encoder.Configure(format), 0);
  ASSERT_EQ(encoder.Open(), 0);
  EXPECT_EQ(encoder_test::Feed(&encoder, pictures, width, height), 0);
  encoder.Close();
  EXPECT_EQ(encoder.OutputError(), 0);
}

class EncoderFiles : public testing::TestWithParam<const char*> {
 protected:
  std::string Path(const std::string& name) const { return ScratchPath(name + "." + GetParam()); }
};

TEST_P(EncoderFiles, HoldEveryPictureAsConstrainedBaseline) {
  const std::string path = Path("film");
  Write(encoder_test::FilmFormat(path));
  EXPECT_EQ(Probe(path, "v", "stream=codec_name,profile,width,height,pix_fmt,level"),
            (Values{"h264", "Constrained Baseline", "64", "48", "yuv420p", "40"}));
  EXPECT_EQ(encoder_test::PacketCount(path, "v"), kPictures);
  const std::vector<test_support::Picture> pictures = test_support::DecodeLuma(path);
  ASSERT_EQ(pictures.size(), static_cast<size_t>(kPictures));
  for (int i = 0; i < kPictures; ++i) {
    std::vector<uint8_t> sent = encoder_test::Picture(i);
    sent.resize(static_cast<size_t>(encoder_test::kWidth * encoder_test::kHeight));
    const test_support::Picture original = {encoder_test::kWidth, encoder_test::kHeight, sent};
    EXPECT_GT(test_support::Psnr(original, pictures[static_cast<size_t>(i)]), 24) << i;
  }
  const std::vector<double> times = encoder_test::PacketTimes(path);
  // The AVI muxer moves everything by the priming of the sound, but not the first picture.
  const size_t first = path.find(".avi") == std::string::npos ? 1 : 2;
  for (size_t i = first; i < times.size(); ++i) {
    EXPECT_NEAR(times[i] - times[i - 1], 0.04, 0.0015) << i;
  }
  EXPECT_EQ(Probe(path, "a", "stream=codec_name,sample_rate,channels"),
            (Values{"aac", "48000", "2"}));
  EXPECT_GE(encoder_test::PacketCount(path, "a"), 92);
}

TEST(EncoderFile, FillsEverySlotOfAnAviOnRequest) {
  for (const char* codec : {"", "libmp3lame", "pcm_s16le"}) {
    const std::string path = ScratchPath("slots.avi");
    MediaFormat format = encoder_test::FilmFormat(path);
    format.SetInt32("even-slots", 1);
    format.SetInt32("any-encoder", 1);
    if (*codec != '\0') format.SetString("audio-codec", codec);
    Write(format);
    const std::vector<double> times = encoder_test::PacketTimes(path);
    ASSERT_EQ(times.size(), static_cast<size_t>(kPictures)) << codec;
    for (size_t i = 0; i < times.size(); ++i) {
      EXPECT_NEAR(times[i], static_cast<double>(i) * 0.04, 0.0005) << codec << " " << i;
    }
    const auto sound = test_support::StreamFields(path, "a");
    EXPECT_NEAR(std::stod(sound.at("start_time")), 0, 0.0005) << codec;
  }
}

// The bytes go elsewhere, into the container of the output's name, also those that the muxer reads
// back.
TEST_P(EncoderFiles, AreWrittenToAnotherPathOnRequest) {
  const std::string path = Path("named");
  const std::string elsewhere = ScratchPath("written") + "%03d:1";
  MediaFormat format = encoder_test::FilmFormat(path);
  format.SetString("write-path", elsewhere.c_str());
  Write(format);
  EXPECT_FALSE(std::filesystem::exists(path));
  EXPECT_EQ(encoder_test::PacketCount("file:" + elsewhere, "v"), kPictures);
  const std::string name = test_support::ContainerFields("file:" + elsewhere).at("format_name");
  Write(encoder_test::FilmFormat(path));
  EXPECT_EQ(name, test_support::ContainerFields(path).at("format_name"));
  EXPECT_EQ(std::filesystem::file_size(elsewhere), std::filesystem::file_size(path));
}

TEST(EncoderFilesElsewhere, NameTheOutputWhereTheOtherPathCannotBeOpened) {
  const std::string path = ScratchPath("named.mp4");
  MediaFormat format = encoder_test::VideoFormat(path);
  format.SetString("write-path", ScratchPath("none/x").c_str());
  MediaEncoderImpl encoder;
  ASSERT_EQ(encoder.Configure(format), 0);
  const test_support::LogCapture log;
  EXPECT_EQ(encoder.Open(), -1);
  EXPECT_LT(encoder.OutputError(), 0);
  EXPECT_TRUE(
      log.Has(kLogError, encoder_test::kEncoderTag, "'" + path + "': No such file or directory"));
  encoder.Close();
}

TEST_P(EncoderFiles, LastAsLongAsTheirPicturesLastOneIncluded) {
  const std::string path = Path("duration");
  Write(encoder_test::VideoFormat(path));
  EXPECT_EQ(Probe(path, "v", "stream=avg_frame_rate"), (Values{"25/1"}));
  // A transport stream stores no durations.
  const double duration = std::stod(test_support::ContainerFields(path).at("duration"));
  EXPECT_NEAR(duration, std::string(GetParam()) == "ts" ? 1.98 : 2.0, 0.021);
  if (std::string(GetParam()) != "ts") {
    EXPECT_NEAR(duration, 2.0, 0.0015);
  }
}

TEST_P(EncoderFiles, TakeARotationWhereTheContainerKeepsOne) {
  // ffprobe counts the other way round, from -180 to 180.
  const std::vector<std::pair<std::string, std::string>> turns = {
      {"0", ""}, {"90", "-90"}, {"180", "-180"}, {"270", "90"}, {"45", ""}};
  for (const auto& [angle, shown] : turns) {
    const std::string path = Path("turn" + angle);
    MediaFormat format = encoder_test::VideoFormat(path);
    format.SetString("rotate", angle.c_str());
    Write(format, 20);
    const bool mov =
        path.find(".mp4") != std::string::npos || path.find(".mov") != std::string::npos;
    const auto fields = test_support::StreamFields(path, "v");
    const auto field = fields.find("rotation");
    EXPECT_EQ(field == fields.end() ? "" : field->second, mov ? shown : "") << path;
  }
}

INSTANTIATE_TEST_SUITE_P(Containers, EncoderFiles,
                         testing::Values("mp4", "mov", "mkv", "avi", "ts"));

TEST(EncoderFile, KeepsTheSampleAspectRatio) {
  for (const char* extension : {"mp4", "mkv"}) {
    const std::string path = ScratchPath(std::string("aspect.") + extension);
    MediaFormat format = encoder_test::VideoFormat(path);
    format.SetInt32("sample_aspect_num", 4);
    format.SetInt32("sample_aspect_den", 3);
    Write(format, 3);
    EXPECT_EQ(Probe(path, "v", "stream=sample_aspect_ratio"), (Values{"4:3"}));
  }
}

// The time text has no zone: what ffprobe shows is the local time of writing.
TEST(EncoderFile, CarriesDescriptionAndCreationTime) {
  const std::string path = ScratchPath("dated.mp4");
  const std::time_t before = std::time(nullptr);
  Write(encoder_test::FilmFormat(path), 3);
  const std::time_t after = std::time(nullptr);
  const auto container = test_support::ContainerFields(path);
  const std::string description = container.at("TAG:description");
  EXPECT_EQ(description.size(), 104U);
  EXPECT_EQ(description.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
                                          "0123456789+/="),
            std::string::npos);
  for (const std::string& text : {container.at("TAG:creation_time"),
                                  test_support::StreamFields(path, "v").at("TAG:creation_time"),
                                  test_support::StreamFields(path, "a").at("TAG:creation_time")}) {
    std::tm time = {};
    ASSERT_NE(strptime(text.c_str(), "%Y-%m-%dT%H:%M:%S", &time), nullptr) << text;
    const std::time_t stored = timegm(&time);
    EXPECT_GE(stored, before);
    EXPECT_LE(stored, after);
  }
}

TEST(EncoderFile, PutsTheIndexBeforeTheMedia) {
  for (const char* extension : {"mp4", "mov"}) {
    const std::string path = ScratchPath(std::string("fast.") + extension);
    Write(encoder_test::FilmFormat(path), 10);
    const std::string bytes = encoder_test::ReadBytes(path);
    ASSERT_NE(bytes.find("moov"), std::string::npos);
    EXPECT_LT(bytes.find("moov"), bytes.find("mdat"));
  }
}

TEST(EncoderFile, KeepsTheRotateTagInMatroska) {
  const std::string path = ScratchPath("tag.mkv");
  MediaFormat format = encoder_test::VideoFormat(path);
  format.SetInt32("rotate", 90);
  Write(format, 3);
  EXPECT_EQ(test_support::StreamFields(path, "v").at("TAG:ROTATE"), "90");
}

TEST(EncoderFile, OfUnknownExtensionIsAnMpegProgramStream) {
  const std::string path = ScratchPath("film.unknown-kind");
  Write(encoder_test::VideoFormat(path), 10);
  EXPECT_EQ(test_support::ContainerFields(path).at("format_name"), "mpeg");
  EXPECT_EQ(test_support::DecodeLuma(path).size(), 10U);
}

TEST(EncoderFile, ChoosesTheContainerByThePathAlone) {
  const std::string path = ScratchPath("choice.MKV");
  MediaFormat format = encoder_test::VideoFormat(path);
  format.SetString("file-format", "mp4");
  Write(format, 3);
  EXPECT_EQ(test_support::ContainerFields(path).at("format_name"), "matroska,webm");
}

TEST(EncoderFile, OfSoundAloneHoldsAllOfIt) {
  const std::string path = ScratchPath("sound.m4a");
  MediaEncoderImpl encoder;
  ASSERT_EQ(encoder.Configure(encoder_test::SoundFormat(path, "aac")), 0);
  ASSERT_EQ(encoder.Open(), 0);
  EXPECT_EQ(encoder.GetParameter("next-frame-type"), 2);
  std::vector<uint8_t> tone = encoder_test::Tone(1024);
  for (int i = 0; i < 40; ++i) EXPECT_EQ(encoder.EncodeAudio(tone.data(), tone.size()), 0);
  EXPECT_EQ(encoder.EncodeVideo(tone.data(), 0, 0), 0);
  encoder.Close();
  EXPECT_NEAR(std::stod(test_support::StreamFields(path, "a").at("duration")), 40 * 1024 / 48000.0,
              0.022);
}

TEST(EncoderFile, RaisesStampsThatAreEqualInACoarseTimeBase) {
  const std::string path = ScratchPath("coarse.gif");
  MediaFormat format = encoder_test::VideoFormat(path);
  format.SetString("video-codec", "gif");
  format.SetString("output-color-format", "gray");
  format.SetInt32("frame-rate", 200);
  MediaEncoderImpl encoder;
  ASSERT_EQ(encoder.Configure(format), 0);
  ASSERT_EQ(encoder.Open(), 0);
  for (int i = 0; i < 20; ++i) {
    std::vector<uint8_t> picture = encoder_test::Picture(i);
    EXPECT_EQ(encoder.EncodeVideo(picture.data(), 0, 0), 0) << i;
  }
  encoder.Close();
  EXPECT_EQ(encoder.OutputError(), 0);
  EXPECT_EQ(encoder_test::PacketCount(path, "v"), 20);
}

}  // namespace
}  // namespace codec
