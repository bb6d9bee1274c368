// SPDX-License-Identifier: MIT
// Taking interleaved samples apart.
#pragma once

#include <cstddef>
#include <cstdint>

namespace codec {

// Whether interleaved samples must be taken apart for an encoder of this format. Planar double is
// not: it is handed on as it is.
bool NeedsPlanes(int sampleFormat);

// Writes the samples of channel 0, then those of channel 1, and so on. Both sides hold
// `samples` x `channels` x `bytesPerSample` bytes.
void SplitIntoPlanes(const uint8_t* interleaved, size_t samples, size_t channels,
                     size_t bytesPerSample, uint8_t* planes);

// Whether all samples are numbers that sound may have, in a format of floats; true for any other
// format. `bytes` of samples that are aligned as floats or doubles are.
bool AreUsualSamples(const uint8_t* samples, size_t bytes, int sampleFormat);

}  // namespace codec
