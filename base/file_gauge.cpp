// SPDX-License-Identifier: MIT
#include "base/file_gauge.h"

#include <fcntl.h>
#include <sys/stat.h>

namespace but {

// Without opening it for reading, which would wait at a pipe.
void FileGauge::Open(const std::string& path) {
  mFile = Descriptor(open(path.c_str(), O_PATH | O_CLOEXEC));
}

int64_t FileGauge::Bytes() const {
  struct stat status {};
  if (!mFile.IsOpen() || fstat(mFile.Number(), &status) != 0) return 0;
  return S_ISREG(status.st_mode) ? static_cast<int64_t>(status.st_size) : 0;
}

}  // namespace but
