// SPDX-License-Identifier: MIT
// A host that gives no threads.
#pragma once

#include <pthread.h>

#include <cstddef>

namespace test_support {

// While it lives, the host refuses every new thread of default attributes: there is no address
// space for a stack of that size.
class NoThreads {
 public:
  NoThreads() {
    pthread_getattr_default_np(&mBefore);
    pthread_attr_t huge;
    pthread_attr_init(&huge);
    pthread_attr_setstacksize(&huge, size_t{1} << 52);
    pthread_setattr_default_np(&huge);
    pthread_attr_destroy(&huge);
  }
  ~NoThreads() {
    pthread_setattr_default_np(&mBefore);
    pthread_attr_destroy(&mBefore);
  }
  NoThreads(const NoThreads&) = delete;
  NoThreads& operator=(const NoThreads&) = delete;

 private:
  pthread_attr_t mBefore{};
};

}  // namespace test_support
