// SPDX-License-Identifier: MIT
// What becomes of the fields of interlaced pictures on their way through the filters.
#pragma once

#include "codec/format/media_format.h"

namespace codec {

// Sets "field-order" of the encoder's format by what the filters of `input` do to the pictures.
// Filters that mix or turn rows leave no fields; a warning tells. On their heads, the fields come
// in the opposite order.
void SettleFieldOrder(const MediaFormat& input, MediaFormat* output);

}  // namespace codec
