// SPDX-License-Identifier: MIT
#include "base/host_limits.h"

#include <gtest/gtest.h>
#include <sched.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "tests/support/command.h"

namespace but {
namespace {

namespace fs = std::filesystem;

constexpr int64_t kMegabyte = int64_t{1} << 20;
constexpr int64_t kMachine = 2048 * kMegabyte;

// A folder that looks to the class like the root of a host.
class HostLimitsTest : public testing::Test {
 protected:
  HostLimitsTest() : mRoot(test_support::ScratchPath("host")) {
    fs::remove_all(mRoot);
    Write("/proc/meminfo", "MemTotal:        2097152 kB\nMemFree:          100 kB\n");
  }

  void Write(const std::string& path, const std::string& text) const {
    fs::create_directories(fs::path(mRoot + path).parent_path());
    std::ofstream(mRoot + path) << text;
  }

  // The process is in this group of version 2, and all of the hierarchy is mounted.
  void JoinUnified(const std::string& group) const {
    Write("/proc/self/cgroup", "0::" + group + "\n");
    Write("/proc/self/mountinfo",
          "22 1 0:20 / /proc rw - proc proc rw\n"
          "31 22 0:28 / /cg rw,relatime shared:9 - cgroup2 cgroup2 rw,nsdelegate\n");
  }
  // The same in version 1, whose controllers are mounted by themselves.
  void JoinSeparate(const std::string& group, const std::string& mounted = "/") const {
    Write("/proc/self/cgroup", "5:memory:" + group + "\n4:cpu,cpuacct:" + group + "\n0::/\n");
    Write("/proc/self/mountinfo", "32 31 0:29 " + mounted +
                                      " /cg/memory rw - cgroup cgroup rw,memory\n" + "33 31 0:30 " +
                                      mounted + " /cg/cpu rw - cgroup cgroup rw,cpu,cpuacct\n");
  }

  int64_t Memory() const { return HostLimits(mRoot).MemoryBytes(); }
  int Cores() const { return HostLimits(mRoot).Cores(); }

