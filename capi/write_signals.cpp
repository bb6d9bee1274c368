// SPDX-License-Identifier: MIT
#include "capi/write_signals.h"

#include <cerrno>
#include <ctime>
#include <initializer_list>

namespace capi {

WriteSignals::WriteSignals() {
  sigset_t pending;
  sigset_t blocked;
  sigemptyset(&mOurs);
  sigpending(&pending);
  pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
  for (const int signal : {SIGPIPE, SIGXFSZ}) {
    if (sigismember(&blocked, signal) == 0 && sigismember(&pending, signal) == 0) {
      sigaddset(&mOurs, signal);
    }
  }
  pthread_sigmask(SIG_BLOCK, &mOurs, nullptr);
}

WriteSignals::~WriteSignals() {
  const int error = errno;
  const timespec atOnce{};
  while (sigtimedwait(&mOurs, nullptr, &atOnce) > 0) {
  }
  pthread_sigmask(SIG_UNBLOCK, &mOurs, nullptr);
  errno = error;
}

}  // namespace capi
