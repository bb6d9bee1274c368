// SPDX-License-Identifier: MIT
// Numbers as text, with a point whatever the locale.
#pragma once

#include <string>

namespace but {

// The number at the begin of a text, read as atof does if no locale is set: 0 if there is none. A
// program that embeds the library may have a locale in which "29.97" would be read as 29.
// `rest`, unless null, is where the number ends.
double ReadPlainNumber(const char* text, char** rest = nullptr);

// The number as a text. ReadPlainNumber reads the very same number from the text.
std::string PlainNumberText(double number);

}  // namespace but
