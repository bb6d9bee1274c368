// SPDX-License-Identifier: MIT
#include "app/run_pace.h"

#include <gtest/gtest.h>

namespace app {
namespace {

TEST(RunPace, KnowsNothingBeforeSomethingIsDone) {
  RunPace pace;
  EXPECT_FALSE(pace.HasBegun());
  pace.Update(0, 1000);
  EXPECT_TRUE(pace.HasBegun());
  EXPECT_FALSE(pace.Speed(60).has_value());
  EXPECT_FALSE(pace.Left(1005).has_value());
  pace.Update(50, 1000);
  EXPECT_FALSE(pace.Speed(60).has_value()) << "no time has passed";
}

TEST(RunPace, TellsSpeedAndTimeLeft) {
  RunPace pace;
  pace.Update(0, 1000);
  pace.Update(25, 1010);
  EXPECT_DOUBLE_EQ(*pace.Speed(60), 1.5);
  EXPECT_FALSE(pace.Speed(0).has_value());
  EXPECT_DOUBLE_EQ(*pace.Left(1010), 30);
  pace.Update(25, 1012);
  EXPECT_DOUBLE_EQ(*pace.Speed(60), 1.5) << "the step before";
  EXPECT_DOUBLE_EQ(*pace.Left(1012), 28);
  EXPECT_DOUBLE_EQ(*pace.Left(2000), 0);
  pace.Update(100, 1075);
  EXPECT_DOUBLE_EQ(pace.Taken(), 75);
  EXPECT_DOUBLE_EQ(*pace.Left(1080), 0);
}

TEST(RunPace, BearsAClockThatIsSetBackAndPercentsOutsideOfTheRange) {
  RunPace pace;
  pace.Update(-5, 1000);
  EXPECT_EQ(pace.Percent(), 0);
  pace.Update(50, 900);
  EXPECT_EQ(pace.Taken(), 0);
  pace.Update(120, 1010);
  EXPECT_EQ(pace.Percent(), 100);
}

}  // namespace
}  // namespace app
