// SPDX-License-Identifier: MIT
// Tells a person which codecs can be written, before anything is.
#pragma once

#include <string>

#include "app/command_line.h"
#include "codec/encoder/encoder_settings.h"

namespace app {

// What the command line wants of the encoders, what it does not set as a reversal sets it.
codec::EncoderSettings WishesOf(const CommandLine& line);

// One sentence on why the wished encoders cannot write the output: an encoder or option that does
// not exist, a container that does not hold the codec. Empty if nothing stands against them, or
// none was wished for. No file is opened.
std::string WhyNotEncodable(const CommandLine& line);

// The name of the first codec that the output does not hold; null if it holds both.
const char* NotTaken(const CommandLine& line);

// One sentence on an output that does not hold this codec, and what would work.
std::string ContainerAdvice(const CommandLine& line, const std::string& notTaken);

}  // namespace app
