// SPDX-License-Identifier: MIT
// The address under which FFmpeg opens a local file.
#pragma once

#include <string>

namespace codec::ffmpeg {

// Without the protocol's name FFmpeg takes the part of a path before a colon for one.
inline std::string FileUrl(const std::string& path) { return "file:" + path; }

}  // namespace codec::ffmpeg
