// SPDX-License-Identifier: MIT
// The video stream of an output whose encoder may be any of FFmpeg's.
#pragma once

#include <cstdint>
#include <deque>

#include "codec/encoder/encoder_settings.h"
#include "codec/encoder/media_tracks.h"
#include "codec/encoder/output_file.h"
#include "codec/encoder/packet_pump.h"
#include "codec/encoder/picture_clock.h"
#include "codec/encoder/picture_converter.h"
#include "codec/encoder/stamp_map.h"
#include "codec/ffmpeg/owned.h"

namespace codec {

// Settings and file belong to the caller and outlive it.
//
// Note: a third way to encode
//   VideoEncoder knows two ways: one call for each picture, for encoders that answer at once, and
//   that of encoders on dedicated hardware, which gives packets the stamps of pictures in their
//   order. Neither can serve an encoder that looks ahead, reorders pictures, or encodes several at
//   once. This class can. A picture becomes a frame of its own, in the format of the encoder that
//   is nearest to the picture's. The frame carries a number, as PictureClock counts. A packet comes
//   whenever the encoder likes, with the numbers of its picture and of its decoding, which StampMap
//   turns into stamps. Drain brings out what is left. An encoder gets its own options only, and the
//   quality that it is asked for; see own_options.h.
//
//   The number of threads is a fixed one unless the settings tell it, as the bytes of many encoders
//   depend on it, and must not depend on the machine.
class DelayedVideoEncoder : public VideoTrack, private PacketTaker {
 public:
  DelayedVideoEncoder(const EncoderSettings& settings, OutputFile* file)
      : mSettings(settings), mFile(file), mPump(this) {}

  int Create(const EncoderOptions& defaults) override;
  int Encode(const uint8_t* picture, int64_t ptsUs) override;
  int Drain() override;
  void Finish() override;
  void Close() override;

  bool HoldsPictures() const override { return true; }
  AVRational StreamTimeBase() const override { return mTrack.stream->time_base; }
  int StreamIndex() const override { return mTrack.stream->index; }
  // Of the last picture given to the encoder: how many it holds must not have the sound wait.
  double LastTime() const override { return mLastTime; }
  int PicturesTaken() const override { return mPicturesTaken; }
  int StampsWaiting() const override { return mPicturesTaken - mPacketsWritten; }

 private:
  int Take(AVPacket* packet) override;
  int OpenEncoder(const AVCodec* codec);
  void Describe(const AVCodec* codec);
  void DescribeColors();
  int OpenConverter();
  int OpenStream();
  int KeepBack(AVPacket* packet);
  int WriteKeptUpTo(int64_t successor);
  void EndUnused();

  const EncoderSettings& mSettings;
  OutputFile* const mFile;
  ffmpeg::UniqueCodecContext mContext;
  ffmpeg::UniqueFrame mFrame;
  // The packet of the newest picture, which lasts nobody knows how long, and those after it.
  std::deque<ffmpeg::UniquePacket> mKept;
  PictureConverter mConverter;
  PictureForm mInput;
  PacketPump mPump;
  OutputTrack mTrack;
  PictureClock mClock;
  StampMap mStamps;
  AVRational mStampBase = {0, 1};
  int64_t mFrameTicks = 1;
  PictureClock::Place mLast;
  double mLastTime = 0;      // seconds
  bool mTellsTimes = false;  // packets tell how long their pictures are shown
  bool mIsDiscarding = false;
  int mPicturesTaken = 0;
  int mPacketsWritten = 0;
};

}  // namespace codec
