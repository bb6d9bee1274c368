// SPDX-License-Identifier: MIT
// Telling whether two paths lead to one file.
#pragma once

#include <string>

namespace but {

// True when both paths exist and name the same file, by whatever spelling, symbolic or hard link.
bool IsSameFile(const std::string& a, const std::string& b);

}  // namespace but
