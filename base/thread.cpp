// SPDX-License-Identifier: MIT
#include "base/thread.h"

#include <cstring>

#include "base/log.h"

namespace but {

void Thread::Start() {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_JOINABLE);
  const int result = pthread_create(&mHandle, &attributes, &Thread::Enter, this);
  pthread_attr_destroy(&attributes);
  mStarted = result == 0;
  if (!mStarted) log_error("but::Thread", "thread creation failed: %s", std::strerror(result));
}

void Thread::Join() {
  if (!mStarted) return;
  pthread_join(mHandle, nullptr);
  mStarted = false;
}

void* Thread::Enter(void* self) {
  static_cast<Thread*>(self)->Run();
  pthread_exit(nullptr);
}

}  // namespace but
