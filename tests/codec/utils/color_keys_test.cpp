// SPDX-License-Identifier: MIT
#include "codec/utils/color_keys.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "codec/ffmpeg/owned.h"

namespace codec {

bool operator==(const PictureColors& a, const PictureColors& b) {
  return a.range == b.range && a.space == b.space && a.primaries == b.primaries &&
         a.transfer == b.transfer && a.chroma == b.chroma;
}

void PrintTo(const PictureColors& colors, std::ostream* out) {
  *out << colors.range << " " << colors.space << " " << colors.primaries << " " << colors.transfer
       << " " << colors.chroma;
}

namespace {

TEST(PictureColors, AreTheNamesThatADecoderReports) {
  const ffmpeg::UniqueCodecContext context(avcodec_alloc_context3(nullptr));
  EXPECT_EQ(ColorsOf(*context), PictureColors());
  context->color_range = AVCOL_RANGE_JPEG;
  context->colorspace = AVCOL_SPC_BT2020_NCL;
  context->color_primaries = AVCOL_PRI_BT2020;
  context->color_trc = AVCOL_TRC_ARIB_STD_B67;
  context->chroma_sample_location = AVCHROMA_LOC_TOPLEFT;
  EXPECT_EQ(ColorsOf(*context),
            (PictureColors{"pc", "bt2020nc", "bt2020", "arib-std-b67", "topleft"}));
  // The matrix of RGB is none that pictures of an output could have.
  context->colorspace = AVCOL_SPC_RGB;
  EXPECT_EQ(ColorsOf(*context).space, "");
  // Numbers that FFmpeg has no names for.
  context->color_range = static_cast<AVColorRange>(77);
  context->color_trc = static_cast<AVColorTransferCharacteristic>(7777);
  EXPECT_EQ(ColorsOf(*context).range, "");
  EXPECT_EQ(ColorsOf(*context).transfer, "");
  // An MPEG-2 stream can say any byte.
  const int number = 205;
  std::memcpy(&context->color_primaries, &number, sizeof(number));
  EXPECT_EQ(ColorsOf(*context).primaries, "");
}

struct Conversion {
  const char* input;
  const char* range;   // that comes of "pc"
  const char* space;   // that comes of "bt709"
  const char* chroma;  // that comes of "topleft"
};

constexpr Conversion kConversions[] = {
    {"yuv420p", "pc", "bt709", "topleft"},  {"yuv420p10le", "pc", "bt709", "topleft"},
    {"nv12", "pc", "bt709", "topleft"},     {"yuva420p", "pc", "bt709", "topleft"},
    {"yuv422p", "pc", "bt709", "center"},   {"yuv444p10le", "pc", "bt709", "center"},
    {"yuv411p", "pc", "bt709", "center"},   {"yuyv422", "pc", "bt709", "center"},
    {"yuvj420p", "tv", "bt709", "topleft"}, {"yuvj422p", "tv", "bt709", "center"},
    {"yuvj444p", "tv", "bt709", "center"},  {"gray", "tv", "bt709", "center"},
    {"gray10le", "tv", "bt709", "center"},  {"ya8", "tv", "bt709", "center"},
    {"monow", "tv", "bt709", "center"},     {"rgb24", "tv", "smpte170m", "center"},
    {"bgra", "tv", "smpte170m", "center"},  {"gbrp10le", "tv", "smpte170m", "center"},
    {"pal8", "tv", "smpte170m", "center"},  {"rgb565le", "tv", "smpte170m", "center"},
    {"no such", "pc", "bt709", "topleft"},
};

TEST(PictureColors, ComeOutAsTheConversionMakesThem) {
  const PictureColors source = {"pc", "bt709", "bt2020", "smpte2084", "topleft"};
  for (const Conversion& row : kConversions) {
    EXPECT_EQ(ConvertedColors(source, row.input, "yuv420p"),
              (PictureColors{row.range, row.space, "bt2020", "smpte2084", row.chroma}))
        << row.input;
  }
}

TEST(PictureColors, AreNotInvented) {
  EXPECT_EQ(ConvertedColors({}, "yuv420p", "yuv420p"), PictureColors());
  EXPECT_EQ(ConvertedColors({}, "yuv420p10le", "yuv420p"), PictureColors());
  EXPECT_EQ(ConvertedColors({}, "rgb24", "yuv420p"),
            (PictureColors{"tv", "smpte170m", "", "", "center"}));
}

TEST(PictureColors, SetTheKeysOfWhatIsTold) {
  MediaFormat format;
  SetColorKeys({"tv", "", "bt2020", "", "left"}, &format);
  const std::map<std::string, std::string> expected = {
      {"color-range", "tv"}, {"color-primaries", "bt2020"}, {"chroma-location", "left"}};
  EXPECT_EQ(format.Entries(), expected);
}

}  // namespace
}  // namespace codec
