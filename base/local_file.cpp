#include "base/local_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <string_view>

namespace but {
namespace {

constexpr std::string_view kFilePrefix = "file:";

struct UnseekableKind {
  mode_t kind;
  const char* reason;
};
constexpr std::array<UnseekableKind, 4> kUnseekableKinds = {{
    {S_IFDIR, "it is a directory"},
    {S_IFIFO, "it is a pipe, which cannot be read backwards"},
    {S_IFSOCK, "it is a socket, which cannot be read backwards"},
    {S_IFCHR, "it is a character device, which cannot be read backwards"},
}};

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
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) return nullptr;
  for (const UnseekableKind& row : kUnseekableKinds) {
    if ((status.st_mode & S_IFMT) == row.kind) return row.reason;
  }
  return nullptr;
}

int ReadError(const std::string& path) { return access(path.c_str(), R_OK) == 0 ? 0 : errno; }

int WriteError(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) == 0) {
    if (S_ISDIR(status.st_mode)) return EISDIR;
    return access(path.c_str(), W_OK) == 0 ? 0 : errno;
  }
  // The dot tells a folder from a file of its name.
  const std::filesystem::path folder = "." / std::filesystem::path(path).parent_path() / ".";
  return access(folder.c_str(), W_OK | X_OK) == 0 ? 0 : errno;
}

}  // namespace but
