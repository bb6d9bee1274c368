// SPDX-License-Identifier: MIT
// A file's list of those who may use it, beyond its owner and its group.
#pragma once

#include <sys/xattr.h>

#include <algorithm>
#include <array>
#include <string>

namespace test_support {

// As the host stores it: version 2, then tag, permissions and number of each row. The owner may
// read and write; one more user, the group and the mask may read; others nothing.
constexpr std::array<unsigned char, 44> kAccessList = {
    2, 0,    0,    0,    0x01, 0,    6,    0, 0xFF, 0xFF, 0xFF, 0xFF, 0x02, 0,    4,
    0, 0x67, 0x12, 0,    0,    0x04, 0,    4, 0,    0xFF, 0xFF, 0xFF, 0xFF, 0x10, 0,
    4, 0,    0xFF, 0xFF, 0xFF, 0xFF, 0x20, 0, 0,    0,    0xFF, 0xFF, 0xFF, 0xFF};
constexpr char kAccessListName[] = "system.posix_acl_access";

// Gives a file that list. False on a disk without such lists.
inline bool PutAccessList(const std::string& path) {
  return setxattr(path.c_str(), kAccessListName, kAccessList.data(), kAccessList.size(), 0) == 0;
}

inline bool HasAccessList(const std::string& path) {
  std::array<unsigned char, 100> list{};
  return getxattr(path.c_str(), kAccessListName, list.data(), list.size()) ==
             static_cast<ssize_t>(kAccessList.size()) &&
         std::equal(kAccessList.begin(), kAccessList.end(), list.begin());
}

}  // namespace test_support
