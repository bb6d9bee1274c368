// SPDX-License-Identifier: MIT
// The rate of the clock that the stamps of an output's pictures count in.
#pragma once

namespace codec {

// Ticks a second. If the source's rate is constant, each picture lasts a whole number of ticks. So
// players report the same rate for the output. 29.97 is recognised as 30000/1001. If the rate is
// not constant, or no simple fraction, the ticks are fine ones.
int StampRate(double frameRate, bool isConstant);

}  // namespace codec
