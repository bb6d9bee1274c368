// What the host, and not the input, has kept a decoder from reading.
#pragma once

#include <atomic>

namespace codec {

// Damage is decoded over, so that a decoder goes on after most errors. Want of memory is no damage:
// what it has cost is missing in the output, and has to be told in the end.
class FirstFailure {
 public:
  // Looks at one of FFmpeg's results and gives it back.
  int Note(int result);
  // A failure that is known to be the host's.
  void Keep(int error) { mError = error; }
  // FFmpeg's negative number; 0 while there was none. For any thread.
  int Error() const { return mError; }

 private:
  std::atomic<int> mError{0};
};

}  // namespace codec
