// Reads the steps of the backward walk before they are asked for.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <mutex>
#include <thread>

#include "reverse/segment_reader.h"

namespace codec {

// Steps take unlike time to read: where a group of pictures begins all of it is decoded at once,
// and the steps behind are answered from what was kept of it. Several steps in stock let writing go
// on meanwhile. One is always read ahead, more only while their frames fit into `mostBytes`. A step
// of large pictures waits for buffers to come back from the step that the caller has: both together
// take no more than the caller's step and `mostBytes`.
//
// The reader, and with it the decoder, belongs to a thread of its own from the first call of Next
// to the end of the last step; where the host gives none, to the caller. Used by one thread.
class ReadAhead {
 public:
  ReadAhead(SegmentReader* reader, FrameStock* stock, int64_t mostBytes)
      : mReader(reader), mStock(stock), mMostBytes(mostBytes) {}
  // Waits for a step that is being read.
  ~ReadAhead();
  ReadAhead(const ReadAhead&) = delete;
  ReadAhead& operator=(const ReadAhead&) = delete;

  // The next step, when the caller has no frame of another one. Only while the caller has not got
  // the last one. Throws what reading it threw.
  Segment Next();

 private:
  bool HasThread();
  void Run();
  void ReadSteps();
  bool HasRoom() const;
  void LimitBeside(const Segment& step);

  SegmentReader* const mReader;
  FrameStock* const mStock;
  const int64_t mMostBytes;
  std::thread mThread;

  std::mutex mMutex;
  std::condition_variable mChanged;
  // Under mMutex.
  std::deque<Segment> mReady;
  std::exception_ptr mThrown;  // by the step behind those that are ready
  bool mIsStopping = false;
};

}  // namespace codec
