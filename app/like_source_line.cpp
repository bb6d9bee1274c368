// SPDX-License-Identifier: MIT
#include "app/like_source_line.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "base/log.h"
#include "reverse/like_source.h"

namespace app {
namespace {

constexpr char kTag[] = "reverse::Main";

// The keys that ask for a quality of the pictures.
constexpr std::array<std::string_view, 8> kQualities = {
    "crf",          "qp",          "video-bitrate", "video-opt:crf",
    "video-opt:qp", "video-opt:q", "video-opt:b",   "video-opt:cq"};

bool IsGiven(const CommandLine& line, std::string_view key) {
  return std::any_of(line.outputValues.begin(), line.outputValues.end(),
                     [key](const OutputValue& value) { return value.key == key; });
}

bool AsksForQuality(const CommandLine& line) {
  return std::any_of(kQualities.begin(), kQualities.end(),
                     [&line](std::string_view key) { return IsGiven(line, key); });
}

}  // namespace

CommandLine WithSourceKeys(const CommandLine& line) {
  if (!line.isLikeSource) return line;
  if (line.isPlain) {
    log_warn(kTag, "--plain leaves --like-source out");
    return line;
  }
  codec::SourceForm source = codec::ReadSourceForm(line.input);
  if (IsGiven(line, "video-codec")) source.video = AV_CODEC_ID_NONE;
  if (line.hasNoSound) source.sound = AV_CODEC_ID_NONE;
  const codec::LikeSourceKeys keys = codec::LikeSource(source);
  CommandLine complete = line;
  std::vector<OutputValue> values;
  const auto add = [&values](const codec::LikeSourceKeys::List& list) {
    for (const auto& [key, value] : list) values.push_back({key, value});
  };
  add(keys.video);
  if (!AsksForQuality(line)) add(keys.quality);
  if (!IsGiven(line, "audio-codec")) add(keys.sound);
  add(keys.always);
  // The last value of a key counts.
  complete.outputValues.insert(complete.outputValues.begin(), values.begin(), values.end());
  for (const std::string& sentence : keys.missing) log_warn(kTag, "%s", sentence.c_str());
  return complete;
}

}  // namespace app
