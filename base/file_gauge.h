// SPDX-License-Identifier: MIT
// How large a file is that is being written.
#pragma once

#include <cstdint>
#include <string>

#include "base/descriptor.h"

namespace but {

// Stays with one file, whatever happens to its name: it may get one, lose it or be replaced.
class FileGauge {
 public:
  // Looks at what stands at the path now. Nothing there, a device or a pipe has no bytes.
  void Open(const std::string& path);
  // Its size at this moment; 0 before Open.
  int64_t Bytes() const;

 private:
  Descriptor mFile;
};

}  // namespace but
