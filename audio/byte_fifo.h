// SPDX-License-Identifier: MIT
// A growable first-in first-out store of bytes.
#pragma once

#include <cstdint>
#include <vector>

namespace vux {

// Holds at most INT32_MAX bytes. The store keeps its memory, so that pushing and taking blocks of
// about the same size soon allocates nothing.
class ByteFifo {
 public:
  explicit ByteFifo(int32_t serial) : mSerial(serial) {}

  // Copies `size` bytes to the end; no bytes are a success. False, with nothing changed, when
  // `data` is null, `size` is negative or the total would pass the limit.
  bool Append(const uint8_t* data, int32_t size);

  // Moves the first `size` bytes to `out`. False, with nothing changed, when fewer are held, `out`
  // is null or `size` is negative.
  bool Take(uint8_t* out, int32_t size);

  int32_t Held() const { return static_cast<int32_t>(mBytes.size()) - mRead; }
  int32_t Serial() const { return mSerial; }

 private:
  const int32_t mSerial;
  std::vector<uint8_t> mBytes;
  int32_t mRead = 0;
};

}  // namespace vux
