// SPDX-License-Identifier: MIT
#include "base/new_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "base/folder_entry.h"
#include "base/local_file.h"
#include "base/log.h"
#include "base/replacement_file.h"

namespace but {
namespace {

constexpr char kTag[] = "but::NewFile";

// Those of a folder that takes no new file, or none of a longer name.
constexpr std::array kFolderErrors = {EACCES, EPERM, EROFS, ENAMETOOLONG};
// Those of an owner or permissions that this process, or the disk, cannot give.
constexpr std::array kAccessErrors = {EPERM, EACCES, EINVAL, EOPNOTSUPP, ENOSYS};

template <typename Errors>
bool IsOneOf(const Errors& errors, int error) {
  return std::find(errors.begin(), errors.end(), error) != errors.end();
}

bool IsAbsent(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) != 0 && errno == ENOENT;
}

bool IsRegular(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

// As containers have single files of their host. The host lets nobody replace them.
bool IsMountedOn([[maybe_unused]] const FolderEntry& place) {
#ifdef STATX_ATTR_MOUNT_ROOT
  struct statx status {};
  return statx(place.Folder(), place.Name().c_str(), AT_SYMLINK_NOFOLLOW, STATX_TYPE, &status) ==
             0 &&
         (status.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
#else
  return false;
#endif
}

// In a folder like /tmp only owners replace files, whoever may write them.
bool IsKeptForItsOwner(const FolderEntry& place, const struct stat& old) {
  struct stat folder {};
  const uid_t user = geteuid();
  return fstat(place.Folder(), &folder) == 0 && (folder.st_mode & S_ISVTX) != 0 && user != 0 &&
         user != folder.st_uid && user != old.st_uid;
}

// Why a file that may be written cannot be replaced; null where nothing is known to.
const char* WhyNotReplaced(const FolderEntry& place, const struct stat& old) {
  if (IsMountedOn(place)) return "it is a mount of its own";
  if (IsKeptForItsOwner(place, old)) return "its folder lets only its owner replace it";
  return nullptr;
}

}  // namespace

NewFile::NewFile(const std::string& name, bool mayReplace)
    : mName(name), mPath(LocalPath(name)), mMayReplace(mayReplace), mIsNew(IsAbsent(mPath)) {}

NewFile::~NewFile() = default;

const std::string& NewFile::WritePath() const { return IsAside() ? mAside->Path() : mPath; }

int NewFile::WriteAside() {
  FolderEntry place;
  if (const int error = place.Find(mPath); error != 0) return IsRegular(mPath) ? Refuse(error) : 0;
  if (place.IsOpenFile()) return 0;
  struct stat old {};
  const bool replaces = place.Look(&old) == 0;
  if (replaces) {
    if (!S_ISREG(old.st_mode)) return 0;
    if (!mMayReplace) return Refuse(EEXIST);
    if (access(mPath.c_str(), W_OK) != 0) return 0;
    if (const char* reason = WhyNotReplaced(place, old)) return StayInPlace(reason);
  }
  auto aside = std::make_unique<ReplacementFile>(std::move(place));
  const int error = aside->Open();
  if (IsOneOf(kFolderErrors, error)) return replaces ? StayInPlace(std::strerror(error)) : 0;
  if (error != 0) return Refuse(error);
  if (replaces) {
    const int kept = aside->TakeAccessOf(old);
    if (IsOneOf(kAccessErrors, kept)) {
      return StayInPlace("a new file cannot have its owner and permissions");
    }
    if (kept != 0) return Refuse(kept);
  }
  mAside = std::move(aside);
  mIsInPlace = false;
  return 0;
}

int NewFile::WriteInPlace() {
  FolderEntry place;
  // What cannot be made here cannot be opened either, which says why.
  if (mMayReplace || place.Find(mPath) != 0 || place.IsOpenFile()) return 0;
  const Descriptor made(
      openat(place.Folder(), place.Name().c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666));
  if (made.IsOpen() || errno != EEXIST || !IsRegular(mPath)) return 0;
  mIsNew = false;
  return Refuse(EEXIST);
}

int NewFile::StayInPlace(const char* reason) const {
  log_warn(kTag, "%s is overwritten in place, and lost if the run fails: %s", mName.c_str(),
           reason);
  return 0;
}

int NewFile::Refuse(int error) const {
  log_error(kTag, "'%s': %s", mName.c_str(), std::strerror(error));
  return error;
}

int NewFile::Finish() {
  if (!IsAside()) return 0;
  const int error = mAside->PutIntoPlace(mMayReplace);
  mAside.reset();
  return error == 0 ? 0 : Refuse(error);
}

void NewFile::Discard() {
  mAside.reset();
  if (!mIsInPlace || !mIsNew) return;
  // Through a symbolic link to nothing the run has made the link's target; the link is the user's.
  // Without the heap: there may be none, which is why the file is useless.
  std::array<char, PATH_MAX> target;
  struct stat status {};
  if (realpath(mPath.c_str(), target.data()) == nullptr) return;
  if (stat(target.data(), &status) == 0 && S_ISREG(status.st_mode)) unlink(target.data());
}

}  // namespace but
