// SPDX-License-Identifier: MIT
#include "reverse/memory_plan.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

namespace codec {
namespace {

constexpr int64_t kMegabyte = int64_t{1} << 20;
constexpr int64_t kGigabyte = int64_t{1} << 30;

constexpr std::array<int64_t, 4> kPictures = {640 * 360 * 3 / 2, 1280 * 720 * 3 / 2,
                                              1920 * 1080 * 3 / 2, 3840 * 2160 * 3 / 2};

// A minute of 30 pictures a second on two cores, with the references that H.264 has by default.
MemoryNeeds Needs(int64_t limit, int64_t pictureBytes) {
  MemoryNeeds needs;
  needs.limit = limit;
  needs.held = 5 * kMegabyte;
  needs.pictureBytes = pictureBytes;
  needs.picturesHeld = 6;
  needs.outputBytes = pictureBytes;
  needs.frameRate = 30;
  needs.seconds = 60;
  needs.cores = 2;
  needs.usualReplay = kGigabyte;
  return needs;
}

TEST(MemoryPlan, StaysBelowEveryLimitThatItFitsInto) {
  for (const int64_t picture : kPictures) {
    for (int64_t limit = 16 * kMegabyte; limit < 64 * kGigabyte; limit += limit / 7) {
      for (const int cores : {1, 2, 16, 96}) {
        MemoryNeeds needs = Needs(limit, picture);
        needs.cores = cores;
        const MemoryPlan plan(needs);
        EXPECT_GE(plan.Threads(), 1);
        EXPECT_LE(plan.Threads(), std::min(cores, 16));
        EXPECT_GE(plan.ReplayBytes(), 0);
        EXPECT_GE(plan.AheadBytes(), 0);
        EXPECT_GE(plan.StepBytes(), 0);
        if (!plan.Fits()) continue;
        EXPECT_LE(plan.Total(), limit - limit / 16 - 8 * kMegabyte) << limit << " " << picture;
        EXPECT_GE(plan.StepBytes() + plan.ReplayBytes() + plan.AheadBytes(), picture - 1);
      }
    }
  }
}

TEST(MemoryPlan, FitsIntoTheLeastLimitAndIntoNoSmallerOne) {
  for (const int64_t picture : kPictures) {
    const int64_t least = MemoryPlan(Needs(kMegabyte, picture)).Least();
    EXPECT_FALSE(MemoryPlan(Needs(kMegabyte, picture)).Fits());
    EXPECT_FALSE(MemoryPlan(Needs(least - 1, picture)).Fits());
    const MemoryPlan smallest(Needs(least, picture));
    EXPECT_TRUE(smallest.Fits());
    EXPECT_EQ(smallest.Threads(), 1);
    EXPECT_EQ(smallest.Least(), least);
    EXPECT_GE(smallest.StepBytes() + smallest.AheadBytes() + smallest.ReplayBytes(), picture);
    EXPECT_LT(smallest.AheadBytes(), picture) << "nothing is read ahead";
    EXPECT_LT(smallest.ReplayBytes(), picture) << "nothing is replayed";
  }
}

TEST(MemoryPlan, NeedsTenPicturesMoreForFieldsOfTheOutput) {
  for (const int64_t picture : kPictures) {
    MemoryNeeds needs = Needs(kGigabyte, picture);
    needs.outputBytes = picture / 2;
    const int64_t least = MemoryPlan(needs).Least();
    needs.hasFields = true;
    EXPECT_GE(MemoryPlan(needs).Least(), least + 10 * (picture / 2) - 100);
    EXPECT_LT(MemoryPlan(needs).Least(), least + 11 * (picture / 2));
  }
}

TEST(MemoryPlan, NeedsLessForProbing) {
  for (const int64_t picture : kPictures) {
    const MemoryPlan plan(Needs(kGigabyte, picture));
    EXPECT_LT(plan.LeastForProbing(), plan.Least() - 10 * picture);
    EXPECT_GT(plan.LeastForProbing(), 6 * picture);
  }
}

TEST(MemoryPlan, NeedsLittleForSmallPictures) {
  EXPECT_LT(MemoryPlan(Needs(0, kPictures[0])).Least(), 64 * kMegabyte);
  EXPECT_LT(MemoryPlan(Needs(0, kPictures[1])).Least(), 96 * kMegabyte);
  EXPECT_LT(MemoryPlan(Needs(0, kPictures[2])).Least(), 200 * kMegabyte);
  EXPECT_LT(MemoryPlan(Needs(0, kPictures[3])).Least(), 512 * kMegabyte);
}

TEST(MemoryPlan, GivesReplayAnEighthWhereMemoryIsPlentiful) {
  const MemoryPlan plan(Needs(32 * kGigabyte, kPictures[1]));
  EXPECT_EQ(plan.ReplayBytes(), 4 * kGigabyte);
  EXPECT_EQ(plan.StepBytes(), 2 * kGigabyte);
  EXPECT_EQ(plan.AheadBytes(), 128 * kMegabyte);
  EXPECT_EQ(plan.Threads(), 2);
}

TEST(MemoryPlan, GivesReplayNoLessThanUsualWhereThereIsRoom) {
  EXPECT_EQ(MemoryPlan(Needs(4 * kGigabyte, kPictures[1])).ReplayBytes(), kGigabyte);
  MemoryNeeds modest = Needs(kGigabyte, kPictures[1]);
  modest.usualReplay = 128 * kMegabyte;
  EXPECT_EQ(MemoryPlan(modest).ReplayBytes(), 128 * kMegabyte);
}

TEST(MemoryPlan, KeepsASecondInOnePieceBeforeAnythingElse) {
  const MemoryPlan plan(Needs(200 * kMegabyte, kPictures[1]));
  EXPECT_GE(plan.StepBytes(), 30 * kPictures[1]);
  EXPECT_LT(plan.StepBytes(), 40 * kPictures[1]);
  EXPECT_GT(plan.ReplayBytes(), plan.AheadBytes());
}

TEST(MemoryPlan, ReservesThreadsByCoresAndByThePicturesInFlight) {
  MemoryNeeds needs = Needs(64 * kGigabyte, kPictures[0]);
  needs.cores = 96;
  EXPECT_EQ(MemoryPlan(needs).Threads(), 16);
  needs.pictureBytes = 64 * kMegabyte;
  EXPECT_EQ(MemoryPlan(needs).Threads(), 4);
  needs.pictureBytes = kGigabyte;
  EXPECT_EQ(MemoryPlan(needs).Threads(), 1);
}

TEST(MemoryPlan, GrowsWithEverythingThatTakesMemory) {
  const MemoryNeeds base = Needs(kGigabyte, kPictures[1]);
  const int64_t least = MemoryPlan(base).Least();
  const auto more = [&](auto change) {
    MemoryNeeds needs = base;
    change(&needs);
    return MemoryPlan(needs).Least() - least;
  };
  EXPECT_GE(more([](MemoryNeeds* n) { n->held += 50 * kMegabyte; }), 50 * kMegabyte);
  EXPECT_GE(more([](MemoryNeeds* n) { n->picturesHeld += 10; }), 10 * kPictures[1]);
  EXPECT_GE(more([](MemoryNeeds* n) { n->outputBytes *= 2; }), 10 * kPictures[1]);
  EXPECT_GE(more([](MemoryNeeds* n) { n->seconds = 36000; }), 100 * kMegabyte);
  EXPECT_GE(more([](MemoryNeeds* n) { n->frameRate = 1e300; }), 0);
}

TEST(MemoryPlan, BearsNumbersThatMeanNothing) {
  const MemoryPlan nothing{MemoryNeeds()};
  EXPECT_FALSE(nothing.Fits());
  EXPECT_EQ(nothing.Threads(), 1);
  MemoryNeeds absurd = Needs(kGigabyte, int64_t{1} << 40);
  absurd.cores = 0;
  absurd.seconds = -5;
  absurd.frameRate = -1;
  EXPECT_FALSE(MemoryPlan(absurd).Fits());
  EXPECT_GT(MemoryPlan(absurd).Least(), int64_t{1} << 40);
}

}  // namespace
}  // namespace codec
