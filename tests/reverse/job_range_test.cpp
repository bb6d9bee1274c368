// SPDX-License-Identifier: MIT
#include "reverse/job_range.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "base/log.h"
#include "tests/support/log_capture.h"

namespace codec {
namespace {

using test_support::LogCapture;

constexpr char kTag[] = "codec::Reverse";
constexpr double kInfinity = std::numeric_limits<double>::infinity();

TEST(JobRange, IsBroughtInsideTheClip) {
  struct Row {
    double start;
    double end;
    double startInside;
    double endInside;
  };
  const std::vector<Row> rows = {{1, 2.5, 1, 2.5},
                                 {-3, 0, 0, 4},
                                 {0, -1, 0, 4},
                                 {3.5, 10, 3.5, 4},
                                 {2, 1, 2, 1},
                                 {2, 2, 2, 2},
                                 {-kInfinity, kInfinity, 0, 4}};
  for (const Row& row : rows) {
    const LogCapture log;
    JobRange range(row.start, row.end);
    EXPECT_EQ(range.FitInto(4), 0);
    EXPECT_EQ(range.Start(), row.startInside);
    EXPECT_EQ(range.End(), row.endInside);
    EXPECT_EQ(range.Seconds(), row.endInside - row.startInside);
  }
}

TEST(JobRange, SaysWhatItChanges) {
  const LogCapture log;
  EXPECT_EQ(JobRange(-3, 0).FitInto(4), 0);
  EXPECT_TRUE(log.Has(kLogInfo, kTag, "error reverse start position, use default 0"));
  EXPECT_TRUE(log.Has(kLogInfo, kTag, "error reverse length, use start to end clip"));
  EXPECT_EQ(JobRange(0, 5).FitInto(4), 0);
  EXPECT_TRUE(log.Has(kLogInfo, kTag, "reverse length overflow"));
}

TEST(JobRange, HasToBeginBeforeTheEndOfTheClip) {
  for (const double start : {4.0, 5.0, kInfinity}) {
    const LogCapture log;
    EXPECT_EQ(JobRange(start, 0).FitInto(4), -1);
    EXPECT_TRUE(log.Has(kLogError, kTag, "error reverse start position"));
  }
}

TEST(JobRange, RefusesAnEmptyRangeIfAsked) {
  for (const double end : {2.0, 1.0, 0.5}) {
    const LogCapture log;
    JobRange range(2, end);
    range.RefuseEmpty(true);
    EXPECT_EQ(range.FitInto(4), -1);
    EXPECT_EQ(log.CountContaining(kLogError, kTag, "which is not after its start at 2.000 s"), 1);
  }
  for (const double end : {2.1, 0.0, -1.0, 9.0}) {
    const LogCapture log;
    JobRange range(2, end);
    range.RefuseEmpty(true);
    EXPECT_EQ(range.FitInto(4), 0) << end;
  }
}

}  // namespace
}  // namespace codec
