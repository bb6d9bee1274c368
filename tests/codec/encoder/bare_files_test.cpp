// SPDX-License-Identifier: MIT
// Files without time stamps: pictures one by one, and bare sound. Written by lossless encoders and
// read back by ffmpeg.
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "codec/encoder/ffmpeg_encoder_impl.h"
#include "codec/ffmpeg/ffmpeg_headers.h"
#include "tests/codec/encoder/encoder_fixture.h"
#include "tests/support/command.h"
#include "tests/support/log_capture.h"
#include "tests/support/same_items.h"

namespace codec {
namespace {

using test_support::SameItems;
using test_support::ScratchPath;

std::string Read(const std::vector<std::string>& words) {
  std::vector<std::string> command = {"ffmpeg", "-v", "error"};
  command.insert(command.end(), words.begin(), words.end());
  return test_support::Run(command).out;
}

std::vector<uint8_t> Numbered(size_t size, int start) {
  std::vector<uint8_t> bytes(size);
  for (size_t i = 0; i < size; ++i) {
    bytes[i] = static_cast<uint8_t>(static_cast<size_t>(start) * 50 + i * 89 + i / 256 * 7);
  }
  return bytes;
}

TEST(BareFiles, HoldPicturesOfTheKindThatTheirNamesTell) {
  constexpr int kPictures = 4;
  struct Case {
    const char *name, *codec, *pixels;
  };
  for (const Case& row :
       {Case{"im%03d.png", "png", "rgb24"}, Case{"im%03d.bmp", "bmp", "bgr24"},
        Case{"im%03d.tif", "tiff", "rgb24"}, Case{"im%03d.ppm", "ppm", "rgb24"}}) {
    const std::string path = ScratchPath(row.name);
    MediaFormat format = encoder_test::VideoFormat(path);
    format.SetString("video-codec", row.codec);
    format.SetString("output-color-format", row.pixels);
    FFmpegEncoderImpl encoder;
    encoder_test::Configure(&encoder, format);
    ASSERT_EQ(encoder.Open(), 0) << row.name;
    std::string sent;
    for (int i = 0; i < kPictures; ++i) {
      std::vector<uint8_t> picture =
          Numbered(size_t{encoder_test::kWidth} * encoder_test::kHeight * 3, i);
      EXPECT_EQ(encoder.EncodeVideo(picture.data(), 0, int64_t{40000} * i), 0) << row.name;
      sent.append(picture.begin(), picture.end());
    }
    encoder.Close();
    EXPECT_EQ(encoder.OutputError(), 0) << row.name;
    EXPECT_TRUE(SameItems(Read({"-i", path, "-f", "rawvideo", "-pix_fmt", row.pixels, "-"}), sent))
        << row.name;
  }
}

TEST(BareFiles, HoldSoundOfEveryKindThatTheirHeadersName) {
  struct Case {
    const char *name, *codec, *raw;
    int format, bytes;
  };
  for (const Case& row : {Case{"x.au", "pcm_mulaw", "s16le", AV_SAMPLE_FMT_S16, 2},
                          Case{"x.au", "pcm_alaw", "s16le", AV_SAMPLE_FMT_S16, 2},
                          Case{"x.au", "pcm_s16be", "s16le", AV_SAMPLE_FMT_S16, 2},
                          Case{"x.au", "pcm_s8", "s8", AV_SAMPLE_FMT_U8, 1},
                          Case{"x.voc", "pcm_u8", "u8", AV_SAMPLE_FMT_U8, 1}}) {
    const std::string path = ScratchPath(row.name);
    MediaFormat format = encoder_test::SoundFormat(path, row.codec);
    format.SetInt32("sample-format", row.format);
    FFmpegEncoderImpl encoder;
    encoder_test::Configure(&encoder, format);
    ASSERT_EQ(encoder.Open(), 0) << row.codec;
    const size_t frame = size_t{1024} * 2 * static_cast<size_t>(row.bytes);
    std::vector<uint8_t> sound = Numbered(3 * frame, 0);
    for (size_t i = 0; i < 3; ++i) {
      EXPECT_EQ(encoder.EncodeAudio(sound.data() + i * frame, frame), 0) << row.codec;
    }
    encoder.Close();
    EXPECT_EQ(encoder.OutputError(), 0) << row.codec;
    // What ffmpeg makes of the same samples.
    const std::string raw = ScratchPath("sent.raw");
    std::ofstream(raw, std::ios::binary)
        .write(reinterpret_cast<const char*>(sound.data()),
               static_cast<std::streamsize>(sound.size()));
    const std::string input = row.format == AV_SAMPLE_FMT_U8 ? "u8" : "s16le";
    const std::string theirs = ScratchPath("theirs.nut");
    Read({"-y", "-f", input, "-ar", "48000", "-ac", "2", "-i", raw, "-c:a", row.codec, theirs});
    const std::string expected = Read({"-i", theirs, "-f", row.raw, "-"});
    ASSERT_EQ(expected.size(), sound.size()) << row.codec;
    EXPECT_TRUE(SameItems(Read({"-i", path, "-f", row.raw, "-"}), expected)) << row.codec;
  }
}

TEST(BareFiles, HoldPicturesThatTheirHeadersDescribe) {
  const std::string path = ScratchPath("film.mxf");
  FFmpegEncoderImpl encoder;
  encoder_test::Configure(&encoder, encoder_test::VideoFormat(path));
  ASSERT_EQ(encoder.Open(), 0);
  EXPECT_EQ(encoder_test::Feed(&encoder, 10), 0);
  encoder.Close();
  EXPECT_EQ(encoder.OutputError(), 0);
  EXPECT_EQ(encoder_test::PacketCount(path, "v"), 10);
}

TEST(BareFiles, RefuseWhatNoReaderWouldTakeForTheirs) {
  struct Case {
    const char *name, *codec, *pixels;
  };
  for (const Case& row :
       {Case{"im%03d.png", "libx264", "yuv420p"}, Case{"im%03d.png", "mjpeg", "yuvj420p"},
        Case{"im%03d.bmp", "png", "rgb24"}, Case{"bare.264", "mpeg4", "yuv420p"},
        Case{"bare.yuv", "libx264", "yuv420p"}}) {
    MediaFormat format = encoder_test::VideoFormat(ScratchPath(row.name));
    format.SetString("video-codec", row.codec);
    format.SetString("output-color-format", row.pixels);
    FFmpegEncoderImpl encoder;
    encoder_test::Configure(&encoder, format);
    const test_support::LogCapture log;
    EXPECT_EQ(encoder.Open(), 0) << row.name;
    EXPECT_EQ(encoder.OutputError(), AVERROR(EINVAL)) << row.name;
    encoder.Close();
  }
}

}  // namespace
}  // namespace codec
