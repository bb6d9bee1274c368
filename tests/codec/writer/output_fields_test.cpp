// SPDX-License-Identifier: MIT
#include "codec/writer/output_fields.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "base/log.h"
#include "tests/support/log_capture.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::MediaWriter";

struct Settled {
  std::string order;
  size_t warnings;

  friend bool operator==(const Settled& a, const Settled& b) {
    return a.order == b.order && a.warnings == b.warnings;
  }
  friend void PrintTo(const Settled& settled, std::ostream* out) {
    *out << settled.order << ", warnings: " << settled.warnings;
  }
};

Settled Settle(const std::string& order, const std::vector<std::pair<const char*, int>>& keys) {
  const test_support::LogCapture log;
  MediaFormat format;
  format.SetInt32("width", 720);
  format.SetInt32("height", 576);
  if (!order.empty()) format.SetString("field-order", order.c_str());
  for (const auto& [key, value] : keys) format.SetInt32(key, value);
  SettleFieldOrder(&format);
  std::string settled;
  format.GetString("field-order", settled);
  return {settled, static_cast<size_t>(log.CountContaining(kLogWarn, kTag, "deinterlace"))};
}

TEST(OutputFields, StayThoseOfTheInput) {
  for (const char* order : {"tt", "bb", "progressive", ""}) {
    EXPECT_EQ(Settle(order, {}), (Settled{order, 0}));
    EXPECT_EQ(Settle(order, {{"rotate", 90}}), (Settled{order, 0})) << "the player turns them";
    EXPECT_EQ(Settle(order, {{"target-width", 720}, {"target-height", 576}}), (Settled{order, 0}));
    EXPECT_EQ(Settle(order, {{"orientation", 2}}), (Settled{order, 0})) << "left and right";
  }
}

TEST(OutputFields, ComeInTheOppositeOrderOnTheirHeads) {
  for (const int orientation : {3, 4}) {
    EXPECT_EQ(Settle("tt", {{"orientation", orientation}}), (Settled{"bb", 0}));
    EXPECT_EQ(Settle("bb", {{"orientation", orientation}}), (Settled{"tt", 0}));
  }
}

TEST(OutputFields, AreLostWithAWarningIfRowsAreMixedOrTurned) {
  const std::vector<std::vector<std::pair<const char*, int>>> changes = {
      {{"target-width", 360}, {"target-height", 288}},
      {{"rotation", 180}, {"target-width", 720}, {"target-height", 576}},
      {{"orientation", 5}},
      {{"orientation", 6}},
      {{"orientation", 8}}};
  for (const auto& change : changes) {
    EXPECT_EQ(Settle("tt", change), (Settled{"progressive", 1})) << change[0].first;
    EXPECT_EQ(Settle("progressive", change), (Settled{"progressive", 0})) << change[0].first;
  }
}

}  // namespace
}  // namespace codec
