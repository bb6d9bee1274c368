// SPDX-License-Identifier: MIT
#include "base/lock.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <stdexcept>
#include <thread>
#include <type_traits>

namespace but {
namespace {

// Notes the calls that reach it.
class NotingLock : public BaseLock {
 public:
  void Lock() override { ++locked; }
  void Unlock() override { ++unlocked; }
  int locked = 0;
  int unlocked = 0;
};

TEST(BaseLock, NeverBlocks) {
  BaseLock lock;
  lock.Lock();
  lock.Lock();
  lock.Unlock();
  lock.Unlock();
}

TEST(BaseLock, NeverBlocksTwoThreadsAtOnce) {
  BaseLock lock;
  std::atomic<int> inside = 0;
  const auto enter = [&] {
    lock.Lock();
    ++inside;
    // Goes on only when the other thread got in as well.
    while (inside < 2) std::this_thread::yield();
    lock.Unlock();
  };
  std::thread first(enter);
  std::thread second(enter);
  first.join();
  second.join();
  EXPECT_EQ(inside, 2);
}

template <typename LockType>
class BlockingLock : public testing::Test {};
using BlockingLocks = testing::Types<Mutex, Mutex11>;
TYPED_TEST_SUITE(BlockingLock, BlockingLocks, );

TYPED_TEST(BlockingLock, IsUsedThroughTheBase) {
  static_assert(std::is_base_of_v<BaseLock, TypeParam>);
  static_assert(std::has_virtual_destructor_v<BaseLock>);
  const std::unique_ptr<BaseLock> lock = std::make_unique<TypeParam>();
  lock->Lock();
  lock->Unlock();
  lock->Lock();
  lock->Unlock();
}

TYPED_TEST(BlockingLock, LetsOneThreadInAtATime) {
  TypeParam lock;
  int count = 0;  // not atomic: only the lock keeps it right
  int inside = 0;
  int mostInside = 0;
  const auto work = [&] {
    for (int i = 0; i < 20000; ++i) {
      lock.Lock();
      mostInside = std::max(mostInside, ++inside);
      ++count;
      --inside;
      lock.Unlock();
    }
  };
  std::thread first(work);
  std::thread second(work);
  first.join();
  second.join();
  EXPECT_EQ(count, 40000);
  EXPECT_EQ(mostInside, 1);
}

// The pause is for a thread that is let in: it gets this long to show.
TYPED_TEST(BlockingLock, KeepsAnotherThreadWaiting) {
  TypeParam lock;
  std::atomic<bool> isInside = false;
  lock.Lock();
  std::thread other([&] {
    lock.Lock();
    isInside = true;
    lock.Unlock();
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_FALSE(isInside);
  lock.Unlock();
  other.join();
  EXPECT_TRUE(isInside);
}

TEST(Mutex, HandsOutItsNativeMutex) {
  Mutex lock;
  lock.Lock();
  int fromOtherThread = 0;
  std::thread([&] { fromOtherThread = pthread_mutex_trylock(lock.Native()); }).join();
  EXPECT_EQ(fromOtherThread, EBUSY);
  lock.Unlock();
  ASSERT_EQ(pthread_mutex_trylock(lock.Native()), 0);
  pthread_mutex_unlock(lock.Native());
}

TEST(LockGuard, OnlyReleases) {
  NotingLock lock;
  {
    const LockGuard guard(&lock);
    EXPECT_EQ(lock.unlocked, 0);
  }
  EXPECT_EQ(lock.locked, 0);
  EXPECT_EQ(lock.unlocked, 1);
}

TEST(LockGuard, ReleasesWhenAnExceptionPasses) {
  Mutex11 lock;
  try {
    lock.Lock();
    const LockGuard guard(&lock);
    throw std::runtime_error("passing");
  } catch (const std::runtime_error&) {
  }
  // Another thread gets the lock; it would wait for ever if it was still held.
  std::thread([&] {
    lock.Lock();
    lock.Unlock();
  }).join();
}

TEST(HeldLock, HoldsForAScope) {
  NotingLock lock;
  {
    const HeldLock held(&lock);
    EXPECT_EQ(lock.locked, 1);
    EXPECT_EQ(lock.unlocked, 0);
  }
  EXPECT_EQ(lock.locked, 1);
  EXPECT_EQ(lock.unlocked, 1);
}

TEST(HeldLock, ReleasesOnceIfItIsReleasedEarlier) {
  NotingLock lock;
  {
    HeldLock held(&lock);
    held.unlock();
    EXPECT_EQ(lock.unlocked, 1);
  }
  EXPECT_EQ(lock.unlocked, 1);
}

TEST(HeldLock, IsTakenAgain) {
  NotingLock lock;
  {
    HeldLock held(&lock);
    held.unlock();
    held.lock();
    EXPECT_EQ(lock.locked, 2);
  }
  EXPECT_EQ(lock.unlocked, 2);
}

// The other thread gets the lock, as the one that waits has given it up.
TEST(HeldLock, IsGivenUpForAsLongAsAConditionIsAwaited) {
  Mutex lock;
  std::condition_variable_any changed;
  bool isSet = false;
  HeldLock held(&lock);
  std::thread other([&] {
    const HeldLock inner(&lock);
    isSet = true;
    changed.notify_all();
  });
  while (!isSet) changed.wait(held);
  held.unlock();
  other.join();
}

}  // namespace
}  // namespace but
