// SPDX-License-Identifier: MIT
#include "codec/writer/buffer_list.h"

#include <gtest/gtest.h>

#include <deque>
#include <memory>
#include <random>
#include <utility>

namespace codec {
namespace {

std::unique_ptr<MediaBuffer> Numbered(int number) {
  auto buffer = std::make_unique<MediaBuffer>(1);
  buffer->SetPts(number);
  return buffer;
}

TEST(BufferList, BehavesLikeAQueue) {
  constexpr unsigned kSeed = 7;
  SCOPED_TRACE(kSeed);
  std::mt19937 random(kSeed);
  BufferList list;
  std::deque<int> expected;
  for (int i = 0; i < 20000; ++i) {
    // Long runs of one kind make it grow and empty.
    if (random() % 100 < (i / 500 % 2 == 0 ? 60U : 40U)) {
      list.PushBack(Numbered(i));
      expected.push_back(i);
    } else if (expected.empty()) {
      ASSERT_EQ(list.Front(), nullptr);
      ASSERT_EQ(list.PopFront(), nullptr);
    } else {
      ASSERT_EQ(list.Front()->pts, expected.front());
      ASSERT_EQ(list.PopFront()->pts, expected.front());
      expected.pop_front();
    }
    ASSERT_EQ(list.Size(), expected.size());
    ASSERT_EQ(list.Empty(), expected.empty());
  }
  list.Clear();
  EXPECT_TRUE(list.Empty());
  EXPECT_EQ(list.Size(), 0U);
}

// A buffer that was in one list may stand in another one.
TEST(BufferList, LetsABufferGoWithoutItsNeighbours) {
  BufferList first;
  BufferList second;
  for (int i = 0; i < 3; ++i) first.PushBack(Numbered(i));
  second.PushBack(first.PopFront());
  EXPECT_EQ(first.Size(), 2U);
  EXPECT_EQ(second.Size(), 1U);
  EXPECT_EQ(second.PopFront()->pts, 0);
  EXPECT_EQ(second.PopFront(), nullptr);
  EXPECT_EQ(first.PopFront()->pts, 1);
}

// A stack that is used up would end the program.
TEST(BufferList, FreesAMillionBuffers) {
  BufferList list;
  for (int i = 0; i < 1000000; ++i) list.PushBack(Numbered(i));
}

}  // namespace
}  // namespace codec
