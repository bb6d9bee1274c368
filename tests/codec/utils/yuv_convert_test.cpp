// SPDX-License-Identifier: MIT
#include "codec/utils/yuv_convert.h"

#include <gtest/gtest.h>

#include <cstring>

#include "tests/codec/filter/filter_fixture.h"

namespace codec {
namespace {

using testing::GuardedBytes;
using testing::Shapes;
using testing::Size;

struct Conversion {
  const char* name;
  void (*convert)(const uint8_t*, uint8_t*, int, int);
  int sourceBits;
  int targetBits;
};

class EveryConversion : public ::testing::TestWithParam<Conversion> {};

TEST_P(EveryConversion, StaysInsideBuffersWithTheirSlack) {
  for (const Size size : Shapes()) {
    const int64_t pixels = int64_t{size.width} * size.height;
    const GuardedBytes source(pixels * GetParam().sourceBits / 8 + size.width + 64, 2);
    const GuardedBytes target(WithSlack(pixels * GetParam().targetBits / 8));
    GetParam().convert(source.Data(), target.Data(), size.width, size.height);
  }
}

INSTANTIATE_TEST_SUITE_P(
    YuvConvert, EveryConversion,
    ::testing::Values(Conversion{"BgraToNv12", &BgraToNv12, 32, 12},
                      Conversion{"BgraToNv21", &BgraToNv21, 32, 12},
                      Conversion{"BgraToYuv420p", &BgraToYuv420p, 32, 12},
                      Conversion{"RgbaToYuv420p", &RgbaToYuv420p, 32, 12},
                      Conversion{"ExchangeBgraRgba", &ExchangeBgraRgba, 32, 32},
                      Conversion{"RgbaToNv12", &RgbaToNv12, 32, 12},
                      Conversion{"RgbaToNv21", &RgbaToNv21, 32, 12},
                      Conversion{"Yuv420pToNv12", &Yuv420pToNv12, 12, 12},
                      Conversion{"Yuv420pToNv21", &Yuv420pToNv21, 12, 12},
                      Conversion{"Yuv420pToBgra", &Yuv420pToBgra, 12, 32},
                      Conversion{"Yuv420pToRgba", &Yuv420pToRgba, 12, 32},
                      Conversion{"Yuv411pToYuv420p", &Yuv411pToYuv420p, 12, 12},
                      Conversion{"Yuv420p10ToYuv420p", &Yuv420p10ToYuv420p, 24, 12}),
    [](const ::testing::TestParamInfo<Conversion>& row) { return row.param.name; });

TEST(ScalingAndTurning, StayInsideBuffersWithTheirSlack) {
  for (const Size size : Shapes()) {
    const int64_t pixels = int64_t{size.width} * size.height;
    const GuardedBytes four(pixels * 4 + size.width + 64);
    const GuardedBytes packed(pixels * 12 / 8 + size.width + 64);
    const GuardedBytes fourOut(WithSlack(pixels * 4));
    const GuardedBytes packedOut(WithSlack(pixels * 12 / 8));
    for (const int rotation : {0, 90, 180, 270, 45}) {
      TurnRgba(four.Data(), fourOut.Data(), size.width, size.height, rotation);
      TurnYuv420p(packed.Data(), packedOut.Data(), size.width, size.height, rotation);
    }
    for (const Size target : Shapes()) {
      const int64_t targetPixels = int64_t{target.width} * target.height;
      const GuardedBytes fourScaled(WithSlack(targetPixels * 4));
      const GuardedBytes packedScaled(WithSlack(targetPixels * 12 / 8));
      ScaleRgba(four.Data(), size.width, size.height, fourScaled.Data(), target.width,
                target.height);
      ScaleYuv420p(packed.Data(), size.width, size.height, packedScaled.Data(), target.width,
                   target.height);
    }
  }
}

}  // namespace
}  // namespace codec
