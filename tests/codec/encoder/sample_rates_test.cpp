// SPDX-License-Identifier: MIT
#include "codec/encoder/sample_rates.h"

#include <gtest/gtest.h>

#include <utility>

namespace codec {
namespace {

TEST(NearestSampleRate, IsOneThatAacHas) {
  constexpr std::pair<int, int> kRows[] = {{192000, 96000}, {96000, 96000}, {92099, 88200},
                                           {92100, 96000},  {50000, 48000}, {44100, 44100},
                                           {37800, 32000},  {11025, 11025}, {6000, 7350},
                                           {1, 7350},       {46050, 48000}};
  for (const auto& [rate, nearest] : kRows) EXPECT_EQ(NearestSampleRate("aac", rate), nearest);
}

TEST(NearestSampleRate, IsTheRateItselfWhereAnyIsTaken) {
  EXPECT_EQ(NearestSampleRate("pcm_s16le", 12345), 12345);
  EXPECT_EQ(NearestSampleRate("no such encoder", 12345), 12345);
}

}  // namespace
}  // namespace codec
