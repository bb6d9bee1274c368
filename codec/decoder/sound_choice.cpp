// SPDX-License-Identifier: MIT
#include "codec/decoder/sound_choice.h"

#include <algorithm>
#include <array>

#include "codec/decoder/decoder_choice.h"
#include "codec/ffmpeg/compat_channels.h"

namespace codec {
namespace {

bool HasStream(const AVProgram& program, int stream) {
  const unsigned* const begin = program.stream_index;
  const unsigned* const end = begin + program.nb_stream_indexes;
  return std::find(begin, end, static_cast<unsigned>(stream)) != end;
}

}  // namespace

std::vector<int> SoundByChoice(AVFormatContext* file, int video) {
  const int best = av_find_best_stream(file, AVMEDIA_TYPE_AUDIO, -1, video, nullptr, 0);
  if (best < 0) return {};
  std::vector<int> choice = {best};
  for (int i = 0; i < static_cast<int>(file->nb_streams); ++i) {
    if (i == best || !IsKnownSound(file->streams[i])) continue;
    if (ShareProgram(file, best, i)) choice.push_back(i);
  }
  return choice;
}

int FirstDecodableSound(AVFormatContext* file, int video) {
  for (const int index : SoundByChoice(file, video)) {
    if (ChooseDecoder(file->streams[index], false) != nullptr) return index;
  }
  return -1;
}

bool ShareProgram(AVFormatContext* file, int stream, int other) {
  bool isInNone = true;
  for (unsigned i = 0; i < file->nb_programs; ++i) {
    if (!HasStream(*file->programs[i], stream)) continue;
    if (HasStream(*file->programs[i], other)) return true;
    isInNone = false;
  }
  return isInNone;
}

int FirstSound(const AVFormatContext* file) {
  for (unsigned i = 0; i < file->nb_streams; ++i) {
    if (file->streams[i]->codecpar->codec_type == AVMEDIA_TYPE_AUDIO) return static_cast<int>(i);
  }
  return -1;
}

bool IsKnownSound(const AVStream* stream) {
  const AVCodecParameters& sound = *stream->codecpar;
  return sound.codec_type == AVMEDIA_TYPE_AUDIO && sound.sample_rate > 0 &&
         ffmpeg::Channels(&sound) > 0;
}

std::string CodecName(const AVStream* stream) {
  const AVCodecParameters& parameters = *stream->codecpar;
  if (parameters.codec_id == AV_CODEC_ID_NONE) {
    if (parameters.codec_tag == 0) return "unknown codec";
    std::array<char, AV_FOURCC_MAX_STRING_SIZE> code{};
    return av_fourcc_make_string(code.data(), parameters.codec_tag);
  }
  return avcodec_get_name(parameters.codec_id);
}

}  // namespace codec
