// SPDX-License-Identifier: MIT
// The pictures at the start of a file that a backward walk has not reached.
#pragma once

#include <cstdint>

#include "codec/decoder/input_file.h"

namespace codec {

// A damaged index may lead to a packet after the first one. The same happens if two key packets
// have the first time: the index knows the second. No seek finds the pictures before such a packet.
// So the first packet of the file is compared with the earliest one that was read after a seek.
class MissedStart {
 public:
  // The position of the first packet of the video, in bytes, read before any seek; below 0 if it is
  // unknown. Then nothing counts as missed.
  void SetFirst(int64_t position) { mFirst = position; }
  // A packet of the video was read for a walk. Its position in bytes; below 0 if it is unknown.
  void NoteRead(int64_t position) {
    if (position >= 0 && (mEarliest < 0 || position < mEarliest)) mEarliest = position;
  }

  // Whether all packets that were read lie after the first one.
  bool IsAny() const { return mFirst >= 0 && mEarliest > mFirst; }
  // The pictures before the earliest packet that was read and before `end`, in seconds of the
  // file's stamps. Reads the start of the file again if there are any, through an input of its own.
  // 0 if it cannot be read.
  int64_t Count(const InputFile& input, double end) const;

 private:
  int64_t mFirst = -1;
  int64_t mEarliest = -1;
};

}  // namespace codec
