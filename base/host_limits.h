// SPDX-License-Identifier: MIT
// What the host, and the container if there is one, grants to this process.
#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "base/control_groups.h"

namespace but {

// Reads the kernel's files at each question, so that an answer is that of now. What cannot be read
// counts as no limit.
class HostLimits {
 public:
  // `root` stands before every path and is empty but in tests.
  explicit HostLimits(std::string root = "");

  // Bytes: the smallest of the machine's memory and of the limits of the process's control groups
  // ("memory.max" and "memory.high" of version 2, "memory.limit_in_bytes" of version 1), those
  // above them included. kUnlimited where nothing is known.
  int64_t MemoryBytes() const;

  // Processors that may be used at once, at least 1: the smaller of those that the process may run
  // on and what the control groups grant of their time ("cpu.max" of version 2, "cpu.cfs_quota_us"
  // of version 1), rounded up.
  int Cores() const;

  // Bytes of memory that only this process has: what its libraries keep in files is not counted. 0
  // where it is not known.
  int64_t PrivateBytes() const;

  static constexpr int64_t kUnlimited = std::numeric_limits<int64_t>::max();

 private:
  int64_t Smallest(const std::vector<std::string>& folders, const char* file) const;
  double Share() const;

  const std::string mRoot;
  const ControlGroups mGroups;
};

}  // namespace but
