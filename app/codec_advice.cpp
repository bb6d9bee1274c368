// SPDX-License-Identifier: MIT
#include "app/codec_advice.h"

#include "codec/encoder/container.h"
#include "codec/encoder/encoder_choice.h"
#include "reverse/output_description.h"

namespace app {

codec::EncoderSettings WishesOf(const CommandLine& line) {
  codec::EncoderSettings wishes = codec::UsualEncoders(line.output);
  wishes.takesAnyEncoder = !line.isPlain;
  wishes.hasAudio = !line.hasNoSound;
  for (const OutputValue& given : line.outputValues) {
    wishes.SetParameter(given.key.c_str(), given.value.c_str());
  }
  return wishes;
}

std::string WhyNotEncodable(const CommandLine& line) {
  const codec::EncoderSettings wishes = WishesOf(line);
  if (!DelaysVideo(wishes) && !DelaysAudio(wishes)) return "";
  std::string why = WhyNotEncoded(wishes);
  if (!why.empty()) return line.output + " cannot be made: " + why;
  const char* const path = line.output.c_str();
  const bool isRefused = codec::RefusesCodec(path, wishes.videoCodec.c_str()) ||
                         (wishes.hasAudio && codec::RefusesCodec(path, wishes.audioCodec.c_str()));
  return isRefused ? ContainerAdvice(line, NotTaken(line)) : "";
}

const char* NotTaken(const CommandLine& line) {
  const codec::EncoderSettings wishes = WishesOf(line);
  const char* const path = line.output.c_str();
  const char* const video = codec::CodecNotTaken(path, wishes.videoCodec.c_str());
  if (video != nullptr || line.hasNoSound) return video;
  return codec::CodecNotTaken(path, wishes.audioCodec.c_str());
}

std::string ContainerAdvice(const CommandLine& line, const std::string& notTaken) {
  const codec::EncoderPair taken = codec::EncodersTaken(line.output.c_str());
  std::string text = line.output + " cannot hold " + notTaken + "; use ";
  if (taken.video != nullptr) text += std::string("--set video-codec=") + taken.video;
  if (taken.video != nullptr && taken.audio != nullptr && !line.hasNoSound) {
    text += std::string(" --set audio-codec=") + taken.audio;
  }
  if (taken.video != nullptr) text += ", or ";
  return text + ".mp4, .mov, .mkv, .avi or .ts";
}

}  // namespace app
