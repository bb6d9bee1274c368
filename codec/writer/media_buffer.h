// The record in which frames travel from the writer's entry to the encoder.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

namespace codec {

struct FreeBytes {
  void operator()(uint8_t* bytes) const { std::free(bytes); }
};
using UniqueBytes = std::unique_ptr<uint8_t[], FreeBytes>;

// A picture (type 1) or one encoder frame of samples (type 2). A new record has no data.
class MediaBuffer {
 public:
  explicit MediaBuffer(int32_t frameType) : type(frameType) {}

  // Gives the record room for this many bytes, plus the slack that image routines need (see the
  // .cpp), and makes it the size; 0 or less leaves it without data.
  void Allocate(int32_t bytes);

  uint8_t* Data() const { return mData.get(); }
  // Bytes that fit, slack not counted.
  int32_t Capacity() const { return mCapacity; }

  // Copies `n` bytes in and makes `n` the size; does nothing when `n` is 0 or negative or does not
  // fit.
  void CopyIn(const uint8_t* bytes, int32_t n);
  void SetPts(int64_t value) { pts = value; }
  void SetSize(int32_t n) { size = n; }
  void FreeData();

  int32_t type;
  int64_t pts = 0;   // microseconds
  int32_t size = 0;  // valid bytes

 private:
  UniqueBytes mData;
  int32_t mCapacity = 0;
};

}  // namespace codec
