// SPDX-License-Identifier: MIT
// Times as people write them.
#pragma once

#include <optional>
#include <string>

namespace app {

// Seconds that a timecode stands for: minutes and seconds ("1:30"), or hours, minutes and seconds
// ("00:01:30.5"), with a sign or without. The first number may be of any size, the others have one
// or two digits and are below 60; the seconds may have a fraction. Nothing for any other text, a
// plain number included.
std::optional<double> ParseTimeCode(const std::string& text);

}  // namespace app
