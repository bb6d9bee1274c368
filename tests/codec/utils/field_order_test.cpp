// SPDX-License-Identifier: MIT
#include "codec/utils/field_order.h"

#include <gtest/gtest.h>

namespace codec {
namespace {

TEST(FieldOrder, IsTheOtherOneIfTimeRunsBackward) {
  EXPECT_EQ(OppositeOrder(FieldOrder::kTopFirst), FieldOrder::kBottomFirst);
  EXPECT_EQ(OppositeOrder(FieldOrder::kBottomFirst), FieldOrder::kTopFirst);
  EXPECT_EQ(OppositeOrder(FieldOrder::kProgressive), FieldOrder::kProgressive);
  EXPECT_EQ(OppositeOrder(FieldOrder::kSingle), FieldOrder::kSingle);
}

TEST(FieldOrder, HasTheNamesThatItIsFoundUnder) {
  EXPECT_EQ(FieldOrderOf("tt"), FieldOrder::kTopFirst);
  EXPECT_EQ(FieldOrderOf("bb"), FieldOrder::kBottomFirst);
  EXPECT_EQ(FieldOrderOf("progressive"), FieldOrder::kProgressive);
  for (const char* name : {"", "tb", "top", "TT", "t"}) EXPECT_FALSE(FieldOrderOf(name)) << name;
  EXPECT_STREQ(FieldOrderName(FieldOrder::kTopFirst), "tt");
  EXPECT_STREQ(FieldOrderName(FieldOrder::kBottomFirst), "bb");
  EXPECT_STREQ(FieldOrderName(FieldOrder::kProgressive), "progressive");
  EXPECT_STREQ(FieldOrderName(FieldOrder::kSingle), "progressive");
}

}  // namespace
}  // namespace codec
