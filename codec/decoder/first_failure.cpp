// SPDX-License-Identifier: MIT
#include "codec/decoder/first_failure.h"

#include <cerrno>

#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec {

int FirstFailure::Note(int result) {
  if (result == AVERROR(ENOMEM)) mError.Keep(result);
  return result;
}

}  // namespace codec
