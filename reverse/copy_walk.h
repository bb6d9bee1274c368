// SPDX-License-Identifier: MIT
// The backward walk that writes the packets of pictures as they are.
#pragma once

#include <cstdint>
#include <memory>

#include "codec/decoder/picture_packets.h"
#include "codec/writer/packet_writer.h"
#include "reverse/backward_walk.h"
#include "reverse/mirrored_sound.h"

namespace codec {

// A range of a clip whose pictures are copied.
struct CopyRange {
  double start = 0;  // seconds
  double end = 0;    // the same
  double zero = 0;   // of the range, in the file's stamps, in seconds
  // The picture that is written last is shown up to the end of the output, instead of as long as in
  // the source.
  bool lastsToEnd = false;
};

// A step reads a piece of the packets and writes its pictures, newest first. Each is stamped with
// the place at which its successor stood in the source, and the first one with 0. Sound is written
// some way ahead.
//
// Packets and writer belong to the caller. The writer has been configured.
class CopyWalk : public BackwardWalk {
 public:
  CopyWalk(PicturePackets* packets, PacketWriter* writer, const CopyRange& range,
           std::unique_ptr<MirroredSound> sound);

  int Step() override;
  float Progress() const override { return mProgress; }
  bool IsDone() const override { return mIsDone; }
  bool FoundNoPicture() const override {
    return mRange.start < mRange.end && mIsDone && mPictures == 0;
  }
  bool PassedPicture() const override { return mPackets->PassedPicture(); }
  bool SawLaterPicture() const override { return mPackets->SawLaterPicture(); }
  bool IsTorn() const override { return mPackets->IsTorn(); }
  bool HasSound() const override { return mSound != nullptr && mSound->Written() > 0; }
  JobAccount Account() const override;

 private:
  void Take(ffmpeg::UniquePacket packet);
  void WriteKept(int64_t begin);
  void Finish();
  // Times of the file, in ticks of the writer.
  int64_t TimeOf(const AVPacket* packet) const;
  int64_t Ticks(double seconds) const;
  // Of the range, in seconds.
  double Seconds(int64_t ticks) const;

  PicturePackets* const mPackets;
  PacketWriter* const mWriter;
  const CopyRange mRange;
  const std::unique_ptr<MirroredSound> mSound;  // null without sound
  const AVRational mBase;                       // of the ticks
  const int64_t mEnd;                           // ticks
  int64_t mSuccessor;          // ticks, of the picture written last; at first the end
  ffmpeg::UniquePacket mKept;  // the picture before it, not written yet
  int64_t mKeptTime = 0;       // ticks
  int64_t mPictures = 0;
  LostPictures mLost;
  float mProgress = 0;
  bool mIsDone = false;
};

// The first tick at or after this time of the file's stamps, in seconds.
int64_t TickFrom(double seconds, AVRational base);

}  // namespace codec
