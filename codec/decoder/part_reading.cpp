// SPDX-License-Identifier: MIT
#include "codec/decoder/part_reading.h"

#include "codec/decoder/packet_clock.h"

namespace codec {
namespace {

constexpr AVRational kMicroseconds = {1, AV_TIME_BASE};

}  // namespace

int PartReading::SeekBackward(AVFormatContext* file, int stream, int64_t time) {
  int64_t wanted = time;
  if (stream < 0) {
    stream = av_find_default_stream_index(file);
  } else {
    wanted = av_rescale_q(time, file->streams[stream]->time_base, kMicroseconds);
  }
  const PartLanding* const landing = mParts->LandingFor(stream, wanted);
  return landing == nullptr ? SeekToStart(file) : Land(file, stream, *landing);
}

int PartReading::SeekToStart(AVFormatContext* file) { return Land(file, -1, {}); }

int PartReading::Land(AVFormatContext* file, int stream, const PartLanding& landing) {
  const int result = av_seek_frame(file, -1, landing.from, AVSEEK_FLAG_BYTE);
  if (result < 0) return result;
  mPositions.clear();
  mLanded = landing.from;
  mAwaited = stream;
  mTarget = landing.position;
  return result;
}

bool PartReading::Take(const AVFormatContext* file, AVPacket* packet) {
  const auto index = static_cast<size_t>(packet->stream_index);
  if (mPositions.size() <= index) mPositions.resize(index + 1, mLanded);
  int64_t& position = mPositions[index];
  // Of the packets that begin in one block of the file only the first has a position.
  if (packet->pos >= 0) position = packet->pos;
  if (packet->stream_index == mAwaited) {
    if (position < mTarget) return false;
    mAwaited = -1;
  }
  const AVStream* const from = file->streams[index];
  const AVRational base = from->time_base;
  const int64_t shown = StampOf(packet);
  const bool isPicture = from->codecpar->codec_type == AVMEDIA_TYPE_VIDEO;
  const bool isLeftOut =
      isPicture && shown != AV_NOPTS_VALUE &&
      mParts->LacksReferences(position, av_rescale_q(shown, base, kMicroseconds));
  Shift(position, base, packet);
  if (isLeftOut) mLeftOut.push_back(StampOf(packet));
  return !isLeftOut;
}

void PartReading::Shift(int64_t position, AVRational base, AVPacket* packet) const {
  for (int64_t* const stamp : {&packet->pts, &packet->dts}) {
    if (*stamp == AV_NOPTS_VALUE) continue;
    const int64_t time = av_rescale_q(*stamp, base, kMicroseconds);
    const int64_t shift = av_rescale_q(mParts->Shift(position, time), kMicroseconds, base);
    if (__builtin_add_overflow(*stamp, shift, stamp)) *stamp = AV_NOPTS_VALUE;
  }
}

}  // namespace codec
