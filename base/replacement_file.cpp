// SPDX-License-Identifier: MIT
#include "base/replacement_file.h"

#include <fcntl.h>
#include <sys/xattr.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <vector>

namespace but {
namespace {

constexpr mode_t kPermissions = 07777;
// What writing the file by its path takes.
constexpr mode_t kOwnAccess = S_IRUSR | S_IWUSR;
// Names that killed processes of the same number may have left.
constexpr int kMostNames = 1000;

constexpr char kAccessList[] = "system.posix_acl_access";

// Some systems allow names of 143 bytes only.
std::string HiddenName(const std::string& name, int number) {
  size_t length = std::min<size_t>(name.size(), 80);
  // Not within a letter of UTF-8.
  while (length < name.size() && length > 0 && (name[length] & 0xC0) == 0x80) --length;
  std::string hidden(".");
  hidden.append(name, 0, length);
  hidden.append(".clip-reverse-unfinished-").append(std::to_string(getpid()));
  return hidden.append("-").append(std::to_string(number));
}

// Tries hidden names until one is free. `make` gives 0 or the host's error number.
template <typename Make>
int WithFreeName(const std::string& name, std::string* chosen, const Make& make) {
  int error = EEXIST;
  for (int number = 0; error == EEXIST && number < kMostNames; ++number) {
    *chosen = HiddenName(name, number);
    error = make(chosen->c_str());
  }
  return error;
}

int ErrorOf(int result) { return result == 0 ? 0 : errno; }

// The host's numbers for an attribute that is not there, or of a kind that the disk does not know.
bool IsAbsentAttribute(int error) { return error == ENODATA || error == EOPNOTSUPP; }

}  // namespace

ReplacementFile::~ReplacementFile() {
  if (!mHidden.empty()) unlinkat(mPlace.Folder(), mHidden.c_str(), 0);
}

int ReplacementFile::Open() {
  if (OpenUnnamed() != 0) {
    if (const int error = OpenHidden(); error != 0) return error;
  }
  struct stat status {};
  if (fstat(mFile.Number(), &status) != 0) return errno;
  mMode = status.st_mode & kPermissions;
  // An umask may forbid the owner what this process is about to do.
  if ((mMode & kOwnAccess) == kOwnAccess) return 0;
  return ErrorOf(fchmod(mFile.Number(), mMode | kOwnAccess));
}

int ReplacementFile::OpenUnnamed() {
  mFile = Descriptor(openat(mPlace.Folder(), ".", O_TMPFILE | O_RDWR | O_CLOEXEC, 0666));
  if (!mFile.IsOpen()) return errno;
  mPath = "/proc/self/fd/" + std::to_string(mFile.Number());
  struct stat file {};
  struct stat byPath {};
  if (fstat(mFile.Number(), &file) == 0 && stat(mPath.c_str(), &byPath) == 0 &&
      file.st_dev == byPath.st_dev && file.st_ino == byPath.st_ino) {
    return 0;
  }
  mFile = Descriptor();
  return ENOENT;
}

int ReplacementFile::OpenHidden() {
  std::string name;
  const int error = WithFreeName(mPlace.Name(), &name, [this](const char* candidate) {
    mFile =
        Descriptor(openat(mPlace.Folder(), candidate, O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC, 0666));
    return mFile.IsOpen() ? 0 : errno;
  });
  if (error != 0) return error;
  mHidden.swap(name);
  mPath = mPlace.PathOf(mHidden);
  return mPath.size() < PATH_MAX ? 0 : ENAMETOOLONG;
}

int ReplacementFile::TakeAccessOf(const struct stat& old) {
  struct stat own {};
  if (fstat(mFile.Number(), &own) != 0) return errno;
  if ((own.st_uid != old.st_uid || own.st_gid != old.st_gid) &&
      fchown(mFile.Number(), old.st_uid, old.st_gid) != 0) {
    return errno;
  }
  if (const int error = TakeAccessList(); error != 0) return error;
  mMode = old.st_mode & kPermissions;
  return ErrorOf(fchmod(mFile.Number(), mMode | kOwnAccess));
}

int ReplacementFile::TakeAccessList() {
  // The folder may have given the new file a list that the old one has not.
  if (fremovexattr(mFile.Number(), kAccessList) != 0 && !IsAbsentAttribute(errno)) return errno;
  const std::string old = mPlace.Path();
  std::vector<char> list(XATTR_SIZE_MAX);
  const ssize_t length = lgetxattr(old.c_str(), kAccessList, list.data(), list.size());
  if (length < 0) return IsAbsentAttribute(errno) ? 0 : errno;
  return ErrorOf(
      fsetxattr(mFile.Number(), kAccessList, list.data(), static_cast<size_t>(length), 0));
}

int ReplacementFile::ObstacleInPlace() const {
  struct stat status {};
  if (mPlace.Look(&status) != 0 || S_ISREG(status.st_mode) || S_ISLNK(status.st_mode)) return 0;
  return S_ISDIR(status.st_mode) ? EISDIR : EEXIST;
}

int ReplacementFile::LinkHidden() {
  std::string name;
  const int error = WithFreeName(mPlace.Name(), &name, [this](const char* candidate) {
    return ErrorOf(linkat(AT_FDCWD, mPath.c_str(), mPlace.Folder(), candidate, AT_SYMLINK_FOLLOW));
  });
  if (error == 0) mHidden.swap(name);
  return error;
}

int ReplacementFile::MoveIfFree() {
  const char* const hidden = mHidden.c_str();
  const char* const name = mPlace.Name().c_str();
  const int folder = mPlace.Folder();
  // The destructor takes the hidden name away.
  if (linkat(folder, hidden, folder, name, 0) == 0) return 0;
  if (errno == EEXIST) return EEXIST;
  // Disks without links (FAT) know this flag. Those of networks know links and not the flag.
  if (renameat2(folder, hidden, folder, name, RENAME_NOREPLACE) != 0) return errno;
  mHidden.clear();
  return 0;
}

int ReplacementFile::PutIntoPlace(bool mayReplace) {
  if ((mMode & kOwnAccess) != kOwnAccess && fchmod(mFile.Number(), mMode) != 0) return errno;
  if (fsync(mFile.Number()) != 0) return errno;
  const char* const name = mPlace.Name().c_str();
  if (mHidden.empty()) {
    // Puts it there at once, but never over another file.
    if (linkat(AT_FDCWD, mPath.c_str(), mPlace.Folder(), name, AT_SYMLINK_FOLLOW) == 0) return 0;
    if (errno != EEXIST || !mayReplace) return errno;
  }
  if (!mayReplace) return MoveIfFree();
  if (const int error = ObstacleInPlace(); error != 0) return error;
  if (mHidden.empty()) {
    if (const int error = LinkHidden(); error != 0) return error;
  }
  if (renameat(mPlace.Folder(), mHidden.c_str(), mPlace.Folder(), name) != 0) return errno;
  mHidden.clear();
  return 0;
}

}  // namespace but
