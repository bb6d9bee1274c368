// SPDX-License-Identifier: MIT
// Compares the steps of two backward walks.
#pragma once

#include <cstddef>
#include <string>

#include "codec/decoder/ffmpeg_decoder.h"
#include "tests/reverse/literal_walk.h"

namespace codec {

// The first step and frame that differ, in words; nothing if none does.
std::string Difference(const Steps& expected, const Steps& seen);

// The steps that have a frame.
Steps Filled(Steps steps);

// What the steps have of one kind.
Steps Only(FrameType type, Steps steps);

// The steps without the bytes of so many blocks of sound, the first of each step.
Steps Settled(Steps steps, size_t unsettled);

}  // namespace codec
