// SPDX-License-Identifier: MIT
// The pictures that a backward walk has met and has not delivered.
#pragma once

#include <cstdint>
#include <map>

#include "codec/decoder/lost_pictures.h"
#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec {

// A walk decodes packets several times, and a packet that fails once may be decoded well from an
// earlier landing. So pictures are known by their stamps, and a picture is lost only if all of its
// neighbours have been delivered and it has not come. Pictures without a stamp are left out: nobody
// can tell them apart.
class PictureLosses {
 public:
  enum class Loss { kUndecoded, kDropped };

  // A seek begins to read at another packet.
  void Restart();
  // To be called for each packet of the video. Decoders drop the pictures that lean on packets
  // before the first one, and report no error. Such packets come before the first key packet, or
  // follow it and are shown before it. They count as lost until their pictures come.
  //
  // `stamp` in ticks of the stream. `isKey`: decoding can begin at the packet; false will do if
  // AwaitsKey is false.
  void Expect(int64_t stamp, bool isKey);
  bool AwaitsKey() const { return mFirstKey == kNoKey; }

  // The picture of this stamp, in ticks of the stream, could not be delivered.
  void Lose(int64_t stamp, Loss loss);
  // The picture of this stamp came after all.
  void Give(int64_t stamp);

  // The pictures that were lost at or after `from` and before `to`, in seconds from `zero`, which
  // is in seconds of the file's stamps. `base`: seconds of a tick. Everything at or after `from` is
  // forgotten.
  LostPictures Take(double from, double to, AVRational base, double zero);

 private:
  static constexpr int64_t kNoKey = INT64_MIN;

  std::map<int64_t, Loss> mLost;  // by stamp
  int64_t mFirstKey = kNoKey;     // stamp of the first key packet
  bool mIsSettled = false;        // nothing leans on packets before the first one any more
};

}  // namespace codec
