// At which rate the times of an output's pictures are kept.
#pragma once

namespace codec {

// Ticks a second. If the source's rate is constant, each picture lasts a whole number of them, so
// that players report the same rate for the output; 30000/1001 is recognised in 29.97. Otherwise,
// or for a rate that is no simple fraction, the ticks are fine ones.
int StampRate(double frameRate, bool isConstant);

}  // namespace codec
