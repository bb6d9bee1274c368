// SPDX-License-Identifier: MIT
#include "app/time_code.h"

#include <cstdlib>
#include <string_view>

namespace app {
namespace {

constexpr char kDigits[] = "0123456789";

bool IsNumber(std::string_view text) {
  return !text.empty() && text.find_first_not_of(kDigits) == std::string_view::npos;
}

// Whether the text is a number of minutes or whole seconds after a colon.
bool IsSixtieth(std::string_view text) {
  return IsNumber(text) && text.size() <= 2 && (text.size() == 1 || text.front() < '6');
}

double Number(std::string_view text) { return std::strtod(std::string(text).c_str(), nullptr); }

}  // namespace

std::optional<double> ParseTimeCode(const std::string& text) {
  std::string_view rest = text;
  const bool isNegative = !rest.empty() && rest.front() == '-';
  if (isNegative) rest.remove_prefix(1);

  const std::string_view whole = rest.substr(0, rest.find('.'));
  const std::string_view fraction = rest.substr(whole.size());
  if (!fraction.empty() && !IsNumber(fraction.substr(1))) return std::nullopt;

  const size_t first = whole.find(':');
  const size_t last = whole.rfind(':');
  if (first == std::string_view::npos) return std::nullopt;
  const std::string_view begin = whole.substr(0, first);
  const std::string_view end = whole.substr(last + 1);
  if (!IsNumber(begin) || !IsSixtieth(end)) return std::nullopt;

  double minutes = Number(begin);
  if (first != last) {
    const std::string_view middle = whole.substr(first + 1, last - first - 1);
    if (!IsSixtieth(middle)) return std::nullopt;
    minutes = minutes * 60 + Number(middle);
  }
  const double seconds = minutes * 60 + Number(std::string(end) + std::string(fraction));
  return isNegative ? -seconds : seconds;
}

}  // namespace app
