// SPDX-License-Identifier: MIT
// Whether the FFmpeg libraries that the program runs with are those that it was built with. Their
// structures change with each major version, so that a mixture would read the wrong bytes.
#pragma once

#include <string>
#include <vector>

namespace codec::ffmpeg {

// One library; versions as FFmpeg writes them: major << 16 | minor << 8 | micro.
struct LibraryVersion {
  const char* name;  // "libavcodec"
  unsigned built;    // version of the headers
  unsigned loaded;   // what the library says of itself
};

// The five libraries that are used.
std::vector<LibraryVersion> LibraryVersions();

// A version as people write it: "59.27.100".
std::string VersionText(unsigned version);

// Logs each library's two versions at debug level. Returns 0, or -1 with an error line for each
// library whose two major versions differ.
int CheckVersions(const std::vector<LibraryVersion>& libraries);

}  // namespace codec::ffmpeg
