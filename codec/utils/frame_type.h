// SPDX-License-Identifier: MIT
// What a frame is.
#pragma once

#include <cstdint>

namespace codec {

// The codes of frames in decoder, job, writer, pool and encoder. Interfaces pass them as plain
// numbers; a number that is neither stands for no frame.
enum FrameType : uint32_t { kVideoFrame = 1, kAudioFrame = 2 };

}  // namespace codec
