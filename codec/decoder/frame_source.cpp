#include "codec/decoder/frame_source.h"

namespace codec {

FrameSource::Next FrameSource::NextFrame(AVFrame* frame) {
  bool ended = false;
  for (;;) {
    const Step video = Receive(mSession->video.get(), frame, ended);
    if (video == Step::kFrame) return Next::kVideo;
    const Step audio = Receive(mSession->audio.get(), frame, ended);
    if (audio == Step::kFrame) return Next::kAudio;
    if (video == Step::kDone && audio == Step::kDone) return Next::kEnd;
    ended = !Feed();
  }
}

FrameSource::Step FrameSource::Receive(StreamDecoder* decoder, AVFrame* frame, bool ended) {
  if (decoder == nullptr) return Step::kDone;
  const int result = decoder->Receive(frame);
  if (result >= 0) return Step::kFrame;
  if (result == AVERROR_EOF) return Step::kDone;
  // One damaged packet is not the end of the stream; but a decoder that still has nothing to give
  // once it has been told to drain never will.
  if (result != AVERROR(EAGAIN)) LogDecodeError(decoder->Context()->codec_type, result);
  return ended ? Step::kDone : Step::kHungry;
}

// Hands the next packet to its decoder. False at the end of input, with both decoders draining;
// telling them again is harmless.
bool FrameSource::Feed() {
  AVPacket* const packet = mSession->packet.get();
  StreamDecoder* const video = mSession->video.get();
  StreamDecoder* const audio = mSession->audio.get();
  if (!mSession->input.Read(packet)) {
    if (video != nullptr) video->Send(nullptr);
    if (audio != nullptr) audio->Send(nullptr);
    return false;
  }
  const ffmpeg::PacketGuard guard(packet);
  if (video != nullptr && video->Owns(packet)) {
    video->Send(packet);
  } else if (audio != nullptr && audio->Owns(packet)) {
    audio->Send(packet);
  }
  return true;
}

int FrameSource::NextPicture(AVFrame* frame) {
  bool ended = false;
  for (;;) {
    const int result = mSession->video->Receive(frame);
    if (result >= 0 || result == AVERROR_EOF) return result;
    // To give up at a damaged picture would leave the rest of its group to be read as one step.
    if (result != AVERROR(EAGAIN)) LogDecodeError(AVMEDIA_TYPE_VIDEO, result);
    if (ended) return AVERROR_EOF;
    ended = !FeedPicture();
  }
}

bool FrameSource::FeedPicture() {
  AVPacket* const packet = mSession->packet.get();
  StreamDecoder* const video = mSession->video.get();
  while (mSession->input.Read(packet)) {
    const ffmpeg::PacketGuard guard(packet);
    if (!video->Owns(packet)) continue;
    video->Send(packet);
    return true;
  }
  video->Send(nullptr);
  return false;
}

}  // namespace codec
