// SPDX-License-Identifier: MIT
// Colour bars of many kinds go through a writer; what ffmpeg shows of them before and after is
// compared as RGB.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "codec/utils/color_keys.h"
#include "codec/writer/media_writer_factory.h"
#include "tests/support/command.h"
#include "tests/support/log_capture.h"
#include "tests/support/media_reading.h"

namespace codec {
namespace {

using Bytes = std::vector<uint8_t>;

constexpr double kMostDifference = 2;  // of 255, on average

struct Size {
  int width;
  int height;
};
constexpr Size kSmall = {640, 360};
constexpr Size kLarge = {1280, 720};

// Names as ffmpeg has them; those of `setparams` are the same.
struct Standard {
  const char* name;
  const char* space;
  const char* primaries;
  const char* transfer;
};
constexpr Standard kStandards[] = {
    {"bt601", "smpte170m", "smpte170m", "smpte170m"},
    {"bt709", "bt709", "bt709", "bt709"},
    {"bt2020_pq", "bt2020nc", "bt2020", "smpte2084"},
    {"bt2020_hlg", "bt2020nc", "bt2020", "arib-std-b67"},
};

Bytes ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void Run(const std::vector<std::string>& words) {
  std::vector<std::string> command = {"ffmpeg", "-v", "error", "-y"};
  command.insert(command.end(), words.begin(), words.end());
  const test_support::CommandResult result = test_support::Run(command);
  if (result.status != 0) throw std::runtime_error(result.err);
}

struct Source {
  std::string format;    // FFmpeg's name
  PictureColors colors;  // of its numbers
  Size size;
};

struct Shown {
  Bytes picture;  // in the source's format
  Bytes rgb;      // as ffmpeg shows this
};

// One picture of bars.
Shown Draw(const Source& source) {
  const std::string raw = test_support::ScratchPath("bars.raw");
  const std::string rgb = test_support::ScratchPath("bars.rgb");
  const PictureColors& colors = source.colors;
  std::string convert = "scale";
  std::string tell = "null";
  if (!colors.space.empty()) {
    convert +=
        "=out_color_matrix=" + std::string(colors.space == "bt2020nc" ? "bt2020" : colors.space) +
        ":out_range=" + colors.range;
    tell = "setparams=range=" + colors.range + ":colorspace=" + colors.space +
           ":color_primaries=" + colors.primaries + ":color_trc=" + colors.transfer;
  }
  if (source.format == "pal8") {
    // A dithered picture has more detail than 4:2:0 can keep.
    convert =
        "split[x][y];[x]palettegen=stats_mode=single[p];[y][p]paletteuse=dither=none:new=1,null";
  }
  Run({"-f",
       "lavfi",
       "-i",
       "smptebars=size=" + std::to_string(source.size.width) + "x" +
           std::to_string(source.size.height),
       "-filter_complex",
       "format=rgb24," + convert + ",format=" + source.format + "," + tell +
           ",split[a][b];[b]scale,format=rgb24[c]",
       "-map",
       "[a]",
       "-frames:v",
       "1",
       "-f",
       "rawvideo",
       raw,
       "-map",
       "[c]",
       "-frames:v",
       "1",
       "-f",
       "rawvideo",
       rgb});
  return {ReadFile(raw), ReadFile(rgb)};
}

std::string WriteClip(const Source& source, Bytes picture) {
  const std::string path = test_support::ScratchPath("bars.mp4");
  MediaFormat format;
  format.SetString("video-codec", "libx264");
  format.SetInt32("has-video", 1);
  format.SetInt32("width", source.size.width);
  format.SetInt32("height", source.size.height);
  format.SetDouble("frame-rate", 25);
  format.SetInt32("video-bitrate", 5000000);
  format.SetString("input-color-format", source.format.c_str());
  format.SetString("output-color-format", "yuv420p");
  format.SetInt32("auto-discard-video", 0);
  format.SetInt32("thread-count", 1);
  format.SetString("output-path", path.c_str());
  SetColorKeys(ConvertedColors(source.colors, source.format, "yuv420p"), &format);
  const std::unique_ptr<MediaWriter> writer(MakeMediaWriter(format));
  if (writer == nullptr || writer->Start() != 0) throw std::runtime_error("no writer");
  // The bytes of a filter may reach behind the picture.
  const auto size = static_cast<uint32_t>(picture.size());
  picture.resize(2 * picture.size());
  for (int i = 0; i < 3; ++i) writer->WriteFrame(1, picture.data(), size, int64_t{i} * 40000);
  writer->Stop();
  return path;
}

double Difference(const Bytes& a, const Bytes& b) {
  if (a.size() != b.size() || a.empty()) throw std::runtime_error("pictures of different sizes");
  double sum = 0;
  for (size_t i = 0; i < a.size(); ++i) sum += std::abs(int{a[i]} - int{b[i]});
  return sum / static_cast<double>(a.size());
}

void ExpectSameColors(const Source& source) {
  const test_support::LogCapture log;
  SCOPED_TRACE(source.format + " " + source.colors.range + " " + source.colors.space + " " +
               std::to_string(source.size.height));
  const Shown bars = Draw(source);
  const std::string path = WriteClip(source, bars.picture);
  const std::string rgb = test_support::ScratchPath("shown.rgb");
  Run({"-i", path, "-vf", "scale,format=rgb24", "-frames:v", "1", "-f", "rawvideo", rgb});
  EXPECT_LE(Difference(ReadFile(rgb), bars.rgb), kMostDifference);
  auto fields = test_support::StreamFields(path, "v");
  const auto name = [](const std::string& text) { return text.empty() ? "unknown" : text; };
  EXPECT_EQ(fields["color_primaries"], name(source.colors.primaries));
  EXPECT_EQ(fields["color_transfer"], name(source.colors.transfer));
}

class WriterColors : public testing::TestWithParam<Standard> {
 protected:
  static Source Of(const std::string& format, const std::string& range, Size size) {
    const Standard& standard = GetParam();
    return {format, {range, standard.space, standard.primaries, standard.transfer, ""}, size};
  }
};

TEST_P(WriterColors, SurviveInEveryFormatAndRange) {
  for (const char* range : {"tv", "pc"}) {
    for (const char* format : {"yuv420p", "yuv422p", "yuv444p"}) {
      ExpectSameColors(Of(format, range, kSmall));
      ExpectSameColors(Of(std::string(format) + "10le", range, kSmall));
    }
  }
}

TEST_P(WriterColors, SurviveInFormatsOfFullRange) {
  for (const char* format : {"yuvj420p", "yuvj422p", "yuvj444p"}) {
    ExpectSameColors(Of(format, "pc", kSmall));
  }
}

TEST_P(WriterColors, SurviveInLargePictures) {
  for (const char* range : {"tv", "pc"}) {
    ExpectSameColors(Of("yuv420p", range, kLarge));
    ExpectSameColors(Of("yuv444p10le", range, kLarge));
  }
}

INSTANTIATE_TEST_SUITE_P(Standards, WriterColors, testing::ValuesIn(kStandards),
                         [](const auto& parameter) { return std::string(parameter.param.name); });

TEST(WriterColorsOfRgb, SurviveInEveryFormatAndSize) {
  for (const Size size : {kSmall, kLarge}) {
    for (const char* format : {"rgb24", "bgra", "rgba", "gbrp", "pal8", "gbrp10le"}) {
      ExpectSameColors({format, {}, size});
    }
  }
}

TEST(WriterColorsOfGray, SurviveInFullRange) {
  for (const char* format : {"gray", "gray10le"}) ExpectSameColors({format, {}, kSmall});
}

}  // namespace
}  // namespace codec
