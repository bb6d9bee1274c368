// SPDX-License-Identifier: MIT
#include "base/host_limits.h"

#include <sched.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <optional>
#include <thread>
#include <utility>

namespace but {
namespace {

// The first number in a file; nothing where there is none, as in "max".
std::optional<int64_t> NumberIn(const std::string& path) {
  std::ifstream file(path);
  int64_t number = 0;
  if (!(file >> number)) return std::nullopt;
  return number;
}

// The value of a line such as "MemTotal:  1024 kB", in bytes.
std::optional<int64_t> KilobytesIn(const std::string& path, const std::string& key) {
  std::ifstream file(path);
  for (std::string word; file >> word;) {
    int64_t kilobytes = 0;
    if (word == key && file >> kilobytes) return kilobytes * 1024;
  }
  return std::nullopt;
}

// Of as many processors as a mask can name; the host's own count where there are more.
int AllowedProcessors() {
  cpu_set_t allowed;
  CPU_ZERO(&allowed);
  if (sched_getaffinity(0, sizeof(allowed), &allowed) == 0) return CPU_COUNT(&allowed);
  return static_cast<int>(std::thread::hardware_concurrency());
}

// Processors' worth of time in a file of two numbers, microseconds in each period.
std::optional<double> Ratio(std::optional<int64_t> quota, std::optional<int64_t> period) {
  if (!quota || !period || *quota <= 0 || *period <= 0) return std::nullopt;
  return static_cast<double>(*quota) / static_cast<double>(*period);
}

std::optional<double> ShareInOneFile(const std::string& path) {
  std::ifstream file(path);
  int64_t quota = 0;
  int64_t period = 0;
  if (!(file >> quota >> period)) return std::nullopt;
  return Ratio(quota, period);
}

}  // namespace

HostLimits::HostLimits(std::string root) : mRoot(std::move(root)), mGroups(mRoot) {}

int64_t HostLimits::MemoryBytes() const {
  const int64_t machine =
      KilobytesIn(mRoot + "/proc/meminfo", "MemTotal:").value_or(int64_t{kUnlimited});
  return std::min({machine, Smallest(mGroups.Unified(), "memory.max"),
                   Smallest(mGroups.Unified(), "memory.high"),
                   Smallest(mGroups.Folders("memory"), "memory.limit_in_bytes")});
}

int64_t HostLimits::Smallest(const std::vector<std::string>& folders, const char* file) const {
  int64_t smallest = kUnlimited;
  for (const std::string& folder : folders) {
    const std::optional<int64_t> limit = NumberIn(folder + "/" + file);
    if (limit && *limit >= 0) smallest = std::min(smallest, *limit);
  }
  return smallest;
}

int HostLimits::Cores() const {
  const int allowed = std::max(1, AllowedProcessors());
  return static_cast<int>(std::clamp(std::ceil(Share()), 1.0, static_cast<double>(allowed)));
}

double HostLimits::Share() const {
  double share = std::numeric_limits<int>::max();
  for (const std::string& folder : mGroups.Unified()) {
    share = std::min(share, ShareInOneFile(folder + "/cpu.max").value_or(share));
  }
  for (const std::string& folder : mGroups.Folders("cpu")) {
    const std::optional<double> quota =
        Ratio(NumberIn(folder + "/cpu.cfs_quota_us"), NumberIn(folder + "/cpu.cfs_period_us"));
    share = std::min(share, quota.value_or(share));
  }
  return share;
}

int64_t HostLimits::PrivateBytes() const {
  return KilobytesIn(mRoot + "/proc/self/status", "RssAnon:").value_or(0);
}

}  // namespace but
