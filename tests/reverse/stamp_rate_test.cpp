// SPDX-License-Identifier: MIT
#include "reverse/stamp_rate.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace codec {
namespace {

TEST(StampRateOf, IsFineIfTheRateVaries) {
  for (const double rate : {0.333333, 20.0, 25.0, 29.97}) EXPECT_EQ(StampRate(rate, false), 90000);
}

struct Row {
  double frameRate;
  int ticks;       // a second
  int ofAPicture;  // ticks
};

TEST(StampRateOf, GivesPicturesOfAConstantRateWholeTicks) {
  constexpr Row kRows[] = {
      {25, 25000, 1000},     {60, 60000, 1000},       {120, 120000, 1000},   {1, 1000, 1000},
      {29.97, 30000, 1001},  {29.97003, 30000, 1001}, {23.976, 24000, 1001}, {59.9401, 60000, 1001},
      {14.985, 15000, 1001}, {12.5, 25000, 2000},     {7.5, 15000, 2000},    {0.333333, 1000, 3000},
      {0.1, 1000, 10000},
  };
  for (const Row& row : kRows) {
    EXPECT_EQ(StampRate(row.frameRate, true), row.ticks) << row.frameRate;
    EXPECT_NEAR(static_cast<double>(row.ticks) / row.ofAPicture, row.frameRate,
                row.frameRate * 1e-5);
  }
}

TEST(StampRateOf, IsFineForRatesThatAreNoSimpleFraction) {
  constexpr double kInfinite = std::numeric_limits<double>::infinity();
  for (const double rate : {24.39, 18.7654, 1e-9, 0.0, -25.0, 1e9, kInfinite, std::nan("")}) {
    EXPECT_EQ(StampRate(rate, true), 90000) << rate;
  }
}

}  // namespace
}  // namespace codec
