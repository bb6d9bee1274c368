#include "codec/decoder/packet_decoder.h"

#include <algorithm>

#include "base/log.h"
#include "codec/decoder/decoder_tag.h"
#include "codec/decoder/ffmpeg_decoder.h"

namespace codec {

bool PacketDecoder::IsVideo(const AVPacket* packet) const {
  return mSession->video != nullptr && mSession->video->Owns(packet);
}

bool PacketDecoder::IsAudio(const AVPacket* packet) const {
  return mSession->audio != nullptr && mSession->audio->Owns(packet);
}

int PacketDecoder::Decode(uint8_t* buffer, DecodedFrame* out) {
  AVPacket* const packet = mSession->packet.get();
  while (mSession->input.Read(packet)) {
    const ffmpeg::PacketGuard guard(packet);
    NoteTime(packet);
    if (DecodeWhole(packet, buffer, out)) return 0;
  }
  if (DrainOne(buffer, out)) return 0;
  log_debug(kDecoderTag, "Demuxing over.");
  return -1;
}

void PacketDecoder::NoteTime(const AVPacket* packet) {
  if (!IsVideo(packet)) {
    mAudioTicks = PacketTimestamp(packet);
    return;
  }
  mClock.Count(packet);
  mVideoTicks = mClock.Choose(packet);
}

// Advances within the packet; unreferencing it does not look at its data pointer. A packet without
// bytes is passed over, because to a decoder it would mean the end of its stream.
bool PacketDecoder::DecodeWhole(AVPacket* packet, uint8_t* buffer, DecodedFrame* out) {
  bool delivered = false;
  while (packet->size > 0) {
    const Outcome outcome = DecodePacket(packet, buffer, out);
    delivered = outcome.delivered;
    if (outcome.consumed < 0) {
      log_warn(kDecoderTag, "ret=%d got_frame:%d", outcome.consumed, outcome.gotFrame ? 1 : 0);
    }
    if (outcome.consumed <= 0) break;
    packet->data += outcome.consumed;
    packet->size -= outcome.consumed;
  }
  return delivered;
}

// A failed read leaves a blank packet, whose stream is the first one, so that only the first stream
// is drained: of a file that starts with its sound the delayed pictures stay in the decoder.
// Deliberate; ReceiveFrame is there for whoever wants every picture.
bool PacketDecoder::DrainOne(uint8_t* buffer, DecodedFrame* out) {
  AVPacket* const packet = mSession->packet.get();
  const ffmpeg::PacketGuard guard(packet);
  packet->stream_index = 0;
  Outcome outcome;
  do {
    outcome = DecodePacket(packet, buffer, out);
  } while (outcome.gotFrame && !outcome.delivered);
  return outcome.delivered;
}

PacketDecoder::Outcome PacketDecoder::DecodePacket(AVPacket* packet, uint8_t* buffer,
                                                   DecodedFrame* out) {
  if (IsVideo(packet)) return DecodeVideo(packet, buffer, out);
  if (IsAudio(packet)) return DecodeAudio(packet, buffer, out);
  Outcome skipped;
  skipped.consumed = packet->size;
  return skipped;
}

PacketDecoder::Outcome PacketDecoder::DecodeVideo(AVPacket* packet, uint8_t* buffer,
                                                  DecodedFrame* out) {
  AVFrame* const frame = mSession->frame.get();
  const ffmpeg::FrameGuard guard(frame);
  const ffmpeg::FrameGuard spareGuard(mSession->spare.get());
  mClock.Count(packet);
  int gotFrame = 0;
  const int result = mSession->video->DecodeOne(packet, frame, mSession->spare.get(), &gotFrame);
  if (result < 0) {
    LogDecodeError(AVMEDIA_TYPE_VIDEO, result);
    return {result, gotFrame != 0, false};
  }
  if (gotFrame == 0) {
    ++mDelayedFrames;
    return {packet->size, false, false};
  }
  out->type = kVideoFrame;
  out->pts = mSession->times.OfVideoPacket(mVideoTicks);
  const int size = buffer == nullptr ? 0 : mSession->pictures.Copy(frame, buffer);
  out->size = static_cast<uint32_t>(size);
  return {packet->size, true, buffer == nullptr || size > 0};
}

PacketDecoder::Outcome PacketDecoder::DecodeAudio(AVPacket* packet, uint8_t* buffer,
                                                  DecodedFrame* out) {
  AVFrame* const frame = mSession->frame.get();
  const ffmpeg::FrameGuard guard(frame);
  const ffmpeg::FrameGuard spareGuard(mSession->spare.get());
  int gotFrame = 0;
  const int result = mSession->audio->DecodeOne(packet, frame, mSession->spare.get(), &gotFrame);
  if (result < 0) {
    LogDecodeError(AVMEDIA_TYPE_AUDIO, result);
    return {result, gotFrame != 0, false};
  }
  const int consumed = std::min(result, packet->size);
  if (gotFrame == 0) return {consumed, false, false};
  out->type = kAudioFrame;
  out->pts = mSession->times.OfAudioPacket(mAudioTicks, frame);
  const int size = buffer == nullptr ? 0 : mSession->sound.Deliver(frame, buffer);
  out->size = static_cast<uint32_t>(std::max(0, size));
  return {consumed, true, size >= 0};
}

}  // namespace codec
