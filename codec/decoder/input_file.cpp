#include "codec/decoder/input_file.h"

#include <algorithm>

#include "base/log.h"
#include "codec/decoder/decoder_tag.h"

namespace codec {

int InputFile::Open(const std::string& path) {
  mPath = path;
  AVFormatContext* context = nullptr;
  // A failed open frees the context itself.
  if (avformat_open_input(&context, path.c_str(), nullptr, nullptr) < 0) {
    log_error(kDecoderTag, "Could not open source file %s", path.c_str());
    return -1;
  }
  mContext.reset(context);
  if (avformat_find_stream_info(context, nullptr) < 0) {
    log_error(kDecoderTag, "Could not find stream information");
    return -1;
  }
  return 0;
}

bool InputFile::Read(AVPacket* packet) {
  if (av_read_frame(mContext.get(), packet) < 0) {
    // Not every release leaves the packet blank.
    av_packet_unref(packet);
    return false;
  }
  ++mPacketsRead;
  return true;
}

int InputFile::SeekBackward(int stream, int64_t position) {
  ++mSeeks;
  return av_seek_frame(mContext.get(), stream, position, AVSEEK_FLAG_BACKWARD);
}

int InputFile::SeekToStart(int64_t earliest) {
  ++mSeeks;
  // Stamps may begin below 0, where 0 is somewhere in the middle.
  const int64_t first = mContext->start_time;
  const int64_t start = first == AV_NOPTS_VALUE ? 0 : std::min<int64_t>(0, first);
  const int result = avformat_seek_file(mContext.get(), -1, std::min(earliest, start), start, start,
                                        AVSEEK_FLAG_BACKWARD | AVSEEK_FLAG_ANY);
  if (result >= 0) return result;
  // A stream without stamps has no times to seek to, and looking for them has read it to its end.
  return av_seek_frame(mContext.get(), -1, 0, AVSEEK_FLAG_BYTE);
}

}  // namespace codec
