// Finds the times of the first picture and the first sound by decoding them.
#pragma once

#include <cstdint>
#include <optional>

#include "codec/decoder/decode_session.h"

namespace codec {

class TimeProbe {
 public:
  explicit TimeProbe(DecodeSession* session) : mSession(session) {}

  // Moves to the start, decodes until each stream has given a frame or the input ends, and sets the
  // session's first times. A time that cannot be found stays as it was. Leaves the input somewhere
  // behind the start.
  void Run();

  // Both halves of Run. What the decoder of the sound gives later may hang on how many packets it
  // has seen, so that either is to be called once. The first one remembers the first packet of the
  // video; false where there is none.
  bool RunForSound();
  void RunForPicture();
  // Whether the video goes on with that packet, from the input's present place. Then decoding from
  // here gives the first picture, too.
  bool IsBeforeFirstPicture() const;

 private:
  // Tells packets of the video apart.
  struct Identity {
    int64_t position = -1;
    int64_t pts = AV_NOPTS_VALUE;
    int64_t dts = AV_NOPTS_VALUE;
    int size = -1;
    friend bool operator==(const Identity&, const Identity&) = default;
  };
  static Identity Of(const AVPacket* packet) {
    return {packet->pos, packet->pts, packet->dts, packet->size};
  }

  void Begin();
  // A stream is settled when it has given its frame, can give none any more, or is not there.
  bool TryVideo();
  bool TryAudio();
  std::optional<int64_t> Try(StreamDecoder* decoder, bool* settled);
  void Feed();

  DecodeSession* mSession;
  bool mVideoSettled = false;
  bool mAudioSettled = false;
  bool mEnded = false;
  std::optional<Identity> mFirstPacket;
};

}  // namespace codec
