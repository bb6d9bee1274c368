// SPDX-License-Identifier: MIT
// The compressed pictures of a clip, for a caller that walks backward through it.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>

#include "codec/decoder/packet_identity.h"
#include "codec/decoder/scan_input.h"
#include "codec/ffmpeg/owned.h"

namespace codec {

// Reads piece after piece from the end of a range to its start, and holds one of them in memory. A
// piece begins at a landing of the demuxer and goes on to the first packet of the later piece, so
// that all pieces together are the stream. How long a piece is depends on its bytes. What players
// do not show is left out: pictures outside of the file's edit list, and packets without bytes.
//
// Times are in ticks of the stream. For one thread at a time.
class PicturePackets {
 public:
  // Packets in the order of the file.
  using Piece = std::deque<ffmpeg::UniquePacket>;

  // Reads the best video stream of a local file that has been opened. `parts` as for
  // InputFile::Join. 0, or -1 if there is no file, no video or no memory.
  int Open(const std::string& path, ffmpeg::UniqueInput file,
           const std::shared_ptr<const JoinedParts>& parts);
  // Owned here.
  const AVStream* Stream() const { return mInput.video; }

  // From now on the pictures from `from` on and before `to` count, and reading begins at the end.
  void SetRange(int64_t from, int64_t to);
  // The first picture of the range that does not stand alone, or has no time; null if there is
  // none. Reads none of them if the codec has no others. Reading begins anew.
  ffmpeg::UniquePacket FindDependent();
  // A picture from the start of the range, or just before; null if there is none. Reading begins
  // anew.
  ffmpeg::UniquePacket Sample();

  // The next older piece; empty if the range is done.
  Piece ReadBack();

  // Whether pictures were met that lie before the start of the range, and any at its end or later.
  bool PassedPicture() const { return mPassed; }
  bool SawLaterPicture() const { return mSawLater; }
  // Whether some pictures may have been missed, because times go back in the file, the file
  // cannot be read further, or its index has holes.
  bool IsTorn() const { return mIsTorn; }
  // The first failure of the host, as FFmpeg's negative number; 0 if there was none.
  int Failure() const;

  // Bytes of a piece, about, and at most unless a single picture is larger.
  static constexpr int64_t kPieceBytes = int64_t{16} << 20;
  static constexpr int64_t kMostBytes = 2 * kPieceBytes;

 private:
  ffmpeg::UniquePacket ReadPicture();
  // Moves to a picture at or before this time. True if that is the first one of the stream.
  bool Land(int64_t time);
  Piece ReadPiece();
  void ChooseSpan(const Piece& piece, int64_t bytes);

  ScanInput mInput;
  FirstFailure mFailure;
  int64_t mFrom = 0;
  int64_t mTo = 0;

  int64_t mTop = 0;      // pictures at or after this time have been read
  int64_t mSpan = 0;     // of the next piece
  int64_t mEarlier = 0;  // by which landings have to be aimed
  bool mIsDone = false;
  bool mIsTorn = false;
  bool mPassed = false;                   // one before the range
  bool mSawLater = false;                 // one after it
  std::optional<PacketIdentity> mBorder;  // first packet of the later piece
  PacketIdentity mFirst;                  // packet of the stream
};

}  // namespace codec
