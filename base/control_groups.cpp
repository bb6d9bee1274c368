// SPDX-License-Identifier: MIT
#include "base/control_groups.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string_view>

namespace but {
namespace {

// Whether a list parted by commas has this word.
bool HasWord(const std::string& list, const std::string& word) {
  std::istringstream words(list);
  for (std::string each; std::getline(words, each, ',');) {
    if (each == word) return true;
  }
  return false;
}

// The mount table writes blanks and the like as a backslash and three octal digits.
std::string Unescaped(const std::string& text) {
  constexpr size_t kDigits = 3;
  std::string result;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\\' && i + kDigits < text.size()) {
      result += static_cast<char>(std::strtol(text.substr(i + 1, kDigits).c_str(), nullptr, 8));
      i += kDigits;
    } else {
      result += text[i];
    }
  }
  return result;
}

// The part of `path` below the group that a mount shows. All of the mount where the path is not
// below it: a container may see the host's names of groups that it cannot reach.
std::string Below(const std::string& group, const std::string& path) {
  if (group == "/") return path;
  if (path.compare(0, group.size(), group) != 0) return "";
  const std::string rest = path.substr(group.size());
  return rest.empty() || rest.front() == '/' ? rest : "";
}

}  // namespace

ControlGroups::ControlGroups(const std::string& root)
    : mMounts(ReadMounts(root)), mMemberships(ReadMemberships(root)) {
  for (const Membership& membership : mMemberships) {
    if (!membership.controllers.empty()) continue;
    for (const Mount& mount : mMounts) {
      if (mount.isUnified) mUnified = FoldersOf(mount, membership.path);
    }
  }
}

std::vector<std::string> ControlGroups::Folders(const std::string& controller) const {
  for (const Membership& membership : mMemberships) {
    if (!HasWord(membership.controllers, controller)) continue;
    for (const Mount& mount : mMounts) {
      if (!mount.isUnified && HasWord(mount.controllers, controller)) {
        return FoldersOf(mount, membership.path);
      }
    }
  }
  return {};
}

// Each line: number, parent, device, group, folder, options, then a dash after which the kind of
// file system, its source and its own options follow.
std::vector<ControlGroups::Mount> ControlGroups::ReadMounts(const std::string& root) {
  std::vector<Mount> mounts;
  std::ifstream table(root + "/proc/self/mountinfo");
  for (std::string line; std::getline(table, line);) {
    const size_t dash = line.find(" - ");
    if (dash == std::string::npos) continue;
    std::istringstream place(line.substr(0, dash));
    std::istringstream kind(line.substr(dash + 3));
    std::string number;
    std::string parent;
    std::string device;
    std::string group;
    std::string folder;
    std::string type;
    std::string source;
    std::string options;
    place >> number >> parent >> device >> group >> folder;
    kind >> type >> source >> options;
    if (type != "cgroup" && type != "cgroup2") continue;
    mounts.push_back({Unescaped(group), root + Unescaped(folder), options, type == "cgroup2"});
  }
  return mounts;
}

// Each line: number, controllers and path, parted by colons. No controllers stand for version 2.
std::vector<ControlGroups::Membership> ControlGroups::ReadMemberships(const std::string& root) {
  std::vector<Membership> memberships;
  std::ifstream list(root + "/proc/self/cgroup");
  for (std::string line; std::getline(list, line);) {
    const size_t first = line.find(':');
    const size_t second = first == std::string::npos ? first : line.find(':', first + 1);
    if (second == std::string::npos) continue;
    memberships.push_back({line.substr(first + 1, second - first - 1), line.substr(second + 1)});
  }
  return memberships;
}

std::vector<std::string> ControlGroups::FoldersOf(const Mount& mount,
                                                  const std::string& path) const {
  std::vector<std::string> folders;
  for (std::string below = Below(mount.group, path); !below.empty() && below != "/";
       below.resize(below.rfind('/'))) {
    if (below.front() != '/') break;
    folders.push_back(mount.folder + below);
  }
  folders.push_back(mount.folder);
  return folders;
}

}  // namespace but
