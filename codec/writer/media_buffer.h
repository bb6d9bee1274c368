// SPDX-License-Identifier: MIT
// The record in which frames travel from the writer's entry to the encoder.
#pragma once

#include <cstdint>
#include <memory>

#include "codec/utils/unique_bytes.h"

namespace codec {

class MediaBufferPool;

// A picture or one encoder frame of samples. A new record has no data.
class MediaBuffer {
 public:
  // `frameType` is a FrameType. `home` is the pool that the record goes back to, which outlives
  // it; null for the pool of the process.
  explicit MediaBuffer(int32_t frameType, MediaBufferPool* home = nullptr)
      : type(frameType), mHome(home) {}

  // Gives the record room for this many bytes, plus the slack that image routines need (see
  // WithSlack), and makes it the size; 0 or less, or too little memory, leaves it without data.
  void Allocate(int32_t bytes);

  // Null without data.
  uint8_t* Data() const { return mData.get(); }
  // Bytes that fit, slack not counted.
  int32_t Capacity() const { return mCapacity; }
  // The pool that it was made for; null for that of the process.
  MediaBufferPool* Home() const { return mHome; }

  // Copies `n` bytes in and makes `n` the size; does nothing when `n` is 0 or negative or does not
  // fit.
  void CopyIn(const uint8_t* bytes, int32_t n);
  // In microseconds.
  void SetPts(int64_t value) { pts = value; }
  // In bytes, at most Capacity().
  void SetSize(int32_t n) { size = n; }
  // Leaves the record without data.
  void FreeData();

  int32_t type;      // FrameType
  int64_t pts = 0;   // microseconds
  int32_t size = 0;  // valid bytes

 private:
  friend class BufferList;

  UniqueBytes mData;
  int32_t mCapacity = 0;
  MediaBufferPool* const mHome;
  std::unique_ptr<MediaBuffer> mNext;  // in the list that the record stands in
};

}  // namespace codec
