// SPDX-License-Identifier: MIT
// What a run has reversed and lost, in words.
#pragma once

#include <string>

#include "reverse/account.h"

namespace app {

// "150 pictures and 6.000 s of sound reversed"
std::string ReversedText(const codec::JobAccount& account);

// How much was lost, why, and at which second of the clip first. Empty if nothing was lost.
std::string LossText(const codec::JobAccount& account);

}  // namespace app
