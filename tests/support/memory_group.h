// SPDX-License-Identifier: MIT
// A control group of its own, to run programs in as a container does.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/command.h"

namespace test_support {

// Makes a group beside all others, with a limit of memory and no swap, in whichever version of
// control groups the host has; removes it at the end.
class MemoryGroup {
 public:
  // `bytes` is the limit.
  explicit MemoryGroup(int64_t bytes);
  ~MemoryGroup();
  MemoryGroup(const MemoryGroup&) = delete;
  MemoryGroup& operator=(const MemoryGroup&) = delete;

  // Whether the host let the group be made; it takes rights that tests may lack.
  bool Exists() const { return !mFolder.empty(); }
  // Runs a program in the group.
  CommandResult Run(std::vector<std::string> arguments) const;
  // Processes that the kernel killed in the group for want of memory.
  int64_t Kills() const;
  // The most bytes that the group has taken; 0 where the kernel does not tell.
  int64_t PeakBytes() const;

 private:
  struct Kind;

  bool Make(const Kind& kind, const std::string& top, int64_t bytes);

  std::string mFolder;
  const Kind* mKind = nullptr;
};

}  // namespace test_support
