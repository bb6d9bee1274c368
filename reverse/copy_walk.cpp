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
      mBase(writer->StampBase()),
      mEnd(Ticks(range.end)),
      mSuccessor(mEnd) {
  const AVRational base = packets->Stream()->time_base;
  mPackets->SetRange(TickFrom(range.zero + range.start, base),
                     TickFrom(range.zero + range.end, base));
}

int64_t CopyWalk::TimeOf(const AVPacket* packet) const {
  return av_rescale_q(StampOf(packet), mPackets->Stream()->time_base, mBase);
}

// As the pictures of the range are chosen, so that each of them begins before its end.
int64_t CopyWalk::Ticks(double seconds) const { return TickFrom(mRange.zero + seconds, mBase); }

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
  const int64_t time = TimeOf(packet.get());
  // A part of the packet is missing, as at the end of a file that was cut off.
  if ((packet->flags & AV_PKT_FLAG_CORRUPT) != 0) {
    ++mLost.undecoded;
    mLost.first = std::min(mLost.first, Seconds(time));
    return;
  }
  // No player shows a picture whose successor has the same time.
  if (time >= (mKept == nullptr ? mSuccessor : mKeptTime)) {
    ++mLost.timeless;
    mLost.first = std::min(mLost.first, Seconds(time));
    return;
  }
  if (mSound != nullptr) mSound->WriteDownTo(Seconds(time));
  if (mKept != nullptr) WriteKept(mKeptTime);
  mKept = std::move(packet);
  mKeptTime = time;
}

// The picture is shown from `begin` of the source up to its successor.
void CopyWalk::WriteKept(int64_t begin) {
  mWriter->WritePacket(mKept.get(), mEnd - mSuccessor, mSuccessor - begin);
  mSuccessor = mKeptTime;
  ++mPictures;
}

void CopyWalk::Finish() {
  if (mKept != nullptr) {
    WriteKept(mRange.lastsToEnd ? std::min(mKeptTime, Ticks(mRange.start)) : mKeptTime);
    mKept.reset();
  }
  if (mSound != nullptr) mSound->Finish();
}

JobAccount CopyWalk::Account() const {
  JobAccount account;
  account.pictures = mPictures;
  account.lost = mLost;
  if (mSound != nullptr) account.sound = mSound->Account();
  return account;
}

}  // namespace codec
