// SPDX-License-Identifier: MIT
#include "app/codec_advice.h"

#include <filesystem>
#include <system_error>

#include "base/local_file.h"
#include "codec/encoder/container.h"
#include "codec/encoder/encoder_choice.h"
#include "reverse/copy_keys.h"
#include "reverse/output_description.h"

namespace app {

namespace {

// The options that ask for something else than a copy.
std::string WhyNotCopied(const Order& order) {
  const std::string copy = order.names->copy;
  if (!order.Mirrors()) {
    return copy + " goes beyond the plain reversal; leave " + order.AgainstMirror() + " out";
  }
  for (const OutputValue& given : order.outputValues) {
    if (codec::IsForCopies(given.key)) continue;
    return copy + " writes the pictures as they are, and cannot set " + given.key +
           "; leave one of the two out";
  }
  return "";
}

// FFmpeg would write MPEG-PS, which nobody has asked for. Of folders something else is told.
bool LacksContainer(const Order& order) {
  std::error_code none;
  return order.Mirrors() && !order.output.empty() && !codec::NamesContainer(order.output.c_str()) &&
         !std::filesystem::is_directory(but::LocalPath(order.output), none);
}

}  // namespace

codec::EncoderSettings WishesOf(const Order& order) {
  codec::EncoderSettings wishes = codec::UsualEncoders(order.output);
  wishes.takesAnyEncoder = order.Mirrors();
  wishes.hasVideo = !order.isCopy;
  wishes.hasAudio = !order.hasNoSound;
  for (const OutputValue& given : order.outputValues) {
    wishes.SetParameter(given.key.c_str(), given.value.c_str());
  }
  return wishes;
}

std::string WhyNotEncodable(const Order& order) {
  if (order.isCopy) {
    std::string why = WhyNotCopied(order);
    if (!why.empty()) return why;
  }
  if (LacksContainer(order)) return ExtensionAdvice(order);
  const codec::EncoderSettings wishes = WishesOf(order);
  const std::string why = WhyNotEncoded(wishes);
  if (!why.empty()) return order.output + " cannot be made: " + why;
  if (!DelaysVideo(wishes) && !DelaysAudio(wishes)) return "";
  const char* const path = order.output.c_str();
  const bool isRefused =
      (wishes.hasVideo && codec::RefusesCodec(path, wishes.videoCodec.c_str())) ||
      (wishes.hasAudio && codec::RefusesCodec(path, wishes.audioCodec.c_str()));
  return isRefused ? ContainerAdvice(order, NotTaken(order)) : "";
}

const char* NotTaken(const Order& order) {
  const codec::EncoderSettings wishes = WishesOf(order);
  const char* const path = order.output.c_str();
  const char* const video =
      wishes.hasVideo ? codec::CodecNotTaken(path, wishes.videoCodec.c_str()) : nullptr;
  if (video != nullptr || order.hasNoSound) return video;
  return codec::CodecNotTaken(path, wishes.audioCodec.c_str());
}

std::string ExtensionAdvice(const Order& order) {
  return order.output +
         " has no extension that says what to write; use .mp4, .mov, .mkv, .avi or .ts";
}

std::string ContainerAdvice(const Order& order, const std::string& notTaken) {
  const codec::EncoderPair taken = codec::EncodersTaken(order.output.c_str());
  std::string text = order.output + " cannot hold " + notTaken + "; use ";
  if (taken.video != nullptr) text += std::string(order.names->set) + "video-codec=" + taken.video;
  if (taken.video != nullptr && !order.hasNoSound) {
    text += " ";
    text += taken.audio == nullptr ? order.names->noSound
                                   : order.names->set + ("audio-codec=" + std::string(taken.audio));
  }
  if (taken.video != nullptr) text += ", or ";
  return text + ".mp4, .mov, .mkv, .avi or .ts";
}

}  // namespace app
