// SPDX-License-Identifier: MIT
// A file that takes the place of another in one step.
#pragma once

#include <sys/stat.h>

#include <string>
#include <utility>

#include "base/descriptor.h"
#include "base/folder_entry.h"

namespace but {

// Whoever looks at the place sees what stood there until then, and the whole new file from then on.
//
// While it is written the new file has no name, so that nothing is left of it when the process
// ends, be it killed. Where the folder's file system has no such files, or /proc is missing, it has
// a hidden name beside the place: ".NAME.clip-reverse-unfinished-PID-N".
class ReplacementFile {
 public:
  explicit ReplacementFile(FolderEntry place) : mPlace(std::move(place)) {}
  // Gives up a file that is not in its place.
  ~ReplacementFile();
  ReplacementFile(const ReplacementFile&) = delete;
  ReplacementFile& operator=(const ReplacementFile&) = delete;

  // Makes the empty file. 0, or the host's error number.
  int Open();
  // Gives it the owner, group, permissions and access list of `old`, which stands in its place. 0,
  // or the host's error number where this process may not.
  int TakeAccessOf(const struct stat& old);

  // Where it is written, by this process only.
  const std::string& Path() const { return mPath; }

  // Brings its bytes to the disk and puts it into its place, over a file or a symbolic link there
  // if it `mayReplace` one. What else has come to stand there stays. 0, or the host's error number.
  //
  // Over another file an unnamed one needs a hidden name between two calls to the host: a process
  // that is killed between these leaves the whole new file under that name.
  int PutIntoPlace(bool mayReplace);

 private:
  int OpenUnnamed();
  int OpenHidden();
  int TakeAccessList();
  // The host's error number that stands against replacing what is there now.
  int ObstacleInPlace() const;
  int LinkHidden();
  // Gives the hidden file its name, unless another file has the name.
  int MoveIfFree();

  const FolderEntry mPlace;
  Descriptor mFile;
  std::string mPath;
  std::string mHidden;  // its name in the folder; empty while it has none
  mode_t mMode = 0;     // permissions in its place
};

}  // namespace but
