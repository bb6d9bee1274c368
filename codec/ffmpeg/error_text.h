// SPDX-License-Identifier: MIT
// FFmpeg's error numbers for people.
#pragma once

#include <string>

namespace codec::ffmpeg {

// FFmpeg's sentence for one of its error numbers.
std::string ErrorText(int error);

}  // namespace codec::ffmpeg
