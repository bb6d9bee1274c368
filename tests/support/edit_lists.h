// SPDX-License-Identifier: MIT
// Writes edit lists and lengths into MP4 and MOV files, since ffmpeg writes only simple ones.
#pragma once

#include <string>
#include <vector>

namespace test_support {

// A stretch of what a track shows, in seconds.
struct Edit {
  double length = 0;
  double from = 0;  // of the track's own pictures or sound; -1 for nothing to be shown
};

// A copy of a file of ffmpeg's, in which both tracks show these stretches in turn. Throws
// std::runtime_error if the file has its moov before its data, or a track without an edit list.
std::string WithEdits(const std::string& path, const std::string& name,
                      const std::vector<Edit>& edits);

// A copy of such a file which tells that it lasts so many seconds. What its tracks tell stays.
std::string WithLength(const std::string& path, const std::string& name, double seconds);

}  // namespace test_support
