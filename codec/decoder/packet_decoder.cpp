// SPDX-License-Identifier: MIT
#include "codec/decoder/packet_decoder.h"

#include <algorithm>
#include <utility>

#include "base/log.h"
#include "codec/decoder/decoder_tag.h"
#include "codec/decoder/ffmpeg_decoder.h"

namespace codec {
namespace {

void LogPacketError(AVMediaType type, int result) {
  LogDecodeError(type, result);
  log_warn(kDecoderTag, "ret=%d got_frame:%d", result, 0);
}

}  // namespace

PacketDecoder::PacketDecoder(DecodeSession* session, PacketFeed* feed)
    : mSession(session), mFeed(feed), mFrame(av_frame_alloc()), mSpare(av_frame_alloc()) {}

int PacketDecoder::Decode(uint8_t* buffer, DecodedFrame* out) {
  const auto look = [this](const AVPacket& packet) { return NoteTime(packet); };
  for (;;) {
    ffmpeg::UniquePacket sound;
    while (mFeed->TakeSound(&sound)) {
      bool delivered = false;
      if (sound != nullptr) DecodeSound(sound.get(), buffer, out, &delivered);
      if (delivered) return 0;
    }
    const int result = mFeed->ReceivePicture(mFrame.get());
    if (result >= 0) {
      if (DeliverPicture(buffer, out)) return 0;
    } else if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) {
      const bool isAnswered = !mFeed->WantsPacket();
      if (isAnswered) NoteAnswered();
      if (!isAnswered && mFeed->HasEnded()) break;
      if (!isAnswered) mFeed->Read(look);
    } else {
      LogPacketError(AVMEDIA_TYPE_VIDEO, result);
    }
  }
  if (DrainSound(buffer, out)) return 0;
  log_debug(kDecoderTag, "Demuxing over.");
  return -1;
}

void PacketDecoder::Flush() {
  mStamps.clear();
  mLastPlace = -1;
}

// A packet without bytes is passed over: to a decoder it would mean the end of its stream.
bool PacketDecoder::NoteTime(const AVPacket& packet) {
  const StreamDecoder* const video = mSession->video.get();
  if (video == nullptr || !video->Owns(&packet)) {
    const StreamDecoder* const audio = mSession->audio.get();
    if (audio == nullptr || !audio->Owns(&packet)) mAudioTicks = PacketTimestamp(&packet);
    return packet.size > 0;
  }
  mClock.Count(&packet);
  mStamps.push_back({mFeed->Pictures()->Sent(), mClock.Choose(&packet)});
  if (packet.size > 0) mClock.Count(&packet);
  return packet.size > 0;
}

// All pictures of a packet have been taken.
void PacketDecoder::NoteAnswered() {
  const int64_t place = mFeed->Pictures()->Answered() - 1;
  if (place != mLastPlace) ++mDelayedFrames;
}

// At the end of the input only the first stream of the file is drained. If the file starts with its
// sound, the delayed pictures stay in the decoder. This is deliberate; ReceiveFrame gives every
// picture.
bool PacketDecoder::DeliverPicture(uint8_t* buffer, DecodedFrame* out) {
  const ffmpeg::FrameGuard guard(mFrame.get());
  const PictureMemo& memo = *mFeed->Pictures();
  const int64_t place = memo.Answered();
  const bool isDrained = memo.IsAtEnd();
  const bool isFirst = std::exchange(mLastPlace, place) != place;
  if (isDrained ? mSession->VideoIndex() != 0 : !isFirst) return false;
  for (; !mStamps.empty() && mStamps.front().place <= place; mStamps.pop_front()) {
    mVideoTicks = mStamps.front().ticks;
  }
  out->type = kVideoFrame;
  out->pts = mSession->times.OfVideoPacket(mVideoTicks);
  const int size = buffer == nullptr ? 0 : mSession->pictures.Copy(mFrame.get(), buffer);
  out->size = static_cast<uint32_t>(size);
  return buffer == nullptr || size > 0;
}

bool PacketDecoder::DrainSound(uint8_t* buffer, DecodedFrame* out) {
  const StreamDecoder* const audio = mSession->audio.get();
  const ffmpeg::UniquePacket nothing(av_packet_alloc());
  if (audio == nullptr || audio->Index() != 0 || nothing == nullptr) return false;
  bool delivered = false;
  while (!delivered && DecodeSound(nothing.get(), buffer, out, &delivered)) {
  }
  return delivered;
}

// A packet without bytes drains the next frame. False if there was no frame.
bool PacketDecoder::DecodeSound(AVPacket* packet, uint8_t* buffer, DecodedFrame* out,
                                bool* delivered) {
  if (packet->size > 0) mAudioTicks = PacketTimestamp(packet);
  const ffmpeg::FrameGuard guard(mFrame.get());
  const ffmpeg::FrameGuard spareGuard(mSpare.get());
  int gotFrame = 0;
  const int result = mSession->audio->DecodeOne(packet, mFrame.get(), mSpare.get(), &gotFrame);
  if (result < 0) LogPacketError(AVMEDIA_TYPE_AUDIO, result);
  if (result < 0 || gotFrame == 0) return false;
  out->type = kAudioFrame;
  out->pts = mSession->times.OfAudioPacket(mAudioTicks, mFrame.get());
  const int size = buffer == nullptr ? 0 : mSession->sound.Deliver(mFrame.get(), buffer);
  out->size = static_cast<uint32_t>(std::max(0, size));
  *delivered = size >= 0;
  return true;
}

}  // namespace codec
