// SPDX-License-Identifier: MIT
#include "codec/decoder/picture_packets.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "codec/decoder/fresh_start.h"
#include "codec/decoder/packet_clock.h"

namespace codec {
namespace {

int64_t TicksOf(const AVStream* stream, double seconds) {
  return std::max<int64_t>(1, static_cast<int64_t>(seconds / av_q2d(stream->time_base)));
}

}  // namespace

int PicturePackets::Open(const std::string& path, ffmpeg::UniqueInput file,
                         const std::shared_ptr<const JoinedParts>& parts) {
  constexpr int kNoSound = -1;
  if (mInput.Adopt(path, std::move(file), kNoSound, parts) != 0) return -1;
  if (mInput.video == nullptr) return -1;
  mInput.file.SeekToStart(std::numeric_limits<int64_t>::min());
  const ffmpeg::UniquePacket first = ReadPicture();
  mFirst = PacketIdentity::Of(first.get());
  return 0;
}

void PicturePackets::SetRange(int64_t from, int64_t to) {
  mFrom = from;
  mTo = mTop = to;
  mSpan = TicksOf(mInput.video, 1);
  mEarlier = 0;
  mIsDone = mIsTorn = false;
  mPassed = mSawLater = false;
  mBorder.reset();
}

// Whatever else a file holds, packets of other streams are not read. Null at the end.
ffmpeg::UniquePacket PicturePackets::ReadPicture() {
  ffmpeg::UniquePacket packet(av_packet_alloc());
  if (packet == nullptr) {
    mFailure.Keep(AVERROR(ENOMEM));
    return nullptr;
  }
  while (mInput.file.Read(packet.get())) {
    const bool isShown = packet->size > 0 && (packet->flags & AV_PKT_FLAG_DISCARD) == 0;
    if (packet->stream_index == mInput.video->index && isShown) return packet;
    av_packet_unref(packet.get());
  }
  return nullptr;
}

bool PicturePackets::Land(int64_t time) {
  // Without a first time no landing would ever be early enough.
  const bool isEarly = mFirst.Stamp() == AV_NOPTS_VALUE || time <= mFirst.Stamp();
  if (!isEarly && mInput.file.SeekBackward(mInput.video->index, time) >= 0) return false;
  mInput.file.SeekToStart(std::numeric_limits<int64_t>::min());
  return true;
}

ffmpeg::UniquePacket PicturePackets::Sample() {
  Land(mFrom);
  return ReadPicture();
}

ffmpeg::UniquePacket PicturePackets::FindDependent() {
  Land(mFrom);
  while (ffmpeg::UniquePacket packet = ReadPicture()) {
    const int64_t stamp = StampOf(packet.get());
    if (stamp == AV_NOPTS_VALUE) return packet;
    if (stamp < mFrom) continue;
    if (stamp >= mTo || IsIntraOnly(mInput.video->codecpar->codec_id)) return nullptr;
    if (!StandsAlone(*mInput.video->codecpar, *packet)) return packet;
  }
  return nullptr;
}

PicturePackets::Piece PicturePackets::ReadBack() {
  Piece piece;
  while (piece.empty() && !mIsDone && Failure() == 0) {
    mIsDone = Land(std::max(mTop - mSpan, mFrom) - mEarlier);
    piece = ReadPiece();
  }
  return piece;
}

// 1. Keep every picture from the landing to the later piece; the older ones go if there are too
//    many.
// 2. The range is done if the landing was at its start, or at that of the file.
// 3. If nothing was new, the landing was too late: the next one is earlier.
PicturePackets::Piece PicturePackets::ReadPiece() {
  Piece piece;
  int64_t bytes = 0;
  bool isCut = false;
  bool isFirst = true;
  ffmpeg::UniquePacket packet = ReadPicture();
  for (; packet != nullptr; packet = ReadPicture()) {
    const PacketIdentity identity = PacketIdentity::Of(packet.get());
    const int64_t stamp = identity.Stamp();
    const bool isAtStart = stamp != AV_NOPTS_VALUE && stamp <= mFrom;
    if (isFirst) mIsDone = mIsDone || isAtStart || identity.IsSamePacket(mFirst);
    isFirst = false;
    if (stamp == AV_NOPTS_VALUE) {
      mIsTorn = true;
      continue;
    }
    mPassed = mPassed || stamp < mFrom;
    mSawLater = mSawLater || stamp >= mTo;
    if (stamp >= mTop) break;
    if (stamp < mFrom) continue;
    bytes += packet->size;
    piece.push_back(std::move(packet));
    for (; bytes > kMostBytes && piece.size() > 1; isCut = true) {
      bytes -= piece.front()->size;
      piece.pop_front();
    }
  }
  const bool isMet =
      !mBorder || (packet != nullptr && PacketIdentity::Of(packet.get()).IsSamePacket(*mBorder));
  mIsTorn = mIsTorn || !isMet || mInput.file.TakePassedHole();
  if (isCut) mIsDone = false;
  if (piece.empty()) {
    mEarlier = std::max(mSpan, mEarlier * 2);
    return piece;
  }
  mBorder = PacketIdentity::Of(piece.front().get());
  ChooseSpan(piece, bytes);
  mTop = mBorder->Stamp();
  return piece;
}

void PicturePackets::ChooseSpan(const Piece& piece, int64_t bytes) {
  constexpr double kLongest = 10;
  const int64_t span = mTop - StampOf(piece.front().get());
  const double fitting = static_cast<double>(span) * kPieceBytes / static_cast<double>(bytes);
  const int64_t longest = TicksOf(mInput.video, kLongest);
  mSpan = fitting < static_cast<double>(longest)
              ? std::max<int64_t>(1, static_cast<int64_t>(fitting))
              : longest;
}

int PicturePackets::Failure() const {
  return mFailure.Error() != 0 ? mFailure.Error() : mInput.file.Failure().Error();
}

}  // namespace codec
