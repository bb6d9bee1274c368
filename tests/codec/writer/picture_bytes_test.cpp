// SPDX-License-Identifier: MIT
// Pictures of every pixel format go through a writer into a file of bare pictures. All of their
// bytes must be in the file.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "codec/ffmpeg/ffmpeg_headers.h"
#include "codec/writer/media_buffer_pool.h"
#include "codec/writer/media_writer_factory.h"
#include "tests/support/command.h"
#include "tests/support/log_capture.h"

namespace codec {
namespace {

constexpr int kPictures = 3;

struct Size {
  int width;
  int height;
};
// Halved colour planes are rounded up in the second one.
constexpr Size kSizes[] = {{64, 48}, {33, 25}};

std::vector<AVPixelFormat> FormatsOfSwscale() {
  std::vector<AVPixelFormat> formats;
  for (const AVPixFmtDescriptor* row = av_pix_fmt_desc_next(nullptr); row != nullptr;
       row = av_pix_fmt_desc_next(row)) {
    const AVPixelFormat format = av_pix_fmt_desc_get_id(row);
    // Palettes and single bits are no business of the raw encoder's size.
    const bool isPlain = (row->flags & (AV_PIX_FMT_FLAG_PAL | AV_PIX_FMT_FLAG_BITSTREAM)) == 0;
    if (isPlain && sws_isSupportedOutput(format) != 0) formats.push_back(format);
  }
  return formats;
}

MediaFormat Describe(const std::string& input, const std::string& output, const Size& size,
                     const std::string& path) {
  MediaFormat format;
  format.SetString("video-codec", "rawvideo");
  format.SetInt32("has-video", 1);
  format.SetInt32("width", size.width);
  format.SetInt32("height", size.height);
  format.SetDouble("frame-rate", 25);
  format.SetString("input-color-format", input.c_str());
  format.SetString("output-color-format", output.c_str());
  format.SetString("output-path", path.c_str());
  return format;
}

// Bytes of one picture as FFmpeg counts them.
int WholeBytes(AVPixelFormat format, const Size& size) {
  return av_image_get_buffer_size(format, size.width, size.height, 1);
}

// The file of a writer that has got the same picture several times.
std::string WriteThrough(MediaWriter* made, std::vector<uint8_t> picture, int bytes,
                         const std::string& path) {
  const std::unique_ptr<MediaWriter> writer(made);
  if (writer == nullptr || writer->Start() != 0) return "no writer";
  // The writer may read 128 bytes after a planar picture of 64 columns. There are no more, so that
  // a sanitizer sees it if the writer reads further.
  picture.resize(picture.size() + 128);
  picture.shrink_to_fit();
  for (int i = 0; i < kPictures; ++i) {
    writer->WriteFrame(1, picture.data(), static_cast<uint32_t>(bytes), int64_t{i} * 40000);
  }
  writer->Stop();
  EXPECT_EQ(writer->OutputError(), 0);
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::vector<uint8_t> Numbered(int bytes) {
  std::vector<uint8_t> picture(static_cast<size_t>(bytes));
  for (size_t i = 0; i < picture.size(); ++i) picture[i] = static_cast<uint8_t>(i * 31 + i / 256);
  return picture;
}

void ExpectTimes(const std::string& file, const std::vector<uint8_t>& picture,
                 const std::string& name) {
  ASSERT_EQ(file.size(), kPictures * picture.size()) << name;
  for (size_t i = 0; i < file.size(); ++i) {
    ASSERT_EQ(static_cast<uint8_t>(file[i]), picture[i % picture.size()])
        << name << " at byte " << i;
  }
}

class PictureBytes : public testing::TestWithParam<Size> {
 protected:
  void SetUp() override { MediaBufferPool::Instance()->Reset(); }

  const test_support::LogCapture log;
  const std::string path = test_support::ScratchPath("bare.yuv");
};

TEST_P(PictureBytes, AreAllThereInEveryFormatThatIsConvertedTo) {
  const std::vector<AVPixelFormat> formats = FormatsOfSwscale();
  ASSERT_GT(formats.size(), 100U);
  for (const AVPixelFormat pixels : formats) {
    const std::string name = av_get_pix_fmt_name(pixels);
    MediaFormat format = Describe("bgra", name, GetParam(), path);
    const int input = GetParam().width * GetParam().height * 4;
    const std::string file = WriteThrough(MakeMediaWriter(format), Numbered(input), input, path);
    EXPECT_EQ(file.size(), size_t{kPictures} * static_cast<size_t>(WholeBytes(pixels, GetParam())))
        << name;
  }
}

TEST_P(PictureBytes, AreKeptInEveryFormatThatIsCopied) {
  for (const AVPixelFormat pixels : FormatsOfSwscale()) {
    const std::string name = av_get_pix_fmt_name(pixels);
    MediaFormat format = Describe(name, name, GetParam(), path);
    const int bytes = WholeBytes(pixels, GetParam());
    const std::vector<uint8_t> picture = Numbered(bytes);
    ExpectTimes(WriteThrough(MakeMediaWriter(format), picture, bytes, path), picture, name);
  }
}

// At odd sizes some formats count fewer bytes than FFmpeg, and callers who pass more are refused.
TEST(PictureBytesWithoutFilters, AreKept) {
  const test_support::LogCapture log;
  const std::string path = test_support::ScratchPath("bare.yuv");
  const Size size = kSizes[0];
  MediaBufferPool::Instance()->Reset();
  for (const AVPixelFormat pixels : FormatsOfSwscale()) {
    const std::string name = av_get_pix_fmt_name(pixels);
    MediaFormat format = Describe(name, name, size, path);
    const int bytes = WholeBytes(pixels, size);
    const std::vector<uint8_t> picture = Numbered(bytes);
    ExpectTimes(WriteThrough(MakeMediaWriterWithoutFilter(format), picture, bytes, path), picture,
                name);
  }
}

TEST(PictureBytesWithoutFilters, AreRefusedIfThereAreTooMany) {
  const test_support::LogCapture log;
  const std::string path = test_support::ScratchPath("bare.yuv");
  MediaFormat format = Describe("rgb48le", "rgb48le", kSizes[0], path);
  const std::unique_ptr<MediaWriter> writer(MakeMediaWriterWithoutFilter(format));
  ASSERT_NE(writer, nullptr);
  ASSERT_EQ(writer->Start(), 0);
  const int bytes = WholeBytes(AV_PIX_FMT_RGB48LE, kSizes[0]);
  std::vector<uint8_t> picture = Numbered(bytes + 1);
  writer->WriteFrame(1, picture.data(), static_cast<uint32_t>(bytes + 1), 0);
  EXPECT_EQ(writer->OutputError(), AVERROR(EINVAL));
}

INSTANTIATE_TEST_SUITE_P(Sizes, PictureBytes, testing::ValuesIn(kSizes), [](const auto& parameter) {
  return std::to_string(parameter.param.width) + "x" + std::to_string(parameter.param.height);
});

}  // namespace
}  // namespace codec
