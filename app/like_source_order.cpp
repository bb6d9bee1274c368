// SPDX-License-Identifier: MIT
#include "app/like_source_order.h"

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

bool IsGiven(const Order& order, std::string_view key) {
  return std::any_of(order.outputValues.begin(), order.outputValues.end(),
                     [key](const OutputValue& value) { return value.key == key; });
}

bool AsksForQuality(const Order& order) {
  return std::any_of(kQualities.begin(), kQualities.end(),
                     [&order](std::string_view key) { return IsGiven(order, key); });
}

}  // namespace

Order WithSourceKeys(Order order) {
  if (!order.isLikeSource) return order;
  if (!order.Mirrors()) {
    log_warn(kTag, "%s leaves %s out", order.AgainstMirror(), order.names->likeSource);
    return order;
  }
  codec::SourceForm source = codec::ReadSourceForm(order.input);
  if (order.isCopy || IsGiven(order, "video-codec")) source.video = AV_CODEC_ID_NONE;
  if (order.hasNoSound) source.sound = AV_CODEC_ID_NONE;
  const codec::LikeSourceKeys keys = codec::LikeSource(source);
  std::vector<OutputValue> values;
  const auto add = [&values](const codec::LikeSourceKeys::List& list) {
    for (const auto& [key, value] : list) values.push_back({key, value});
  };
  add(keys.video);
  if (!AsksForQuality(order)) add(keys.quality);
  const bool choosesSound = !IsGiven(order, "audio-codec");
  if (choosesSound) add(keys.sound);
  add(keys.always);
  // The last value of a key counts.
  order.outputValues.insert(order.outputValues.begin(), values.begin(), values.end());
  if (!keys.missingVideo.empty()) log_warn(kTag, "%s", keys.missingVideo.c_str());
  // A copy writes such sound without loss.
  if (choosesSound && !order.isCopy && !keys.missingSound.empty()) {
    log_warn(kTag, "%s", keys.missingSound.c_str());
  }
  return order;
}

}  // namespace app
