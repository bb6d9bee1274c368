#include "codec/decoder/input_file.h"

#include <iterator>

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
  if (!mPutBack.empty()) {
    av_packet_move_ref(packet, mPutBack.front().get());
    mPutBack.pop_front();
    ++mPacketsRead;
    return true;
  }
  if (av_read_frame(mContext.get(), packet) < 0) {
    // Not every release leaves the packet blank.
    av_packet_unref(packet);
    return false;
  }
  ++mPacketsRead;
  return true;
}

void InputFile::PutBack(std::vector<ffmpeg::UniquePacket> packets) {
  mPacketsRead -= static_cast<int64_t>(packets.size());
  mPutBack.insert(mPutBack.begin(), std::make_move_iterator(packets.begin()),
                  std::make_move_iterator(packets.end()));
}

int InputFile::SeekBackward(int stream, int64_t position) {
  ++mSeeks;
  mPutBack.clear();
  return av_seek_frame(mContext.get(), stream, position, AVSEEK_FLAG_BACKWARD);
}

int InputFile::SeekToStart(int64_t earliest) {
  ++mSeeks;
  mPutBack.clear();
  const int result = avformat_seek_file(mContext.get(), -1, earliest, 0, 0,
                                        AVSEEK_FLAG_BACKWARD | AVSEEK_FLAG_ANY);
  if (result >= 0) return result;
  // A stream without stamps has no times to seek to, and looking for them has read it to its end.
  return av_seek_frame(mContext.get(), -1, 0, AVSEEK_FLAG_BYTE);
}

}  // namespace codec
