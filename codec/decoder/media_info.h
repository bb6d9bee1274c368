// SPDX-License-Identifier: MIT
// What a decoder reports of its input.
#pragma once

#include <cstdint>
#include <string>

#include "codec/decoder/clip_tags.h"
#include "codec/utils/field_order.h"
#include "codec/utils/picture_colors.h"

namespace codec {

// The initial values stand for streams that the input does not have.
struct MediaInfo {
  float duration = 0;     // seconds
  uint8_t has_video = 0;  // 1 if there is a stream that can be decoded
  uint8_t has_audio = 0;  // the same for sound
  int32_t width = 0;      // pixels, before any rotation
  int32_t height = 0;     // the same
  float frame_rate = 0;   // frames per second
  // FFmpeg's number, full-range planar formats folded onto ordinary ones.
  int32_t pixel_format = -1;
  std::string pixel_format_name;  // FFmpeg's name of the source format, nothing folded
  int32_t profile = 0;            // 0 baseline, 1 main, 2 high, -1 anything else
  int32_t level = 0;              // as the video decoder reports it
  int32_t video_bit_rate = 0;     // bit/s
  int32_t sample_rate = 0;        // Hz
  int32_t channels = 0;           // of the blocks delivered
  int32_t sample_format = -1;     // FFmpeg's number, of the blocks delivered; -1 if above 9
  int32_t audio_bit_rate = 0;     // bit/s
  int32_t sample_aspect_den = 1;  // a pixel is num / den times as wide as high
  int32_t sample_aspect_num = 1;  // see above
  double rotation = 0;            // degrees clockwise that a player should turn, about -1 to 359
  // What players do to the pictures, as a number of utils/orientation.h: the turn above, or
  // mirroring, which no turn tells.
  int32_t orientation = 1;
  ClipTags tags;  // read where this is switched on
  // Of the fields of each picture; found by the mirror only.
  FieldOrder field_order = FieldOrder::kProgressive;
  PictureColors colors;           // of the source's pictures
  uint8_t has_constant_rate = 0;  // 1 if all pictures seem to last equally long
};

}  // namespace codec
