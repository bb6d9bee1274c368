// SPDX-License-Identifier: MIT
// The locks of the system: an abstract lock, one over a POSIX mutex, one over the standard
// library's. None of them is recursive.
//
// Members say which lock they are under, functions which lock they want: clang then proves at
// compile time that no member is touched without its lock. Other compilers do not read the words.
#pragma once

#include <pthread.h>

#include <mutex>

#if defined(__clang__)
#define BUT_LOCK_WORD(word) __attribute__((word))
#else
#define BUT_LOCK_WORD(word)
#endif

// A class whose objects are locks.
#define BUT_LOCK BUT_LOCK_WORD(capability("lock"))
// A class whose objects hold a lock for the length of a scope.
#define BUT_LOCK_HOLDER BUT_LOCK_WORD(scoped_lockable)
// A member that is touched under this lock only, and a pointer whose object is.
#define BUT_UNDER(lock) BUT_LOCK_WORD(guarded_by(lock))
#define BUT_POINTS_UNDER(lock) BUT_LOCK_WORD(pt_guarded_by(lock))
// A function that is called with these locks held.
#define BUT_WANTS(...) BUT_LOCK_WORD(requires_capability(__VA_ARGS__))
// A function that takes these locks, or gives them up. Without names: the object's own.
#define BUT_TAKES(...) BUT_LOCK_WORD(acquire_capability(__VA_ARGS__))
#define BUT_GIVES_UP(...) BUT_LOCK_WORD(release_capability(__VA_ARGS__))
// A function whose body clang cannot follow.
#define BUT_UNPROVEN BUT_LOCK_WORD(no_thread_safety_analysis)

namespace but {

// A lock that never blocks; the base of those that do.
class BUT_LOCK BaseLock {
 public:
  BaseLock() = default;
  virtual ~BaseLock() = default;
  BaseLock(const BaseLock&) = delete;
  BaseLock& operator=(const BaseLock&) = delete;

  virtual void Lock() BUT_TAKES() BUT_UNPROVEN {}
  virtual void Unlock() BUT_GIVES_UP() BUT_UNPROVEN {}
};

// A POSIX mutex with default attributes. Must be unlocked when destroyed.
class BUT_LOCK Mutex : public BaseLock {
 public:
  Mutex();
  ~Mutex() override;

  void Lock() override BUT_TAKES();
  void Unlock() override BUT_GIVES_UP();

  // For condition variables that are waited on with this mutex held.
  pthread_mutex_t* Native() { return &mMutex; }

 private:
  pthread_mutex_t mMutex;
};

// A standard-library mutex. `Lock` raises std::system_error where the host refuses.
class BUT_LOCK Mutex11 : public BaseLock {
 public:
  void Lock() override BUT_TAKES();
  void Unlock() override BUT_GIVES_UP();

 private:
  std::mutex mMutex;
};

// Releases a lock that is already held when the scope is left, also by an exception.
class BUT_LOCK_HOLDER LockGuard {
 public:
  explicit LockGuard(BaseLock* lock) BUT_WANTS(lock) : mLock(lock) {}
  ~LockGuard() BUT_GIVES_UP() { mLock->Unlock(); }
  LockGuard(const LockGuard&) = delete;
  LockGuard& operator=(const LockGuard&) = delete;

 private:
  BaseLock* mLock;
};

// Takes a lock, and releases the lock when the scope is left. May release it earlier and take it
// again. The names are those that std::condition_variable_any calls.
class BUT_LOCK_HOLDER HeldLock {
 public:
  explicit HeldLock(BaseLock* lock) BUT_TAKES(lock) : mLock(lock) { mLock->Lock(); }
  ~HeldLock() BUT_GIVES_UP() {
    if (mIsHeld) mLock->Unlock();
  }
  HeldLock(const HeldLock&) = delete;
  HeldLock& operator=(const HeldLock&) = delete;

  void lock() BUT_TAKES() {
    mLock->Lock();
    mIsHeld = true;
  }
  void unlock() BUT_GIVES_UP() {
    mLock->Unlock();
    mIsHeld = false;
  }

 private:
  BaseLock* const mLock;
  bool mIsHeld = true;
};

}  // namespace but
