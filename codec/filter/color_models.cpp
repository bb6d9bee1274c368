// SPDX-License-Identifier: MIT
#include "codec/filter/color_models.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "codec/utils/yuv_convert.h"

namespace codec {
namespace {

constexpr ColorModel Yuv(int number, BufferRule rule, ConvertPicture convert) {
  return {number, rule, rule, convert, false, AV_PIX_FMT_NONE, AV_PIX_FMT_NONE};
}

// Stands only at the end of a chain, where the pool's buffer takes the picture.
constexpr ColorModel LastYuv(int number, BufferRule output, ConvertPicture convert) {
  return {number, BufferRule::kNone, output, convert, false, AV_PIX_FMT_NONE, AV_PIX_FMT_NONE};
}

constexpr ColorModel Sws(int number, BufferRule rule, AVPixelFormat from, AVPixelFormat to) {
  return {number, rule, rule, nullptr, true, from, to};
}

constexpr std::array<ColorModel, 23> kModels = {{
    LastYuv(kCopyColorModel, BufferRule::kInput, nullptr),
    Yuv(2, BufferRule::kThreeHalf, &Yuv411pToYuv420p),
    Yuv(3, BufferRule::kThreeHalf, &Yuv420p10ToYuv420p),
    Yuv(4, BufferRule::kThreeHalf, &BgraToYuv420p),
    Yuv(5, BufferRule::kThreeHalf, &BgraToNv12),
    Yuv(6, BufferRule::kThreeHalf, &BgraToNv21),
    Yuv(7, BufferRule::kFour, &ExchangeBgraRgba),
    Yuv(8, BufferRule::kFour, &ExchangeBgraRgba),
    Yuv(9, BufferRule::kThreeHalf, &Yuv420pToNv12),
    Yuv(10, BufferRule::kThreeHalf, &Yuv420pToNv21),
    LastYuv(11, BufferRule::kFour, &Yuv420pToBgra),
    LastYuv(12, BufferRule::kFour, &Yuv420pToRgba),
    Yuv(13, BufferRule::kThreeHalf, &RgbaToYuv420p),
    Yuv(14, BufferRule::kThreeHalf, &RgbaToNv12),
    Yuv(15, BufferRule::kThreeHalf, &RgbaToNv21),
    Sws(16, BufferRule::kOne, AV_PIX_FMT_BGRA, AV_PIX_FMT_BGR4_BYTE),
    Sws(17, BufferRule::kOne, AV_PIX_FMT_RGBA, AV_PIX_FMT_BGR4_BYTE),
    Sws(18, BufferRule::kOne, AV_PIX_FMT_YUV420P, AV_PIX_FMT_BGR4_BYTE),
    Sws(19, BufferRule::kOne, AV_PIX_FMT_RGBA, AV_PIX_FMT_RGB4_BYTE),
    Sws(20, BufferRule::kThree, AV_PIX_FMT_RGBA, AV_PIX_FMT_RGB24),
    Sws(21, BufferRule::kOne, AV_PIX_FMT_RGBA, AV_PIX_FMT_RGB8),
    Sws(22, BufferRule::kOne, AV_PIX_FMT_BGRA, AV_PIX_FMT_RGB8),
    Sws(kGeneralColorModel, BufferRule::kAnyFormat, AV_PIX_FMT_NONE, AV_PIX_FMT_NONE),
}};

struct FormatPair {
  std::string_view input;
  std::string_view output;
  int model;
};

constexpr std::array<FormatPair, 23> kPairs = {{
    {"yuv411p", "yuv420p", 2},    {"yuv420p10le", "yuv420p", 3},
    {"bgra", "yuv420p", 4},       {"bgra", "842094169", 4},
    {"bgra", "nv12", 5},          {"bgra", "yuv420psp", 5},
    {"bgra", "nv21", 6},          {"bgra", "17", 6},
    {"bgra", "rgba", 8},          {"yuv420p", "nv12", 9},
    {"yuv420p", "nv21", 10},      {"yuv420p", "bgra", 11},
    {"yuv420p", "rgba", 12},      {"rgba", "yuv420p", 13},
    {"rgba", "nv12", 14},         {"rgba", "nv21", 15},
    {"bgra", "bgr4_byte", 16},    {"rgba", "bgr4_byte", 17},
    {"yuv420p", "bgr4_byte", 18}, {"rgba", "rgb4_byte", 19},
    {"rgba", "rgb24", 20},        {"rgba", "rgb8", 21},
    {"bgra", "rgb8", 22},
}};

}  // namespace

const ColorModel* FindColorModel(int number) {
  const auto* const row =
      std::find_if(kModels.begin(), kModels.end(),
                   [number](const ColorModel& model) { return model.number == number; });
  return row == kModels.end() ? nullptr : row;
}

int64_t RuleBytes(BufferRule rule, int64_t pixels) {
  // In the order of the enumeration, in eighths.
  constexpr std::array<int, 7> kBits = {0, 8, 12, 24, 32, 0, 0};
  return pixels * kBits[static_cast<size_t>(rule)] / 8;
}

int ChooseColorModel(const char* inputFormat, const char* outputFormat) {
  const std::string_view input = inputFormat;
  const std::string_view output = outputFormat;
  if (input == output) return kCopyColorModel;
  const auto* const row = std::find_if(kPairs.begin(), kPairs.end(), [&](const FormatPair& pair) {
    return pair.input == input && pair.output == output;
  });
  return row == kPairs.end() ? kGeneralColorModel : row->model;
}

}  // namespace codec
