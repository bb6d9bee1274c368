// SPDX-License-Identifier: MIT
// The video stream of an output: its encoder, and the way of a picture into the file.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>

#include "codec/encoder/encoder_options.h"
#include "codec/encoder/encoder_settings.h"
#include "codec/encoder/media_tracks.h"
#include "codec/encoder/output_file.h"
#include "codec/encoder/picture_clock.h"
#include "codec/ffmpeg/owned.h"

namespace codec {

// Settings and file belong to the caller and outlive it.
class VideoEncoder : public VideoTrack {
 public:
  VideoEncoder(const EncoderSettings& settings, OutputFile* file)
      : mSettings(settings), mFile(file) {}

  int Create(const EncoderOptions& defaults) override;
  bool Exists() const { return mTrack.stream != nullptr; }

  int Encode(const uint8_t* picture, int64_t ptsUs) override;
  // Only for encoders of the send/receive interface: the one-call interface has nothing left,
  // because it runs without delay.
  int Drain() override;
  void Finish() override;
  void Close() override;

  // Hardware encoders take pictures and give packets at different times.
  bool HoldsPictures() const override { return mSendReceive; }
  void SetSendReceive(bool on) { mSendReceive = on; }

  AVRational StreamTimeBase() const override { return mTrack.stream->time_base; }
  int StreamIndex() const override { return mTrack.stream->index; }
  // Seconds of the last packet, be it written or kept back.
  double LastTime() const override { return mTrack.lastTime; }
  int PicturesTaken() const override { return mPicturesTaken; }
  int StampsWaiting() const override { return static_cast<int>(mStamps.size()); }

 private:
  void Describe(const AVCodec* codec);
  void ChooseThreads();
  int PreparePicture();

  int Write(AVPacket* packet, int64_t stamp);
  int KeepBack(AVPacket* packet);
  int WriteKept();
  int EncodeInOneCall();
  int EncodeSendReceive(const AVFrame* frame);
  int ReceiveFailed(int error);
  void WriteLateHeader();
  void NoteIgnored();

  const EncoderSettings& mSettings;
  OutputFile* const mFile;
  ffmpeg::UniqueCodecContext mContext;
  ffmpeg::UniqueFrame mPicture;  // points at the caller's bytes while they are encoded
  ffmpeg::UniquePacket mPacket;
  ffmpeg::UniquePacket mKept;  // the newest packet, or an empty one; null if none is kept back
  OutputTrack mTrack;
  bool mSendReceive = false;
  bool mCopies = false;  // the encoder copies a picture before it returns

  PictureClock mClock;
  int64_t mStamp = 0;           // of the picture that is being encoded
  std::deque<int64_t> mStamps;  // of pictures sent whose packets have not come
  int mPicturesTaken = 0;
  int mIgnored = 0;
  bool mHasSucceeded = false;
};

}  // namespace codec
