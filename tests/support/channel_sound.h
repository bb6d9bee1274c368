// SPDX-License-Identifier: MIT
// Compares sound channel by channel, so that a swap or a mix is noticed.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace test_support {

// An expression of ffmpeg's "aevalsrc" for one channel, another for each of the first eight. The
// fourth channel, which is that of low frequencies in most layouts, has a low one.
std::string ChannelTone(int channel);

// All sound of a file as floats, the channels in turn, at its own rate, as ffmpeg decodes it with
// this filter.
std::vector<float> DecodeChannels(const std::string& path, const std::string& filter = "anull");

// Each channel of the output is the same one of the source reversed, as ffmpeg reverses it: bit for
// bit if no loss is allowed, else by its wave in the middle of the clip, and no other channel is
// like it.
void ExpectEachChannelReversed(const std::string& source, const std::string& output,
                               size_t channels, bool isLossless);

}  // namespace test_support
