// SPDX-License-Identifier: MIT
// Fields of a picture, the same on every FFmpeg release.
#pragma once

#include "codec/ffmpeg/ffmpeg_headers.h"
#include "codec/utils/field_order.h"

namespace codec::ffmpeg {

// What a decoded picture says of its fields; never FieldOrder::kSingle.
FieldOrder FieldsOf(const AVFrame* picture);
// Says it of a picture that is going to be encoded.
void SetFields(FieldOrder order, AVFrame* picture);

}  // namespace codec::ffmpeg
