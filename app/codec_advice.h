// SPDX-License-Identifier: MIT
// Tells a person which codecs can be written, before anything is.
#pragma once

#include <string>

#include "app/order.h"
#include "codec/encoder/encoder_settings.h"

namespace app {

// What the command line wants of the encoders, what it does not set as a reversal sets it.
codec::EncoderSettings WishesOf(const Order& order);

// One sentence on why the wished encoders cannot write the output: an encoder or option that does
// not exist, no container, one that does not hold the codec. Empty if nothing stands against them,
// or none was wished for. No file is opened.
std::string WhyNotEncodable(const Order& order);

// The name of the first codec that the output does not hold; null if it holds both.
const char* NotTaken(const Order& order);

// One sentence on an output whose name tells no container, and what would work.
std::string ExtensionAdvice(const Order& order);

// One sentence on an output that does not hold this codec, and what would work.
std::string ContainerAdvice(const Order& order, const std::string& notTaken);

}  // namespace app
