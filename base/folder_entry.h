// SPDX-License-Identifier: MIT
// A name in a folder.
#pragma once

#include <sys/stat.h>

#include <string>

#include "base/descriptor.h"

namespace but {

// The folder is held open. So the name means the same place until the end, whatever happens
// meanwhile to the path that led there.
class FolderEntry {
 public:
  // Finds the name that a path leads to, through symbolic links, also where nothing stands there
  // yet. 0, or the host's error number.
  int Find(const std::string& path);

  int Folder() const { return mFolder.Number(); }
  const std::string& FolderPath() const { return mFolderPath; }
  const std::string& Name() const { return mName; }
  std::string Path() const { return PathOf(mName); }
  // The path of another name in the folder.
  std::string PathOf(const std::string& name) const;

  // What stands under the name; a link there is not followed. 0, or the host's error number.
  int Look(struct stat* status) const;
  // Whether the path led to a file that a process has open (/dev/stdout) and not to a name.
  bool IsOpenFile() const { return mIsOpenFile; }

 private:
  int OpenFolderOf(const std::string& path);

  Descriptor mFolder;
  std::string mFolderPath;
  std::string mName;
  bool mIsOpenFile = false;
};

}  // namespace but
