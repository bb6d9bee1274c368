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
  // Whether one that is not taken is refused or merely not known of differs between releases.
  const bool video = avformat_query_codec(format, AV_CODEC_ID_H264, FF_COMPLIANCE_NORMAL) == 1;
  const bool audio = avformat_query_codec(format, AV_CODEC_ID_AAC, FF_COMPLIANCE_NORMAL) == 1;
  if (video) return audio ? nullptr : "AAC";
  return audio ? "H.264" : "H.264 and AAC";
}

}  // namespace codec
