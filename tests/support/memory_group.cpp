// SPDX-License-Identifier: MIT
#include "tests/support/memory_group.h"

#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

#include "base/control_groups.h"

namespace test_support {
namespace {

// False where the file is not there or the kernel refuses the text.
bool Write(const std::string& path, const std::string& text) {
  std::ofstream file(path, std::ios::app);
  file << text << std::flush;
  return file.good();
}

}  // namespace

// Where a version of control groups keeps what the class needs.
struct MemoryGroup::Kind {
  const char* limit;
  const char* peak;
  const char* kills;  // the file with a line "oom_kill N"
};

MemoryGroup::MemoryGroup(int64_t bytes) {
  static const Kind separate = {"memory.limit_in_bytes", "memory.max_usage_in_bytes",
                                "memory.oom_control"};
  static const Kind unified = {"memory.max", "memory.peak", "memory.events"};
  const but::ControlGroups groups("");
  const std::vector<std::string> folders = groups.Folders("memory");
  if (!folders.empty() && Make(separate, folders.back(), bytes)) return;
  if (groups.Unified().empty()) return;
  const std::string top = groups.Unified().back();
  Write(top + "/cgroup.subtree_control", "+memory");
  if (Make(unified, top, bytes)) Write(mFolder + "/memory.swap.max", "0");
}

bool MemoryGroup::Make(const Kind& kind, const std::string& top, int64_t bytes) {
  static int count = 0;
  const std::string folder =
      top + "/clip-reverse-test-" + std::to_string(getpid()) + "-" + std::to_string(++count);
  std::error_code error;
  if (!std::filesystem::create_directory(folder, error)) return false;
  mKind = &kind;
  mFolder = folder;
  if (Write(folder + "/" + kind.limit, std::to_string(bytes))) return true;
  rmdir(folder.c_str());
  mFolder.clear();
  return false;
}

// The kernel may need a moment to see that the group's processes are gone.
MemoryGroup::~MemoryGroup() {
  for (int i = 0; Exists() && i < 100 && rmdir(mFolder.c_str()) != 0; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

CommandResult MemoryGroup::Run(std::vector<std::string> arguments) const {
  const std::string enter = "echo $$ > '" + mFolder + "/cgroup.procs' && exec \"$@\"";
  arguments.insert(arguments.begin(), {"sh", "-c", enter, "sh"});
  return test_support::Run(arguments);
}

int64_t MemoryGroup::Kills() const {
  std::ifstream file(mFolder + "/" + mKind->kills);
  for (std::string word; file >> word;) {
    int64_t kills = 0;
    if (word == "oom_kill" && file >> kills) return kills;
  }
  return 0;
}

int64_t MemoryGroup::PeakBytes() const {
  std::ifstream file(mFolder + "/" + mKind->peak);
  int64_t bytes = 0;
  file >> bytes;
  return bytes;
}

}  // namespace test_support
