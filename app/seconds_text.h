// SPDX-License-Identifier: MIT
// Times as they are told to people.
#pragma once

#include <string>

namespace app {

// "1.240 s"
std::string SecondsText(double seconds);

}  // namespace app
