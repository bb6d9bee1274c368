// SPDX-License-Identifier: MIT
// What the FFmpeg release at hand has, for the other files of this folder. No file outside of the
// folder looks at FFmpeg's version: the functions of compat_*.h say what they do, on every release
// from 4.3 on.
#pragma once

#include <cstdint>

#include "codec/ffmpeg/ffmpeg_headers.h"

#define HAS_CHANNEL_LAYOUT (LIBAVCODEC_VERSION_INT >= AV_VERSION_INT(59, 24, 100))  // FFmpeg 5.1
#define HAS_MADE_UP_PALETTES (LIBAVUTIL_VERSION_MAJOR < 57)                    // up to FFmpeg 4.4
#define HAS_INDEX_CALLS (LIBAVFORMAT_VERSION_MAJOR >= 59)                      // FFmpeg 5.0
#define HAS_COPY_OPAQUE (LIBAVCODEC_VERSION_MAJOR >= 60)                       // FFmpeg 6.0
#define HAS_FIELD_FLAGS (LIBAVUTIL_VERSION_INT >= AV_VERSION_INT(58, 7, 100))  // FFmpeg 6.1
#define HAS_FRAME_DURATION (LIBAVUTIL_VERSION_MAJOR >= 58)                     // FFmpeg 6.0
#define HAS_PARAMETER_SIDE_DATA (LIBAVCODEC_VERSION_MAJOR >= 61)               // FFmpeg 7.0
#define HAS_SUPPORTED_CONFIG (LIBAVCODEC_VERSION_INT >= AV_VERSION_INT(61, 13, 100))  // FFmpeg 7.1
#define HAS_RECEIVING_THREADS (LIBAVCODEC_VERSION_MAJOR >= 62)                        // FFmpeg 8.0

#if HAS_CHANNEL_LAYOUT
namespace codec::ffmpeg {

// 0 for a layout that has no mask.
inline uint64_t MaskOf(const AVChannelLayout& layout) {
  return layout.order == AV_CHANNEL_ORDER_NATIVE ? layout.u.mask : 0;
}

}  // namespace codec::ffmpeg
#endif