  const std::string mRoot;
};

TEST_F(HostLimitsTest, TakesTheMachinesMemoryWhereNothingElseIsKnown) {
  EXPECT_EQ(Memory(), kMachine);
}

TEST_F(HostLimitsTest, HasNoLimitWhereNothingIsKnown) {
  fs::remove_all(mRoot);
  EXPECT_EQ(Memory(), HostLimits::kUnlimited);
  EXPECT_GE(Cores(), 1);
}

TEST_F(HostLimitsTest, TakesTheSmallestLimitUpTheUnifiedHierarchy) {
  JoinUnified("/slice/run");
  EXPECT_EQ(Memory(), kMachine) << "groups without files";
  Write("/cg/slice/run/memory.max", "max\n");
  Write("/cg/slice/run/memory.high", "max\n");
  EXPECT_EQ(Memory(), kMachine);
  Write("/cg/slice/run/memory.max", "314572800\n");
  EXPECT_EQ(Memory(), 300 * kMegabyte);
  Write("/cg/slice/memory.max", "209715200\n");
  EXPECT_EQ(Memory(), 200 * kMegabyte) << "of the group above";
  Write("/cg/slice/run/memory.high", "104857600\n");
  EXPECT_EQ(Memory(), 100 * kMegabyte) << "above it the process is only slowed down";
  Write("/cg/memory.max", "52428800\n");
  EXPECT_EQ(Memory(), 50 * kMegabyte) << "of the topmost group that can be seen";
}

TEST_F(HostLimitsTest, TakesTheSmallestLimitUpTheSeparateHierarchy) {
  JoinSeparate("/docker/run");
  Write("/cg/memory/memory.limit_in_bytes", "9223372036854771712\n");
  Write("/cg/memory/docker/memory.limit_in_bytes", "1073741824\n");
  Write("/cg/memory/docker/run/memory.limit_in_bytes", "9223372036854771712\n");
  EXPECT_EQ(Memory(), 1024 * kMegabyte);
  Write("/cg/memory/docker/run/memory.limit_in_bytes", "536870912\n");
  EXPECT_EQ(Memory(), 512 * kMegabyte);
}

TEST_F(HostLimitsTest, FindsItsGroupInAContainer) {
  // The container sees its own group as the top of what is mounted, under the host's name for it.
  JoinSeparate("/docker/run/inner", "/docker/run");
  Write("/cg/memory/memory.limit_in_bytes", "536870912\n");
  Write("/cg/memory/inner/memory.limit_in_bytes", "268435456\n");
  EXPECT_EQ(Memory(), 256 * kMegabyte);
  JoinSeparate("/docker/running", "/docker/run");
  EXPECT_EQ(Memory(), 512 * kMegabyte) << "another group whose name begins alike";
}

TEST_F(HostLimitsTest, ReadsNamesWithBlanks) {
  Write("/proc/self/cgroup", "0::/a b\n");
  Write("/proc/self/mountinfo", "31 22 0:28 / /c\\040g rw - cgroup2 cgroup2 rw\n");
  Write("/c g/a b/memory.max", "104857600\n");
  EXPECT_EQ(Memory(), 100 * kMegabyte);
}

TEST_F(HostLimitsTest, SurvivesFilesOfOtherShapes) {
  Write("/proc/meminfo", "MemTotal: much\n");
  Write("/proc/self/cgroup", "\n0\n0:\n7:memory:/x\n0::relative\n");
  Write("/proc/self/mountinfo", "x\n - \n - cgroup2\n1 2 3 / /cg rw - cgroup2\n");
  Write("/cg/memory.max", "-5\n");
  Write("/cg/cpu.max", "100000\n");
  EXPECT_EQ(Memory(), HostLimits::kUnlimited);
  EXPECT_GE(Cores(), 1);
}

TEST_F(HostLimitsTest, CountsTheProcessorsThatTheGroupGrants) {
  JoinUnified("/slice/run");
  const int all = Cores();
  EXPECT_GE(all, 1);
  Write("/cg/slice/run/cpu.max", "max 100000\n");
  EXPECT_EQ(Cores(), all);
  Write("/cg/slice/cpu.max", "50000 100000\n");
  EXPECT_EQ(Cores(), 1) << "half a processor";
  Write("/cg/slice/cpu.max", "150000 100000\n");
  EXPECT_EQ(Cores(), std::min(all, 2)) << "one and a half";
}

TEST_F(HostLimitsTest, CountsTheProcessorsOfSeparateGroups) {
  JoinSeparate("/run");
  const int all = Cores();
  Write("/cg/cpu/run/cpu.cfs_quota_us", "-1\n");
  Write("/cg/cpu/run/cpu.cfs_period_us", "100000\n");
  EXPECT_EQ(Cores(), all);
  Write("/cg/cpu/run/cpu.cfs_quota_us", "20000\n");
  EXPECT_EQ(Cores(), 1);
}

TEST_F(HostLimitsTest, CountsTheProcessorsThatTheProcessMayRunOn) {
  cpu_set_t before;
  ASSERT_EQ(sched_getaffinity(0, sizeof(before), &before), 0);
  EXPECT_EQ(Cores(), CPU_COUNT(&before));
  cpu_set_t one;
  CPU_ZERO(&one);
  for (int cpu = 0; CPU_COUNT(&one) == 0; ++cpu) {
    if (CPU_ISSET(cpu, &before)) CPU_SET(cpu, &one);
  }
  ASSERT_EQ(sched_setaffinity(0, sizeof(one), &one), 0);
  EXPECT_EQ(Cores(), 1);
  sched_setaffinity(0, sizeof(before), &before);
}

TEST_F(HostLimitsTest, TellsWhatTheProcessHolds) {
  EXPECT_EQ(HostLimits(mRoot).PrivateBytes(), 0);
  Write("/proc/self/status", "VmRSS:\t  9000 kB\nRssAnon:\t    2048 kB\n");
  EXPECT_EQ(HostLimits(mRoot).PrivateBytes(), 2 * kMegabyte);
}

TEST(HostLimits, ReadsThisHost) {
  EXPECT_GT(HostLimits().MemoryBytes(), 16 * kMegabyte);
  EXPECT_LT(HostLimits().MemoryBytes(), HostLimits::kUnlimited);
  EXPECT_GT(HostLimits().PrivateBytes(), kMegabyte);
}

}  // namespace
}  // namespace but
