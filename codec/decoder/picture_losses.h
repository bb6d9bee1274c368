// SPDX-License-Identifier: MIT
// The pictures that a backward walk has met and has not delivered.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "codec/decoder/lost_pictures.h"
#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec {

// A walk decodes packets several times, and a packet that fails once may be decoded well from an
// earlier landing. So pictures are known by their stamps, and a picture is lost only if all of its
// neighbours have been delivered and it has not come. Pictures without a stamp are left out: nobody
// can tell them apart.
class PictureLosses {
 public:
  // Pictures that were left out are not given to the decoder, so none of them comes after all. A
  // decoder that makes stamps up may give another picture with such a stamp.
  enum class Loss { kUndecoded, kDropped, kLeftOut };

  // A seek begins to read at another packet.
  void Restart();
  // A packet of the video was read that shows a picture of this stamp, in ticks of the stream.
  // Decoders drop the pictures that lean on packets before the first one, and report no error:
  // those that are shown before the first picture that comes. So these count as lost until they
  // come.
  void Expect(int64_t stamp);

  // The picture of this stamp, in ticks of the stream, could not be delivered.
  void Lose(int64_t stamp, Loss loss);
  // The picture of this stamp came after all, unless it was left out.
  void Give(int64_t stamp);

  // A picture came out damaged, or the file lacks a packet: others may be missing that nobody has
  // told. All stretches that are taken from now on say so.
  void Doubt() { mIsDoubtful = true; }

  // The pictures that were lost at or after `from` and before `to`, in seconds from `zero`, which
  // is in seconds of the file's stamps. `base`: seconds of a tick. Everything at or after `from` is
  // forgotten.
  LostPictures Take(double from, double to, AVRational base, double zero);

 private:
  void NoteFirst(int64_t stamp);

  std::map<int64_t, Loss> mLost;  // by stamp
  bool mIsDoubtful = false;
  // Since Restart.
  std::vector<int64_t> mExpected;      // before the first picture came
  std::optional<int64_t> mFirstGiven;  // stamp of the first picture
};

}  // namespace codec
