// SPDX-License-Identifier: MIT
#include "base/folder_entry.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/vfs.h>

#include <array>
#include <cerrno>
#include <climits>

namespace but {
namespace {

// As many as the host follows itself.
constexpr int kMostLinks = 40;

bool IsProcFolder(int folder) {
  struct statfs system {};
  return fstatfs(folder, &system) == 0 && system.f_type == PROC_SUPER_MAGIC;
}

}  // namespace

std::string FolderEntry::PathOf(const std::string& name) const {
  return mFolderPath.back() == '/' ? mFolderPath + name : mFolderPath + "/" + name;
}

int FolderEntry::OpenFolderOf(const std::string& path) {
  const size_t slash = path.rfind('/');
  mName = slash == std::string::npos ? path : path.substr(slash + 1);
  mFolderPath = slash == std::string::npos ? "." : path.substr(0, slash + 1);
  if (mName.empty()) return path.empty() ? ENOENT : EISDIR;
  mFolder = Descriptor(openat(AT_FDCWD, mFolderPath.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC, 0));
  return mFolder.IsOpen() ? 0 : errno;
}

int FolderEntry::Find(const std::string& path) {
  std::string next = path;
  for (int links = 0; links < kMostLinks; ++links) {
    if (const int error = OpenFolderOf(next); error != 0) return error;
    struct stat status {};
    const int error = Look(&status);
    if (error == ENOENT || (error == 0 && !S_ISLNK(status.st_mode))) return 0;
    if (error != 0) return error;
    // These lead to what is open, which may have no name any more. Their texts are no paths.
    mIsOpenFile = IsProcFolder(Folder());
    if (mIsOpenFile) return 0;
    std::array<char, PATH_MAX> target;
    const ssize_t length = readlinkat(Folder(), mName.c_str(), target.data(), target.size());
    if (length < 0) return errno;
    const std::string text(target.data(), static_cast<size_t>(length));
    next = !text.empty() && text.front() == '/' ? text : PathOf(text);
  }
  return ELOOP;
}

int FolderEntry::Look(struct stat* status) const {
  return fstatat(Folder(), mName.c_str(), status, AT_SYMLINK_NOFOLLOW) == 0 ? 0 : errno;
}

}  // namespace but
