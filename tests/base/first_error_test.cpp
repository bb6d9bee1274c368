// SPDX-License-Identifier: MIT
#include "base/first_error.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace but {
namespace {

TEST(FirstError, KeepsTheFirstErrorAndGivesEveryResultBack) {
  FirstError error;
  EXPECT_EQ(error.Error(), 0);
  EXPECT_EQ(error.Keep(7), 7);
  EXPECT_EQ(error.Keep(0), 0);
  EXPECT_EQ(error.Error(), 0) << "neither is an error";
  EXPECT_EQ(error.Keep(-12), -12);
  EXPECT_EQ(error.Keep(-5), -5);
  EXPECT_EQ(error.Keep(0), 0);
  EXPECT_EQ(error.Error(), -12);
  error.Forget();
  EXPECT_EQ(error.Error(), 0);
}

TEST(FirstError, KeepsOneOfSeveralThreads) {
  FirstError error;
  std::vector<std::thread> threads;
  for (int number = 1; number <= 4; ++number) {
    threads.emplace_back([&error, number] { error.Keep(-number); });
  }
  for (std::thread& thread : threads) thread.join();
  const int first = error.Error();
  EXPECT_LT(first, 0);
  error.Keep(-99);
  EXPECT_EQ(error.Error(), first);
}

}  // namespace
}  // namespace but
