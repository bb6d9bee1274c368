// SPDX-License-Identifier: MIT
// The memory into which a filter writes what its successor reads.
#pragma once

#include <cstdint>

#include "codec/utils/unique_bytes.h"

namespace codec {

// A growable array of bytes with slack behind its end for image routines that round sizes up.
class WorkingBuffer {
 public:
  // Makes room for `bytes`: what was there stays, new bytes are 0. False, with nothing changed,
  // for a negative or absurd size or when memory runs out.
  bool Resize(int64_t bytes);

  // Null while the size is 0.
  uint8_t* Data() const { return mData.get(); }
  // Bytes asked for, slack not counted.
  int64_t Size() const { return mSize; }
  bool Empty() const { return mSize == 0; }

 private:
  UniqueBytes mData;
  int64_t mSize = 0;
};

}  // namespace codec
