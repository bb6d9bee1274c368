// SPDX-License-Identifier: MIT
// The file that a job writes.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "base/file_gauge.h"
#include "base/new_file.h"
#include "codec/format/media_format.h"

namespace codec {

// Decides at which path the output is written until it is whole, brings it to its place, and takes
// it away if the job fails. Used by one thread at a time, but for Bytes.
class JobOutput {
 public:
  explicit JobOutput(const std::string& path) : mPath(path) {}

  // To be called before Place, both off unless set. Safe: what stands at the path stays until the
  // new file is whole. Keep: what stands there is never replaced.
  void SetSafe(bool isSafe) { mIsSafe = isSafe; }
  void SetKeepExisting(bool keeps) { mKeepsExisting = keeps; }

  const std::string& Path() const { return mPath; }
  // What kind of file it is, as in JobFailure. Null before Place.
  const char* Kind() const { return mKind; }

  // Tells `format` where to write. 0, or the host's error number.
  int Place(MediaFormat* format);
  // The file has been opened by who writes it: from now on Bytes tells its size.
  void Measure();
  // For the thread that calls Place and Measure, also after Drop.
  int64_t Bytes() const { return mGauge.Bytes(); }

  // The file is whole and closed. 0, or FFmpeg's negative number. May throw std::bad_alloc.
  int Finish();
  // Takes the file away, unless it was there before. It has been closed.
  void Discard();
  // Gives up what is not finished.
  void Drop() { mFile.reset(); }

 private:
  const std::string mPath;
  bool mIsSafe = false;
  bool mKeepsExisting = false;
  const char* mKind = nullptr;
  std::unique_ptr<but::NewFile> mFile;  // from Place to Drop
  but::FileGauge mGauge;
};

}  // namespace codec
