// SPDX-License-Identifier: MIT
#include "codec/writer/picture_sizes.h"

#include <gtest/gtest.h>

namespace codec {
namespace {

MediaFormat Source(int width, int height) {
  MediaFormat format;
  format.SetInt32("width", width);
  format.SetInt32("height", height);
  return format;
}

TEST(PictureSizes, AreTheSourcesWithoutTarget) {
  const PictureSizes sizes(Source(640, 360));
  EXPECT_FALSE(sizes.Scaled());
  EXPECT_EQ(sizes.Source(), (PictureSize{640, 360}));
  EXPECT_EQ(sizes.Unturned(), (PictureSize{640, 360}));
  EXPECT_EQ(sizes.Output(), (PictureSize{640, 360}));
}

TEST(PictureSizes, AreTheTargetsWhenBothAreSet) {
  MediaFormat format = Source(640, 360);
  format.SetInt32("target-width", 320);
  format.SetInt32("target-height", 360);
  const PictureSizes sizes(format);
  EXPECT_TRUE(sizes.Scaled());
  EXPECT_EQ(sizes.Source(), (PictureSize{640, 360}));
  EXPECT_EQ(sizes.Unturned(), (PictureSize{320, 360}));
}

TEST(PictureSizes, StayTheSourcesWithOneTargetSideThoughTheyCountAsScaled) {
  MediaFormat format = Source(640, 360);
  format.SetInt32("target-width", 320);
  const PictureSizes sizes(format);
  EXPECT_TRUE(sizes.Scaled());
  EXPECT_EQ(sizes.Unturned(), (PictureSize{640, 360}));
}

TEST(PictureSizes, AreNotScaledWhenTheTargetIsTheSource) {
  MediaFormat format = Source(640, 360);
  format.SetInt32("target-width", 640);
  format.SetInt32("target-height", 360);
  EXPECT_FALSE(PictureSizes(format).Scaled());
}

TEST(PictureSizes, ExchangeSidesAtQuarterTurnsOnly) {
  MediaFormat format = Source(640, 360);
  for (const int rotation : {0, 90, 180, 270, 45, -90}) {
    format.SetInt32("rotation", rotation);
    const bool exchanged = rotation == 90 || rotation == 270;
    EXPECT_EQ(PictureSizes(format).Output(),
              (exchanged ? PictureSize{360, 640} : PictureSize{640, 360}))
        << rotation;
    EXPECT_EQ(PictureSizes(format).Unturned(), (PictureSize{640, 360}));
  }
}

}  // namespace
}  // namespace codec
