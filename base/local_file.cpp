// SPDX-License-Identifier: MIT
#include "base/local_file.h"

#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <string_view>

namespace but {
namespace {

constexpr std::string_view kFilePrefix = "file:";

struct KindRow {
  mode_t kind;
  const char* noun;
  const char* reason;
};
constexpr std::array<KindRow, 4> kUnseekableKinds = {{
    {S_IFDIR, "a directory", "it is a directory"},
    {S_IFIFO, "a pipe (FIFO)", "it is a pipe (FIFO), which cannot be read backwards"},
    {S_IFSOCK, "a socket", "it is a socket, which cannot be read backwards"},
    {S_IFCHR, "a character device", "it is a character device, which cannot be read backwards"},
}};

// Null for a file that can be read back and forth, and if there is none.
const KindRow* FindKind(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) return nullptr;
  for (const KindRow& row : kUnseekableKinds) {
    if ((status.st_mode & S_IFMT) == row.kind) return &row;
  }
  return nullptr;
}

bool IsAbsent(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) != 0 && errno == ENOENT;
}

}  // namespace

std::string LocalPath(const std::string& name) {
  if (name.compare(0, kFilePrefix.size(), kFilePrefix) != 0 || !IsAbsent(name)) return name;
  return name.substr(kFilePrefix.size());
}

const char* WhyNotSeekable(const std::string& path) {
  const KindRow* const row = FindKind(path);
  return row == nullptr ? nullptr : row->reason;
}

const char* UnseekableKind(const std::string& path) {
  const KindRow* const row = FindKind(path);
  return row == nullptr ? nullptr : row->noun;
}

}  // namespace but
