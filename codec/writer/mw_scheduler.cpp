// SPDX-License-Identifier: MIT
#include "codec/writer/mw_scheduler.h"

namespace codec {

void MWScheduler::Start() {
  if (!running.exchange(true)) but::Thread::Start();
}

void MWScheduler::Run() {
  while (running) mWork->ScheduleOnce();
  mWork->Flush();
}

}  // namespace codec
