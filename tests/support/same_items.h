// SPDX-License-Identifier: MIT
// Compares long lists, so that a failure tells where they differ and not only that they do.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <string>

namespace test_support {

// Whether both lists hold the same items in the same order. A failure names the sizes and the first
// items that differ; EXPECT_EQ would print all of them.
template <typename Actual, typename Expected>
testing::AssertionResult SameItems(const Actual& actual, const Expected& expected) {
  constexpr size_t kMostCharacters = 200;
  const auto difference =
      std::mismatch(actual.begin(), actual.end(), expected.begin(), expected.end());
  if (difference.first == actual.end() && difference.second == expected.end()) {
    return testing::AssertionSuccess();
  }
  const auto text = [](const auto& list, const auto& place) {
    return place == list.end() ? std::string("nothing")
                               : testing::PrintToString(*place).substr(0, kMostCharacters);
  };
  return testing::AssertionFailure()
         << actual.size() << " items, expected " << expected.size() << "; item "
         << std::distance(actual.begin(), difference.first) << " is "
         << text(actual, difference.first) << ", expected " << text(expected, difference.second);
}

}  // namespace test_support
