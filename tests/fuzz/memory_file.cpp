// SPDX-License-Identifier: MIT
#include "tests/fuzz/memory_file.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>

namespace fuzz {

MemoryFile::MemoryFile(const uint8_t* data, size_t size)
    : mDescriptor(memfd_create("fuzz", MFD_CLOEXEC)),
      mPath("/proc/self/fd/" + std::to_string(mDescriptor)) {
  if (mDescriptor < 0) std::abort();
  while (size > 0) {
    const ssize_t written = write(mDescriptor, data, size);
    if (written <= 0) std::abort();
    data += written;
    size -= static_cast<size_t>(written);
  }
}

MemoryFile::~MemoryFile() { close(mDescriptor); }

}  // namespace fuzz
