// SPDX-License-Identifier: MIT
#include "app/nearest.h"

#include <algorithm>
#include <cctype>
#include <numeric>

namespace app {
namespace {

// Lower case and without the dashes at the front.
std::string Letters(std::string_view word) {
  word.remove_prefix(std::min(word.find_first_not_of('-'), word.size()));
  std::string letters(word);
  for (char& c : letters) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return letters;
}

// Changes of one letter, or swaps of two neighbours, that make `a` of `b`. Row by row: `above` and
// `top` are the two rows before the one that is filled.
size_t Distance(const std::string& a, const std::string& b) {
  std::vector<size_t> top;
  std::vector<size_t> above(b.size() + 1);
  std::iota(above.begin(), above.end(), size_t{0});
  for (size_t i = 1; i <= a.size(); ++i) {
    std::vector<size_t> row(b.size() + 1, i);
    for (size_t j = 1; j <= b.size(); ++j) {
      const size_t changed = above[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
      row[j] = std::min({above[j] + 1, row[j - 1] + 1, changed});
      const bool isSwapped = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
      if (isSwapped) row[j] = std::min(row[j], top[j - 2] + 1);
    }
    top = std::move(above);
    above = std::move(row);
  }
  return above.back();
}

}  // namespace

std::string Nearest(std::string_view word, const std::vector<std::string>& candidates) {
  const std::string letters = Letters(word);
  if (letters.empty()) return "";
  const size_t most = letters.size() / 3;
  std::string nearest;
  size_t least = most + 1;
  for (const std::string& candidate : candidates) {
    const std::string other = Letters(candidate);
    size_t distance = Distance(letters, other);
    const bool isBeginning = letters.size() > 1 && other.compare(0, letters.size(), letters) == 0;
    if (isBeginning) distance = std::min(distance, most);
    if (distance >= least) continue;
    least = distance;
    nearest = candidate;
  }
  return nearest;
}

}  // namespace app
