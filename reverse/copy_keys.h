// SPDX-License-Identifier: MIT
// What can be asked of an output whose pictures are copied.
#pragma once

#include <string>

namespace codec {

// Whether a key of an output's description makes sense if its pictures are copied: it tells nothing
// of the pictures or of their encoder.
bool IsForCopies(const std::string& key);

}  // namespace codec
