// SPDX-License-Identifier: MIT
// The locks of the system: an abstract lock, one over a POSIX mutex, one over the standard
// library's. None of them is recursive.
#pragma once

#include <pthread.h>

#include <mutex>

namespace but {

// A lock that never blocks; the base of those that do.
class BaseLock {
 public:
  BaseLock() = default;
  virtual ~BaseLock() = default;
  BaseLock(const BaseLock&) = delete;
  BaseLock& operator=(const BaseLock&) = delete;

  virtual void Lock() {}
  virtual void Unlock() {}
};

// A POSIX mutex with default attributes. Must be unlocked when destroyed.
class Mutex : public BaseLock {
 public:
  Mutex();
  ~Mutex() override;

  void Lock() override;
  void Unlock() override;

  // For condition variables that are waited on with this mutex held.
  pthread_mutex_t* Native() { return &mMutex; }

 private:
  pthread_mutex_t mMutex;
};

// A standard-library mutex. `Lock` raises std::system_error where the host refuses.
class Mutex11 : public BaseLock {
 public:
  void Lock() override;
  void Unlock() override;

 private:
  std::mutex mMutex;
};

// Releases a lock that is already held when the scope is left, also by an exception.
class LockGuard {
 public:
  explicit LockGuard(BaseLock* lock) : mLock(lock) {}
  ~LockGuard() { mLock->Unlock(); }
  LockGuard(const LockGuard&) = delete;
  LockGuard& operator=(const LockGuard&) = delete;

 private:
  BaseLock* mLock;
};

}  // namespace but
