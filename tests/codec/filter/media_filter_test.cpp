// SPDX-License-Identifier: MIT
#include "codec/filter/media_filter.h"

#include <gtest/gtest.h>

#include "tests/codec/filter/filter_fixture.h"
#include "tests/support/log_capture.h"

namespace codec {
namespace {

using testing::FormatOf;
using testing::Recorder;

TEST(MediaFilter, ReadsItsSize) {
  Recorder filter;
  EXPECT_EQ(filter.width, 0);
  MediaFormat format = FormatOf({640, 480});
  EXPECT_EQ(filter.Configure(format), 0);
  EXPECT_EQ(filter.width, 640);
  EXPECT_EQ(filter.height, 480);
}

TEST(MediaFilter, RefusesASizeThatIsMissingOrZero) {
  Recorder filter;
  MediaFormat format;
  format.SetInt32("width", 640);
  const test_support::LogCapture log;
  EXPECT_EQ(filter.Configure(format), -1);
  EXPECT_TRUE(log.Has(kLogError, "codec::MediaFilter", "Invalid size (640, 0)"));
}

TEST(MediaFilter, RefusesSizesThatNoBufferHolds) {
  const test_support::LogCapture log;
  for (const testing::Size size : {testing::Size{-2, -2}, {-2, 2}, {2147483647, 2147483647}}) {
    Recorder filter;
    MediaFormat format = FormatOf(size);
    EXPECT_EQ(filter.Configure(format), -1);
  }
  EXPECT_EQ(log.CountContaining(kLogError, "codec::MediaFilter", "Invalid size ("), 3);
}

TEST(MediaFilter, AppendsBehindTheLastOfTheChain) {
  Recorder head;
  std::vector<Recorder*> filters;
  for (int i = 0; i < 3; ++i) {
    filters.push_back(new Recorder);
    AppendFilter(&head, filters.back());
  }
  EXPECT_EQ(head.next, filters[0]);
  EXPECT_EQ(filters[0]->next, filters[1]);
  EXPECT_EQ(filters[1]->next, filters[2]);
  EXPECT_EQ(filters[2]->next, nullptr);
}

TEST(MediaFilter, DeletesEachFilterOfAChainOnce) {
  int deaths = 0;
  auto* const head = new Recorder(&deaths);
  for (int i = 0; i < 4; ++i) AppendFilter(head, new Recorder(&deaths));
  delete static_cast<MediaFilter*>(head);
  EXPECT_EQ(deaths, 5);
}

}  // namespace
}  // namespace codec
