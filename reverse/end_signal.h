// Tells a waiting thread that the work of another one is over.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace codec {

// Work goes on between Begin and End; before the first Begin there is none. Safe to call from
// several threads.
class EndSignal {
 public:
  void Begin();
  // Wakes every waiting thread. What was written before is seen by those that see the end.
  void End();

  // Waits until no work goes on, for `time` at the most. True when none does.
  bool Wait(std::chrono::milliseconds time);

 private:
  std::mutex mMutex;
  std::condition_variable mEnded;
  // Under mMutex.
  bool mGoesOn = false;
};

}  // namespace codec
