// SPDX-License-Identifier: MIT
#include "reverse/reverse_work_thread.h"

#include "reverse/reverse.h"

namespace codec {

void ReverseWorkThread::Start() {
  if (running.exchange(true)) return;
  but::Thread::Start();
}

void ReverseWorkThread::Run() { job->RunToEnd(running); }

}  // namespace codec
