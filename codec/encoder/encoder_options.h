// SPDX-License-Identifier: MIT
// The text options of encoders and muxers: the defaults, those of one stream, and how they reach
// FFmpeg's objects.
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "codec/encoder/encoder_settings.h"

namespace codec {

using EncoderOptions = std::map<std::string, std::string>;

// What every output starts from.
EncoderOptions DefaultEncoderOptions();

// The encoders that run on dedicated hardware. They want the send/receive interface and a profile
// of their own.
bool IsHardwareCodec(std::string_view codecName);
// The two of them that exist on mobile devices only.
bool IsMobileCodec(std::string_view codecName);

// Completes `options` for one stream's encoder: profile, level, preset, key-frame interval and rate
// control. Options for audio stay as they are.
void ApplyEncoderOptions(const EncoderSettings& settings, const std::string& codecName, bool audio,
                         EncoderOptions* options);

// Sets every option that `object` (an AVClass object; null is allowed) or one of its children
// knows for all of `requiredFlags` (AV_OPT_FLAG_*). A key that is unknown but starts with `prefix`
// is tried without that letter; '\0' for no such try. Unknown keys and refused values are skipped.
// 0, or AVERROR(ENOMEM).
int SetOptions(void* object, const EncoderOptions& options, int requiredFlags, char prefix);

}  // namespace codec
