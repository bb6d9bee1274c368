// SPDX-License-Identifier: MIT
// The sample rates that sound can be encoded at.
#pragma once

namespace codec {

// Of the rates that the encoder of this name takes the one nearest to `rate`, in samples a second;
// the higher one of two. `rate` itself if the encoder takes any, or there is no such encoder.
int NearestSampleRate(const char* encoder, int rate);

}  // namespace codec
