// SPDX-License-Identifier: MIT
// Reads the steps of the backward walk before they are asked for.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>

#include "base/lock.h"
#include "base/thread.h"
#include "reverse/segment_reader.h"

namespace codec {

// Some steps take long to read: the first step in a group of pictures decodes the whole group, and
// later ones are answered from memory. Writing goes on meanwhile if several steps have been read
// ahead. One step is always read ahead, and more while their frames fit into `mostBytes`. A step of
// large pictures waits for buffers to come back from the caller's step: both together take no more
// than the caller's step and `mostBytes`.
//
// From the first call of Next to the end of the last step, the reader and its decoder belong to a
// thread of their own. If the host gives no thread, they belong to the caller. Used by one thread.
class ReadAhead : private but::Thread {
 public:
  ReadAhead(SegmentReader* reader, FrameStock* stock, int64_t mostBytes)
      : mReader(reader), mStock(stock), mMostBytes(mostBytes) {}
  // Waits for a step that is being read.
  ~ReadAhead() override;
  ReadAhead(const ReadAhead&) = delete;
  ReadAhead& operator=(const ReadAhead&) = delete;

  // The next step. The caller must have given back the frames of the step before. Not to be called
  // after the last step. Throws what the reader threw.
  Segment Next();

 private:
  bool HasReader();
  void Run() override;
  void ReadSteps();
  bool HasRoom() const BUT_WANTS(mMutex);
  void LimitBeside(const Segment& step);

  SegmentReader* const mReader;
  FrameStock* const mStock;
  const int64_t mMostBytes;

  but::Mutex mMutex;
  std::condition_variable_any mChanged;
  std::deque<Segment> mReady BUT_UNDER(mMutex);
  std::exception_ptr mThrown BUT_UNDER(mMutex);  // by the step after the ready ones
  bool mIsStopping BUT_UNDER(mMutex) = false;
};

}  // namespace codec
