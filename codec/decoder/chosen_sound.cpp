// SPDX-License-Identifier: MIT
#include "codec/decoder/chosen_sound.h"

#include "codec/decoder/decoder_choice.h"
#include "codec/decoder/sound_choice.h"

namespace codec {
namespace {

std::string StreamText(const AVStream* stream) {
  return "the sound in stream " + std::to_string(stream->index) + " (" + CodecName(stream) + ")";
}

}  // namespace

std::unique_ptr<StreamDecoder> OpenChosenSound(const InputFile& input, int video,
                                               AudioConverter* converter, PassedOverSound* passed) {
  AVFormatContext* const file = input.Context();
  *passed = {};
  for (const int index : SoundByChoice(file, video)) {
    const AVStream* const stream = file->streams[index];
    const bool isKnown = ChooseDecoder(stream, false) != nullptr;
    std::unique_ptr<StreamDecoder> sound =
        isKnown ? StreamDecoder::OpenStream(input, index, 1) : nullptr;
    if (sound != nullptr && converter->Open(sound->Context()) == 0) {
      if (!passed->why.empty()) passed->why += "; " + StreamText(stream) + " is taken instead";
      passed->lost = -1;
      return sound;
    }
    if (passed->lost < 0) passed->lost = index;
    if (!passed->why.empty()) passed->why += ", ";
    passed->why +=
        (isKnown ? "FFmpeg cannot open " : "FFmpeg has no decoder for ") + StreamText(stream);
  }
  if (passed->lost < 0) passed->lost = FirstSound(file);
  return nullptr;
}

}  // namespace codec
