// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "codec/ffmpeg/compat_encoding.h"
#include "codec/ffmpeg/compat_rotation.h"
#include "tests/support/clips.h"
#include "tests/support/command.h"

namespace codec::ffmpeg {
namespace {

using test_support::ScratchPath;

UniqueInput Open(const std::string& path) {
  AVFormatContext* input = nullptr;
  if (avformat_open_input(&input, path.c_str(), nullptr, nullptr) < 0) return nullptr;
  return UniqueInput(input);
}

std::string RotateTextOf(const std::string& path) {
  const UniqueInput input = Open(path);
  if (input == nullptr || input->nb_streams == 0) return "unreadable";
  return RotateText(input.get(), input->streams[0]);
}

// A file of one video stream that asks for a turn, with one made-up packet.
void WriteTurned(const std::string& path, const char* degrees, int width, int height) {
  const AVOutputFormat* format = av_guess_format(nullptr, path.c_str(), nullptr);
  ASSERT_NE(format, nullptr);
  const UniqueOutput output = NewMuxer(format, path.c_str());
  ASSERT_NE(output, nullptr);
  AVStream* stream = avformat_new_stream(output.get(), nullptr);
  ASSERT_NE(stream, nullptr);
  AVCodecParameters* parameters = stream->codecpar;
  parameters->codec_type = AVMEDIA_TYPE_VIDEO;
  parameters->codec_id = AV_CODEC_ID_MJPEG;
  parameters->format = AV_PIX_FMT_YUVJ420P;
  parameters->width = width;
  parameters->height = height;
  stream->time_base = AVRational{1, 25};
  SetRotation(format, stream, degrees);
  ASSERT_GE(avio_open(&output->pb, path.c_str(), AVIO_FLAG_WRITE), 0);
  ASSERT_GE(avformat_write_header(output.get(), nullptr), 0);
  const UniquePacket packet(av_packet_alloc());
  ASSERT_GE(av_new_packet(packet.get(), 64), 0);
  std::memset(packet->data, 0, 64);
  packet->pts = packet->dts = 0;
  packet->duration = stream->time_base.den / 25;
  packet->flags = AV_PKT_FLAG_KEY;
  ASSERT_GE(av_interleaved_write_frame(output.get(), packet.get()), 0);
  ASSERT_GE(av_write_trailer(output.get()), 0);
}

// The 36 bytes of the matrix in the track header, which no release of FFmpeg interprets for us.
std::vector<int32_t> TrackMatrix(const std::string& path) {
  std::vector<int32_t> matrix;
  const std::string bytes = test_support::Run({"cat", path}).out;
  const size_t header = bytes.find("tkhd");
  if (header == std::string::npos) return matrix;
  for (size_t i = 0; i < 9; ++i) {
    uint32_t word = 0;
    for (size_t byte = 0; byte < 4; ++byte) {
      word = word << 8 | static_cast<uint8_t>(bytes.at(header + 44 + i * 4 + byte));
    }
    matrix.push_back(static_cast<int32_t>(word));
  }
  return matrix;
}

constexpr int kOne = 1 << 16;
constexpr int kLast = 1 << 30;

TEST(Rotation, RoundTripsThroughAnMp4) {
  const std::string path = ScratchPath("turned.mp4");
  for (const char* degrees : {"90", "180", "270"}) {
    WriteTurned(path, degrees, 64, 48);
    EXPECT_EQ(RotateTextOf(path), degrees);
  }
}

TEST(Rotation, RoundTripsThroughAMov) {
  const std::string path = ScratchPath("turned.mov");
  WriteTurned(path, "270", 64, 48);
  EXPECT_EQ(RotateTextOf(path), "270");
}

TEST(Rotation, MovesTheTurnedPictureBackIntoView) {
  const std::string path = ScratchPath("matrix.mp4");
  WriteTurned(path, "90", 64, 48);
  EXPECT_EQ(TrackMatrix(path),
            (std::vector<int32_t>{0, kOne, 0, -kOne, 0, 0, 48 * kOne, 0, kLast}));
  WriteTurned(path, "180", 64, 48);
  EXPECT_EQ(TrackMatrix(path),
            (std::vector<int32_t>{-kOne, 0, 0, 0, -kOne, 0, 64 * kOne, 48 * kOne, kLast}));
  WriteTurned(path, "270", 64, 48);
  EXPECT_EQ(TrackMatrix(path),
            (std::vector<int32_t>{0, -kOne, 0, kOne, 0, 0, 0, 64 * kOne, kLast}));
}

TEST(Rotation, WritesNoMatrixForOtherAngles) {
  const std::string path = ScratchPath("other.mp4");
  for (const char* degrees : {"0", "45", "-90", "360", "", "abc"}) {
    WriteTurned(path, degrees, 64, 48);
    EXPECT_EQ(TrackMatrix(path), (std::vector<int32_t>{kOne, 0, 0, 0, kOne, 0, 0, 0, kLast}))
        << degrees;
    EXPECT_EQ(RotateTextOf(path), "") << degrees;
  }
}

TEST(Rotation, TravelsAsTheTagInMatroska) {
  const std::string path = ScratchPath("turned.mkv");
  for (const char* degrees : {"90", "45"}) {
    WriteTurned(path, degrees, 64, 48);
    EXPECT_EQ(RotateTextOf(path), degrees);
  }
}

TEST(Rotation, IsLostInAnAvi) {
  const std::string path = ScratchPath("turned.avi");
  WriteTurned(path, "90", 64, 48);
  EXPECT_EQ(RotateTextOf(path), "");
}

TEST(Rotation, StaysInFixedPointForHugePictures) {
  const UniqueOutput output = NewMuxer(av_guess_format("mp4", nullptr, nullptr), "x.mp4");
  AVStream* stream = avformat_new_stream(output.get(), nullptr);
  ASSERT_NE(stream, nullptr);
  stream->codecpar->width = std::numeric_limits<int>::max();
  stream->codecpar->height = 32768;
  SetRotation(output->oformat, stream, "180");  // an overflow would stop the sanitizer's run
  const AVDictionaryEntry* tag = av_dict_get(stream->metadata, "rotate", nullptr, 0);
  ASSERT_NE(tag, nullptr);
  EXPECT_STREQ(tag->value, "180");
}

TEST(Rotation, OfAPhoneClipIsRead) {
  EXPECT_EQ(RotateTextOf(test_support::Clip(test_support::ClipKind::kRotated)), "90");
}

TEST(Rotation, OfAnUprightClipIsEmpty) {
  EXPECT_EQ(RotateTextOf(test_support::Clip(test_support::ClipKind::kH264Short)), "");
}

TEST(Rotation, PrefersTheTagToTheMatrix) {
  const UniqueInput input = Open(test_support::Clip(test_support::ClipKind::kRotated));
  ASSERT_NE(input, nullptr);
  av_dict_set(&input->streams[0]->metadata, "rotate", "12.5", 0);
  EXPECT_EQ(RotateText(input.get(), input->streams[0]), "12.5");
}

}  // namespace
}  // namespace codec::ffmpeg
