// SPDX-License-Identifier: MIT
#include "codec/ffmpeg/error_text.h"

#include <array>

#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec::ffmpeg {

std::string ErrorText(int error) {
  std::array<char, AV_ERROR_MAX_STRING_SIZE * 2> text{};
  av_strerror(error, text.data(), text.size());
  return text.data();
}

}  // namespace codec::ffmpeg
