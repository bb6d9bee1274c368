// SPDX-License-Identifier: MIT
#include "codec/decoder/frame_source.h"

namespace codec {

void FrameSource::Flush() {
  mVideoDelivered = false;
  mAudioDelivered = false;
  av_frame_unref(mHeld.get());
  mFeed->Flush();
}

void FrameSource::BeginWalk(int64_t wantedFrom) { mFeed->Pictures()->BeginWalk(wantedFrom); }

// The sound before the picture that the walk has met is left out.
void FrameSource::EndWalk() {
  mFeed->DropSound();
  mFeed->Pictures()->EndWalk();
}

FrameSource::Next FrameSource::NextFrame(AVFrame* frame) {
  if (mHeld->buf[0] != nullptr) {
    av_frame_move_ref(frame, mHeld.get());
    NoteDelivered(Next::kVideo);
    return Next::kVideo;
  }
  for (;;) {
    // The sound that was read before the next packet of the video.
    const Step sound = Receive(AVMEDIA_TYPE_AUDIO, frame);
    if (sound == Step::kFrame) {
      NoteDelivered(Next::kAudio);
      return Next::kAudio;
    }
    if (SendSound()) continue;
    const Step video = Receive(AVMEDIA_TYPE_VIDEO, frame);
    if (video == Step::kFrame) {
      NoteDelivered(Next::kVideo);
      return Next::kVideo;
    }
    if (video == Step::kDone && SendSound()) continue;
    if (video == Step::kDone && sound == Step::kDone) return Next::kEnd;
    if (mFeed->WantsPacket()) mFeed->Read();
  }
}

int FrameSource::NextPicture(AVFrame* frame) {
  for (;;) {
    const Step step = Receive(AVMEDIA_TYPE_VIDEO, frame);
    if (step == Step::kFrame) return 0;
    if (step == Step::kDone) return AVERROR_EOF;
    mFeed->DropSound();
    if (mFeed->WantsPacket()) mFeed->Read();
  }
}

// False if it is not yet the turn of the next sound.
bool FrameSource::SendSound() {
  ffmpeg::UniquePacket packet;
  if (!mFeed->TakeSound(&packet)) return false;
  StreamDecoder* const audio = mSession->audio.get();
  if (packet != nullptr && mSoundFrom && !audio->IsFed()) {
    mSession->times.RestartAudio(packet.get());
  }
  audio->Send(packet.get());
  return true;
}

FrameSource::Step FrameSource::Receive(AVMediaType type, AVFrame* frame) {
  StreamDecoder* const audio = mSession->audio.get();
  const bool isVideo = type == AVMEDIA_TYPE_VIDEO;
  if (!isVideo && audio == nullptr) return Step::kDone;
  for (;;) {
    const int result = isVideo ? mFeed->ReceivePicture(frame) : audio->Receive(frame);
    if (result >= 0) {
      if (isVideo) NotePicture(*frame);
      return Step::kFrame;
    }
    if (result == AVERROR_EOF) return Step::kDone;
    if (result == AVERROR(EAGAIN)) return Step::kHungry;
    // One damaged packet is not the end of the stream.
    LogDecodeError(type, result);
    if (isVideo) NoteLoss();
  }
}

void FrameSource::NotePicture(const AVFrame& picture) {
  mSession->losses.Give(picture.best_effort_timestamp);
  const bool isDamaged =
      picture.decode_error_flags != 0 || (picture.flags & AV_FRAME_FLAG_CORRUPT) != 0;
  if (isDamaged) mSession->losses.Doubt();
}

void FrameSource::NoteLoss() {
  mSession->losses.Lose(mFeed->Pictures()->FailedStamp(), PictureLosses::Loss::kUndecoded);
}

void FrameSource::NoteDelivered(Next next) {
  if (mVideoDelivered && mAudioDelivered) return;
  if (next == Next::kVideo) mVideoDelivered = true;
  if (next == Next::kAudio || mSession->audio == nullptr) mAudioDelivered = true;
  PictureMemo* const memo = mFeed->Pictures();
  if (mVideoDelivered && mAudioDelivered && memo != nullptr) memo->Close();
}

}  // namespace codec
