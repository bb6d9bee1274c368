// SPDX-License-Identifier: MIT
// The backward walk of a job over its range.
#pragma once

#include "reverse/account.h"

namespace codec {

// The work of a job, step by step, from the end of the range to its start. Used by one thread.
class BackwardWalk {
 public:
  BackwardWalk() = default;
  virtual ~BackwardWalk() = default;
  BackwardWalk(const BackwardWalk&) = delete;
  BackwardWalk& operator=(const BackwardWalk&) = delete;

  // One step: 0 if more work may remain, -1 if the range is done.
  virtual int Step() = 0;
  // Percent of the range that is done.
  virtual float Progress() const = 0;
  // Whether nothing of the range is left to do.
  virtual bool IsDone() const = 0;

  // Whether the range had a length, is done, and gave no picture.
  virtual bool FoundNoPicture() const = 0;
  // Whether a seek has used up a picture. If no step has read that picture, it was the first of the
  // range.
  virtual bool UsedUpPicture() const { return false; }
  // Whether pictures were met that lie before the start of the range, and any after its end.
  virtual bool PassedPicture() const { return false; }
  virtual bool SawLaterPicture() const { return false; }
  // Whether some pictures may not have been read: times go back in the file, so that seeks miss
  // them.
  virtual bool IsTorn() const = 0;
  // Whether sound was written.
  virtual bool HasSound() const = 0;
  // The pictures given to the writer, and what was lost on the way to it.
  virtual JobAccount Account() const = 0;
};

}  // namespace codec
