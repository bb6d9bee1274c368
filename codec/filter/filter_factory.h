// SPDX-License-Identifier: MIT
// Builds configured chains of picture filters.
#pragma once

#include <string>

#include "codec/filter/media_filter.h"
#include "codec/format/media_format.h"

namespace codec {

// Each returns the head of a new chain, owned by the caller, or null after an error line; a chain
// built in part is deleted. The format is only read. All of them need "width" and "height", the
// size of the pictures that come in.

// Converts "input-color-format" to "output-color-format"; any pair of FFmpeg's pixel formats will
// do. With "true-layout" 1, pictures in "yuv411p" are read as FFmpeg lays them out at every width.
MediaFilter* CreateColorFilter(MediaFormat& format);

// Resizes to "target-width" x "target-height" in "color-format": "bgra", "rgba" or "yuv420p".
MediaFilter* CreateScaleFilter(MediaFormat& format);

// Whether CreateScaleFilter resizes pictures of this "color-format".
bool CanScale(const std::string& colorFormat);

// Turns clockwise by "rotation" degrees in "color-format": "bgra" or "yuv420p".
MediaFilter* CreateRotateFilter(MediaFormat& format);

// Turns and mirrors as "orientation" says, in "yuv420p".
MediaFilter* CreateOrientationFilter(MediaFormat& format);

// Stamps the logo at "logo-path" on pictures in "color-format", "bgra" or "rgba", and makes the
// filter the process's listener for moves of the logo unless "independent" is 1. Any other format
// is treated as "bgra", after an error line.
MediaFilter* CreateWaterMarkFilter(MediaFormat& format);

// Whether CreateWaterMarkFilter stamps pictures of this "color-format" without an error line.
bool CanMark(const std::string& colorFormat);

// Resizes in "input-color-format", then converts to "output-color-format".
MediaFilter* CreateColorScaleFilter(MediaFormat& format);

// Converts to "yuv420p", resizes, turns by "rotation", then converts to "output-color-format".
MediaFilter* CreateColorScaleRotateFilter(MediaFormat& format);

// Stamps the logo in "input-color-format", then converts to "output-color-format".
MediaFilter* CreateWaterMarkColorFilter(MediaFormat& format);

// The same chain as CreateColorScaleRotateFilter: no logo is stamped on pictures that are resized
// and turned.
MediaFilter* CreateWaterMarkColorScaleRotateFilter(MediaFormat& format);

}  // namespace codec
