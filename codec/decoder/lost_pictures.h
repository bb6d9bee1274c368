// SPDX-License-Identifier: MIT
// How many pictures of a stretch of a clip were lost.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

namespace codec {

struct LostPictures {
  int64_t undecoded = 0;  // the decoder could not decode them
  int64_t dropped = 0;    // they were decoded, and could not be converted
  int64_t timeless = 0;   // the next picture has the same time, so that no player shows them
  int64_t unread = 0;     // no seek has led to them: damage, or times that go back in the file
  // Whether more may be missing: pictures came out damaged, or packets lie outside of the file.
  bool isDoubtful = false;
  // Seconds, of the earliest; infinite if there is none.
  double first = std::numeric_limits<double>::infinity();

  // All of them.
  int64_t Count() const { return undecoded + dropped + timeless + unread; }
  // Adds those of another stretch.
  void Add(const LostPictures& other) {
    undecoded += other.undecoded;
    dropped += other.dropped;
    timeless += other.timeless;
    unread += other.unread;
    isDoubtful = isDoubtful || other.isDoubtful;
    first = std::min(first, other.first);
  }
};

}  // namespace codec
