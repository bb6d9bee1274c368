// SPDX-License-Identifier: MIT
// Numbers as text, with a point whatever the locale.
#pragma once

#include <string>

namespace but {

// The number that a text begins with, as atof reads it where no locale is set: 0 if it begins with
// none. A program that embeds the library may have a locale in which "29.97" would be read as 29.
// `rest`, unless null, is where the number ends.
double ReadPlainNumber(const char* text, char** rest = nullptr);

// A text of which ReadPlainNumber makes the same number again.
std::string PlainNumberText(double number);

}  // namespace but
