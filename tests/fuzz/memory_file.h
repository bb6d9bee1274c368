// SPDX-License-Identifier: MIT
// A file that exists in memory only, for code that takes paths.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace fuzz {

class MemoryFile {
 public:
  // Aborts when the host has no memory for it.
  MemoryFile(const uint8_t* data, size_t size);
  ~MemoryFile();
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  // Can be opened as long as this object lives.
  const std::string& Path() const { return mPath; }

 private:
  int mDescriptor;
  std::string mPath;
};

}  // namespace fuzz
