// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "codec/ffmpeg/compat_fields.h"
#include "codec/ffmpeg/owned.h"

namespace codec::ffmpeg {
namespace {

TEST(CompatFields, AreWhatWasLastSaidOfThePicture) {
  const UniqueFrame picture(av_frame_alloc());
  EXPECT_EQ(FieldsOf(picture.get()), FieldOrder::kProgressive);
  for (const FieldOrder order : {FieldOrder::kTopFirst, FieldOrder::kBottomFirst,
                                 FieldOrder::kTopFirst, FieldOrder::kProgressive}) {
    SetFields(order, picture.get());
    EXPECT_EQ(FieldsOf(picture.get()), order);
  }
  SetFields(FieldOrder::kSingle, picture.get());
  EXPECT_EQ(FieldsOf(picture.get()), FieldOrder::kProgressive);
}

}  // namespace
}  // namespace codec::ffmpeg
