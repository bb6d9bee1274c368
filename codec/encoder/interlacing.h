// SPDX-License-Identifier: MIT
// Encodes the two fields of interlaced pictures as such.
#pragma once

#include <string>

#include "codec/encoder/encoder_options.h"
#include "codec/encoder/encoder_settings.h"
#include "codec/ffmpeg/ffmpeg_headers.h"
#include "codec/utils/field_order.h"

namespace codec {

// The order in which this encoder keeps the fields: that of the settings, or kProgressive if the
// encoder cannot say it of such pictures.
FieldOrder EncodedFields(const EncoderSettings& settings, const std::string& codecName);

// What libx264 has to be told of the fields besides; empty for progressive pictures.
EncoderOptions FieldOptions(FieldOrder order);

// Tells a context that is not open yet; progressive pictures leave it alone. 0 after a warning if
// the order of the settings cannot be kept. -1 after an error line for a name that is none.
int TellFields(const EncoderSettings& settings, AVCodecContext* context);

}  // namespace codec
