// SPDX-License-Identifier: MIT
#include "base/plain_number.h"

#include <clocale>
#include <cstdlib>
#include <limits>
#include <locale>
#include <sstream>

namespace but {

double ReadPlainNumber(const char* text, char** rest) {
  // Stays until the process ends. If the host has no memory for it, numbers are read in the
  // program's own locale.
  static const locale_t plain = newlocale(LC_ALL_MASK, "C", nullptr);
  return plain == nullptr ? std::strtod(text, rest) : strtod_l(text, rest, plain);
}

std::string PlainNumberText(double number) {
  std::ostringstream stream;
  stream.imbue(std::locale::classic());
  stream.precision(std::numeric_limits<double>::max_digits10);
  stream << number;
  return stream.str();
}

}  // namespace but
