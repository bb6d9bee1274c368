// SPDX-License-Identifier: MIT
// One stream of the input with its opened decoder.
#pragma once

#include <cstdint>
#include <memory>

#include "codec/decoder/answer_places.h"
#include "codec/decoder/first_failure.h"
#include "codec/decoder/input_file.h"
#include "codec/decoder/key_packets.h"
#include "codec/decoder/picture_decoder.h"
#include "codec/ffmpeg/owned.h"

namespace codec {

// Lives no longer than its input.
class StreamDecoder : public PictureDecoder {
 public:
  // Picks the best stream of this type and opens its decoder with this many threads (0: by the
  // machine and the picture size). Frames are reference-counted. `wantsSecondPicture`: see
  // ChooseDecoder. Null, with the reason logged, if there is no such stream or no decoder for it.
  static std::unique_ptr<StreamDecoder> Open(const InputFile& input, AVMediaType type, int threads,
                                             bool wantsSecondPicture = false);
  // The same with the stream of this number, which the input has.
  static std::unique_ptr<StreamDecoder> OpenStream(const InputFile& input, int index, int threads,
                                                   bool wantsSecondPicture = false);

  bool Owns(const AVPacket* packet) const { return packet->stream_index == mStream->index; }
  int Index() const { return mStream->index; }
  const AVStream* Stream() const { return mStream; }
  AVCodecContext* Context() const { return mContext.get(); }

  int Send(AVPacket* packet) override;
  int Receive(AVFrame* frame) override;
  int64_t Answered() const override { return mPlaces.Answered(); }
  void Flush() override;
  // Decodes one packet in one call, see ffmpeg::DecodeOne.
  int DecodeOne(AVPacket* packet, AVFrame* frame, AVFrame* spare, int* gotFrame);
  // Whether it has got a packet since the last flush.
  bool IsFed() const { return mFed; }
  // Packets are passed over until the next flush, or until a packet that decoding can begin at. If
  // `withStamp`, that packet has a stamp of its own. For video.
  void AwaitKey(bool withStamp) {
    mAwaitingKey = true;
    mAwaitingStamp = withStamp;
  }
  bool IsAwaitingKey() const { return mAwaitingKey; }
  // Whether this packet of the video is passed over, because a key is awaited. If not, the waiting
  // is over.
  bool PassesOver(const AVPacket* packet);
  // Until the next flush packets are passed over and Receive answers as a drained decoder does.
  void Rest() { mResting = true; }
  bool IsResting() const { return mResting; }
  // Leaves the loop filter out for pictures that no other refers to. Works on the open decoder.
  void SkipLoopFilter() {
    if (!mKeepsLoopFilter) mContext->skip_loop_filter = AVDISCARD_NONREF;
  }
  // Calls of the above do nothing from now on.
  void KeepLoopFilter() { mKeepsLoopFilter = true; }

  double TicksPerSecond() const { return mTicksPerSecond; }
  // Ticks of the stream in seconds.
  double Seconds(int64_t ticks) const;

  int64_t FramesDecoded() const { return mFramesDecoded; }

 private:
  StreamDecoder(const AVStream* stream, ffmpeg::UniqueCodecContext context,
                std::unique_ptr<KeyPackets> keys, FirstFailure* failure);

  const AVStream* mStream;
  ffmpeg::UniqueCodecContext mContext;
  const std::unique_ptr<KeyPackets> mKeyPackets;  // null for sound
  double mTicksPerSecond;
  FirstFailure* const mFailure;
  AnswerPlaces mPlaces;
  int64_t mFramesDecoded = 0;
  bool mDraining = false;
  int mFailures = 0;  // of Receive, in a row
  bool mResting = false;
  bool mAwaitingKey = false;
  bool mAwaitingStamp = false;  // with the key
  bool mFed = false;
  bool mKeepsLoopFilter = false;
};

// Logs a decoder's error as the decoder reports it for its kind of stream.
void LogDecodeError(AVMediaType type, int error);

}  // namespace codec
