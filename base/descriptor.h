// SPDX-License-Identifier: MIT
// An open file of the host's, closed with its owner.
#pragma once

#include <unistd.h>

#include <utility>

namespace but {

class Descriptor {
 public:
  Descriptor() = default;
  // Takes over what `open` gave; below 0 for nothing.
  explicit Descriptor(int number) : mNumber(number) {}
  ~Descriptor() {
    if (IsOpen()) close(mNumber);
  }
  Descriptor(Descriptor&& other) noexcept : mNumber(std::exchange(other.mNumber, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(mNumber, other.mNumber);
    return *this;
  }

  bool IsOpen() const { return mNumber >= 0; }
  int Number() const { return mNumber; }

 private:
  int mNumber = -1;
};

}  // namespace but
