// SPDX-License-Identifier: MIT
#include "reverse/copy_walk.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "codec/decoder/packet_clock.h"

namespace codec {

int64_t TickFrom(double seconds, AVRational base) {
  constexpr double kMicrosecond = 1e-6;
  return static_cast<int64_t>(std::ceil((seconds - kMicrosecond) / av_q2d(base)));
}

CopyWalk::CopyWalk(PicturePackets* packets, PacketWriter* writer, const CopyRange& range,
                   std::unique_ptr<MirroredSound> sound)
    : mPackets(packets),
      mWriter(writer),
      mRange(range),
      mSound(std::move(sound)),
      mBase(packets->Stream()->time_base),
      mEnd(Ticks(range.end)),
      mSuccessor(mEnd) {
  mPackets->SetRange(TickFrom(range.zero + range.start, mBase),
                     TickFrom(range.zero + range.end, mBase));
}

int64_t CopyWalk::Ticks(double seconds) const {
  return std::llround((mRange.zero + seconds) / av_q2d(mBase));
}

double CopyWalk::Seconds(int64_t ticks) const { return codec::Seconds(ticks, mBase) - mRange.zero; }

int CopyWalk::Step() {
  if (mIsDone || !(mRange.start < mRange.end)) return -1;
  PicturePackets::Piece piece = mPackets->ReadBack();
  mIsDone = piece.empty();
  for (; !piece.empty(); piece.pop_back()) Take(std::move(piece.back()));
  if (mIsDone) Finish();
  const double done = mIsDone ? mRange.end : mRange.end - Seconds(mSuccessor);
  constexpr double kAll = 100;
  mProgress = static_cast<float>(std::min(done / (mRange.end - mRange.start), 1.0) * kAll);
  return 0;
}

// The picture before is written now: it is not the last one.
void CopyWalk::Take(ffmpeg::UniquePacket packet) {
  const int64_t time = StampOf(packet.get());
  // No player shows a picture whose successor has the same time.
  if (time >= (mKept == nullptr ? mSuccessor : StampOf(mKept.get()))) {
    ++mTimeless.timeless;
    mTimeless.first = std::min(mTimeless.first, Seconds(time));
    return;
  }
  if (mSound != nullptr) mSound->WriteDownTo(Seconds(time));
  if (mKept != nullptr) WriteKept(StampOf(mKept.get()));
  mKept = std::move(packet);
}

// The picture is shown from `begin` of the source up to its successor.
void CopyWalk::WriteKept(int64_t begin) {
  const int64_t time = StampOf(mKept.get());
  mWriter->WritePacket(mKept.get(), mEnd - mSuccessor, mSuccessor - begin);
  mSuccessor = time;
  ++mPictures;
}

void CopyWalk::Finish() {
  if (mKept != nullptr) {
    const int64_t time = StampOf(mKept.get());
    WriteKept(mRange.lastsToEnd ? std::min(time, Ticks(mRange.start)) : time);
    mKept.reset();
  }
  if (mSound != nullptr) mSound->Finish();
}

JobAccount CopyWalk::Account() const {
  JobAccount account;
  account.pictures = mPictures;
  account.lost = mTimeless;
  if (mSound != nullptr) account.sound = mSound->Account();
  return account;
}

}  // namespace codec
