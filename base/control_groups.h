// SPDX-License-Identifier: MIT
// The control groups that hold this process: how the host divides itself between containers.
#pragma once

#include <string>
#include <vector>

namespace but {

// Finds the folders in which the kernel shows the limits of a process, in both versions of control
// groups. A limit of a group holds for all groups below it, so all of them count.
class ControlGroups {
 public:
  // Reads where the groups are. `root` stands before every path and is empty but in tests. On a
  // host without control groups there are no folders.
  explicit ControlGroups(const std::string& root);

  // The folders of version 2, the process's own group first, the mounted top last.
  const std::vector<std::string>& Unified() const { return mUnified; }
  // The same for one controller of version 1, such as "memory" or "cpu".
  std::vector<std::string> Folders(const std::string& controller) const;

 private:
  // One line of the mount table.
  struct Mount {
    std::string group;   // the group that is seen at `folder`
    std::string folder;  // `root` included
    std::string controllers;
    bool isUnified;
  };
  // One line of the process's list of groups.
  struct Membership {
    std::string controllers;
    std::string path;
  };

  static std::vector<Mount> ReadMounts(const std::string& root);
  static std::vector<Membership> ReadMemberships(const std::string& root);
  std::vector<std::string> FoldersOf(const Mount& mount, const std::string& path) const;

  std::vector<Mount> mMounts;
  std::vector<Membership> mMemberships;
  std::vector<std::string> mUnified;
};

}  // namespace but
