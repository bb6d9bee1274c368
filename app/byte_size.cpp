// SPDX-License-Identifier: MIT
#include "app/byte_size.h"

#include <cctype>
#include <cmath>
#include <string_view>

#include "base/plain_number.h"

namespace app {
namespace {

constexpr std::string_view kUnits = "kmgt";

// How often 1024 is to be taken; -1 where the text is no unit.
int PowerOf(std::string unit) {
  for (char& letter : unit) {
    letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
  }
  if (unit.empty() || unit == "b") return 0;
  const size_t power = kUnits.find(unit.front());
  const std::string_view rest = std::string_view(unit).substr(1);
  if (power == std::string_view::npos || !(rest.empty() || rest == "b" || rest == "ib")) return -1;
  return static_cast<int>(power) + 1;
}

}  // namespace

int64_t ParseByteSize(const std::string& text) {
  constexpr double kMost = 9.2e18;
  // By hand: the library would also take signs, exponents and names of what is no number.
  const size_t end = text.find_first_not_of("0123456789.");
  const std::string number = text.substr(0, end);
  const int power = PowerOf(end == std::string::npos ? "" : text.substr(end));
  const bool isNumber = number.find_first_of("0123456789") != std::string::npos &&
                        number.find('.') == number.rfind('.');
  if (!isNumber || power < 0) return -1;
  const double bytes = std::floor(but::ReadPlainNumber(number.c_str()) * std::pow(1024.0, power));
  return bytes >= 1 && bytes <= kMost ? static_cast<int64_t>(bytes) : -1;
}

}  // namespace app
