// SPDX-License-Identifier: MIT
#include "codec/decoder/packet_feed.h"

#include <utility>

#include "codec/decoder/fresh_start.h"

namespace codec {

void PacketFeed::Open(int64_t budget) {
  StreamDecoder* const video = mSession->video.get();
  if (video == nullptr) return;
  const AVCodecParameters* const stream = video->Stream()->codecpar;
  mMemo = std::make_unique<PictureMemo>(
      video, &mSession->input.Failure(), budget,
      [stream](const AVPacket& packet) { return StartsAfresh(*stream, packet); });
}

void PacketFeed::Read(const Look& look) {
  if (mEnded) return;
  AVPacket* const packet = mPacket.get();
  const bool isRead = mSession->input.Read(packet);
  for (const int64_t stamp : mSession->input.TakeLeftOut()) {
    mSession->losses.Lose(stamp, PictureLosses::Loss::kLeftOut);
  }
  if (mSession->input.TakePassedHole()) NoteHoles();
  if (!isRead) {
    mEnded = true;
    QueueSound(nullptr);
    if (mMemo != nullptr && !mSession->video->IsResting()) mMemo->Send(nullptr);
    return;
  }
  const ffmpeg::PacketGuard guard(packet);
  if (look != nullptr && !look(*packet)) return;
  if (mMemo != nullptr && mSession->video->Owns(packet)) {
    SendPicture();
  } else if (mSession->audio != nullptr && mSession->audio->Owns(packet)) {
    QueueSound(packet);
  }
}

// Nobody knows which hole it was. Those of other stretches do not count there.
void PacketFeed::NoteHoles() {
  if (mSession->video == nullptr) return;
  mSession->losses.Doubt();
  for (const int64_t stamp : mSession->input.Holes(mSession->video->Index())) {
    mSession->losses.Lose(stamp, PictureLosses::Loss::kLeftOut);
  }
}

void PacketFeed::SendPicture() {
  StreamDecoder* const video = mSession->video.get();
  if (video->IsResting()) return;
  mSession->missedStart.NoteRead(mPacket->pos);
  const bool awaited = video->IsAwaitingKey();
  // A packet that is passed over comes again from an earlier landing. Until then its stamp may be
  // one that the demuxer made up after the seek, and that no picture has.
  if (video->PassesOver(mPacket.get())) return;
  // Stamps of decoding are none of pictures.
  mSession->losses.Expect(mPacket->pts);
  if (awaited) mSession->times.RestartVideo(mPacket.get());
  mMemo->Send(mPacket.get());
}

void PacketFeed::QueueSound(AVPacket* packet) {
  if (mSession->audio == nullptr) return;
  ffmpeg::UniquePacket kept;
  if (packet != nullptr) {
    kept.reset(av_packet_alloc());
    if (kept == nullptr) return static_cast<void>(mSession->input.Failure().Note(AVERROR(ENOMEM)));
    av_packet_move_ref(kept.get(), packet);
  }
  mSound.push_back({std::move(kept), mMemo == nullptr ? 0 : mMemo->Sent()});
}

int PacketFeed::ReceivePicture(AVFrame* frame) {
  if (mMemo == nullptr || mSession->video->IsResting()) return AVERROR_EOF;
  return mMemo->Receive(frame);
}

bool PacketFeed::WantsPacket() const {
  return mMemo == nullptr || mSession->video->IsResting() || mMemo->WantsPacket();
}

bool PacketFeed::IsSoundDue() const {
  if (mSound.empty()) return false;
  if (mMemo == nullptr || mSession->video->IsResting()) return true;
  const Sound& next = mSound.front();
  return next.packet == nullptr ? mMemo->HasEnded() : next.place <= mMemo->Answered();
}

bool PacketFeed::TakeSound(ffmpeg::UniquePacket* packet) {
  if (!IsSoundDue()) return false;
  *packet = std::move(mSound.front().packet);
  mSound.pop_front();
  return true;
}

void PacketFeed::DropSound() {
  while (IsSoundDue()) mSound.pop_front();
}

void PacketFeed::Flush() {
  mSound.clear();
  mEnded = false;
  mSession->losses.Restart();
  if (mMemo != nullptr) mMemo->Flush();
  if (mSession->audio != nullptr) mSession->audio->Flush();
}

}  // namespace codec
