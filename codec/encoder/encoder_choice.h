// SPDX-License-Identifier: MIT
// Which encoders drive themselves, and whether they can do what is asked.
#pragma once

#include <string>

#include "codec/encoder/encoder_settings.h"

namespace codec {

// Whether the pictures go through DelayedVideoEncoder. They do if the settings allow any encoder,
// unless the encoder has a way of its own: those on dedicated hardware, those of other systems, and
// libx264 as long as nothing is asked of it but a bit rate and a preset.
bool DelaysVideo(const EncoderSettings& settings);

// Whether the sound goes through DelayedAudioEncoder: with any encoder but "aac", if the settings
// allow any.
bool DelaysAudio(const EncoderSettings& settings);

// Why the settings cannot be encoded, as far as this can be told without pictures and sound: a
// pixel format or an encoder that does not exist, an option that the encoder does not have, a value
// that it does not take. One sentence without a stop; empty if nothing stands against the settings.
// Of settings that allow any encoder only.
std::string WhyNotEncoded(const EncoderSettings& settings);

}  // namespace codec
