// SPDX-License-Identifier: MIT
#include "reverse/copy_keys.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace codec {

bool IsForCopies(const std::string& key) {
  constexpr std::array<std::string_view, 9> kKeys = {
      "audio-channels", "audio-codec", "audio-bit-rate", "independent",   "use-thread",
      "speed",          "chapters",    "video-language", "audio-language"};
  constexpr std::array<std::string_view, 2> kPrefixes = {"audio-opt:", "tag."};
  const std::string_view name = key;
  return std::find(kKeys.begin(), kKeys.end(), name) != kKeys.end() ||
         std::any_of(kPrefixes.begin(), kPrefixes.end(), [name](std::string_view prefix) {
           return name.substr(0, prefix.size()) == prefix;
         });
}

}  // namespace codec
