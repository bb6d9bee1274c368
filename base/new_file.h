// SPDX-License-Identifier: MIT
// A file that a run writes under the name that the user gave.
#pragma once

#include <memory>
#include <string>

namespace but {

class ReplacementFile;

// Written in place unless WriteAside is called: then what a failed run has made itself is taken
// away again, and what was there before is overwritten. Written aside, what was there before stays
// until the new file is whole.
class NewFile {
 public:
  // To be constructed before the file is opened. The name is read as by LocalPath; log lines show
  // it as it is given here.
  //
  // Unless it `mayReplace`, a file that stands there by WriteAside, WriteInPlace or Finish stays as
  // it is: these give EEXIST.
  explicit NewFile(const std::string& name, bool mayReplace = true);
  // Gives up what is aside.
  ~NewFile();
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  // Makes the file that is written instead. 0, or the host's error number after an error line.
  //
  // Stays with writing in place, and gives 0, where there is nothing to replace (devices, pipes),
  // where the opening of the path is going to fail anyhow, and, after a warning, where a file that
  // may be written cannot be replaced by another.
  int WriteAside();
  // Stays with writing in place. 0, or the host's error number after an error line. If nothing may
  // be replaced, the empty file is made here, so that no other process has made what is written.
  int WriteInPlace();
  // Until Finish or Discard.
  bool IsAside() const { return mAside != nullptr; }
  // The path to write to.
  const std::string& WritePath() const;

  // What is aside comes to its place, with its bytes on the disk. To be called once the file is
  // whole and closed; does nothing in place. 0, or the host's error number after an error line;
  // what was there before stays then.
  int Finish();
  // Gives up what is aside. In place it removes the file, unless that was there before or is no
  // regular file.
  void Discard();

 private:
  int StayInPlace(const char* reason) const;
  int Refuse(int error) const;

  const std::string mName;
  const std::string mPath;
  const bool mMayReplace;
  bool mIsNew;  // nothing stood there before
  bool mIsInPlace = true;
  std::unique_ptr<ReplacementFile> mAside;
};

}  // namespace but
