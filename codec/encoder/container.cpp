#include "codec/encoder/container.h"

#include <string_view>

namespace codec {

const AVOutputFormat* ChooseContainer(const char* path) {
  const AVOutputFormat* format = av_guess_format(nullptr, path, nullptr);
  return format != nullptr ? format : av_guess_format("mpeg", nullptr, nullptr);
}

const char* CodecsNotTaken(const char* path) {
  const AVOutputFormat* const format = ChooseContainer(path);
  // Transport streams take both and answer for neither.
  if (format == nullptr || std::string_view(format->name) == "mpegts") return nullptr;
  const int video = avformat_query_codec(format, AV_CODEC_ID_H264, FF_COMPLIANCE_NORMAL);
  const int audio = avformat_query_codec(format, AV_CODEC_ID_AAC, FF_COMPLIANCE_NORMAL);
  if (video == 1) return audio == 1 ? nullptr : "AAC";
  return video == AVERROR_PATCHWELCOME && audio != 1 ? "H.264 and AAC" : "H.264";
}

}  // namespace codec
