// SPDX-License-Identifier: MIT
// Reads packets, and hands each to its decoder in its turn.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>

#include "codec/decoder/decode_session.h"
#include "codec/decoder/picture_memo.h"
#include "codec/ffmpeg/owned.h"

namespace codec {

// A video decoder with several threads answers some packets late. If sound were decoded as soon as
// it is read, the number of threads would change the order of frames. It would also change which
// sound a walk to a picture leaves out. So sound waits here until all pictures of the packets
// before it have been given.
class PacketFeed {
 public:
  // Looks at a packet that was read; false passes it over.
  using Look = std::function<bool(const AVPacket& packet)>;

  explicit PacketFeed(DecodeSession* session) : mSession(session), mPacket(av_packet_alloc()) {}

  // To be called once the session is open. `budget` as for PictureMemo.
  void Open(int64_t budget);

  // Reads a packet. A packet of the video goes to the memo, unless a key packet is awaited. Sound
  // is put into the queue. After the last packet both decoders are told of the end. Later calls do
  // nothing.
  void Read(const Look& look = nullptr);
  // Whether the last packet has been read.
  bool HasEnded() const { return mEnded; }

  bool IsUsable() const { return mPacket != nullptr; }
  // Null if there is no video.
  PictureMemo* Pictures() { return mMemo.get(); }
  // Takes the next picture: 0 or a negative error as for PictureDecoder. AVERROR_EOF also if there
  // is no video, or the video rests.
  int ReceivePicture(AVFrame* frame);
  // Whether no picture comes before the next packet is read.
  bool WantsPacket() const;

  // Takes the next sound if its turn has come: a packet, or null for the end of the sound. False if
  // there is no sound, or its turn has not come.
  bool TakeSound(ffmpeg::UniquePacket* packet);
  // Drops the sound whose turn has come.
  void DropSound();

  // The input has been moved: all that was read is dropped, the decoders forget.
  void Flush();

 private:
  struct Sound {
    ffmpeg::UniquePacket packet;  // null at the end of the input
    int64_t place;                // packets of the video before it
  };

  void NoteHoles();
  void SendPicture();
  void QueueSound(AVPacket* packet);
  bool IsSoundDue() const;

  DecodeSession* const mSession;
  std::unique_ptr<PictureMemo> mMemo;
  const ffmpeg::UniquePacket mPacket;
  std::deque<Sound> mSound;
  bool mEnded = false;
};

}  // namespace codec
