// SPDX-License-Identifier: MIT
// The layouts that sound can be encoded in.
#pragma once

#include "codec/utils/sound_layout.h"

namespace codec {

// The layout nearest to `layout` that the encoder of this name takes: the same one, else other
// places for the same number of channels, else the usual places of fewer channels. Opens the
// encoder to try. `layout` itself if the encoder takes none of these, or there is no such encoder.
// `rate` in samples a second.
SoundLayout NearestLayout(const char* encoder, const SoundLayout& layout, int rate);

}  // namespace codec
