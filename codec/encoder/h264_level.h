// SPDX-License-Identifier: MIT
// The level that an H.264 stream has to name, so that hardware decoders know what they need.
#pragma once

#include <cstdint>
#include <string>

#include "codec/encoder/encoder_settings.h"

namespace codec {

// What a stream demands of its decoder.
struct H264Load {
  int width = 0;           // pixels, as the next one
  int height = 0;          // of a whole picture
  double frameRate = 0;    // pictures a second
  int64_t maxRate = 0;     // bit/s
  int64_t bufferSize = 0;  // bits
  int references = 1;      // pictures that a picture may refer to
  bool hasFields = false;  // pictures are interlaced
};

// The lowest level that allows this, as ten times its number; 62, the highest, if none does.
// Only the middle levels have fields. Smaller fields get the lowest level of these. Fields that are
// too large or too fast for all of these get the lowest level that allows such pictures without
// fields.
int H264Level(const H264Load& load);

// The pictures that the encoder refers to with a preset of this name or number; 16, the most that
// there may be, with one that is not known.
int H264References(const std::string& preset);

// What the stream of these settings demands, if it is encoded with this preset and rate control,
// as fields or not.
H264Load H264LoadOf(const EncoderSettings& settings, const std::string& preset, int64_t maxRate,
                    int64_t bufferSize, bool hasFields);

}  // namespace codec
