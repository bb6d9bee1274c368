// SPDX-License-Identifier: MIT
// The decoder: opens one input through FFmpeg and hands out its frames.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "codec/decoder/decoder_options.h"
#include "codec/decoder/ffmpeg_decoder.h"
#include "codec/decoder/open_failure.h"
#include "codec/decoder/passed_over_sound.h"
#include "codec/utils/field_order.h"

struct AVFormatContext;

namespace but {
class Mutex;
}

namespace codec {

class FirstFailure;
class JoinedParts;

// How much work was done since the input was opened.
struct DecoderCounters {
  int64_t packetsRead = 0;          // of all streams
  int64_t videoFramesDecoded = 0;   // with those passed by on the way to a time
  int64_t audioFramesDecoded = 0;   // the same for sound
  int64_t seeks = 0;                // of the demuxer
  int64_t videoFramesReplayed = 0;  // answered from memory instead of decoded again
  int64_t delayedFrames = 0;        // video packets that gave DecodeFrame no picture
  double audioClock = 0;            // seconds of sound converted
};

//   file -> InputFile -> PacketFeed -+-> FrameSource -> FrameReceiver -> ReceiveFrame
//                                    |        ^
//                                    |        |  pictures on the way to a time
//                                    |     Seeker ---> PendingFrame ---> DecodeFrame
//                                    |        v                             ^
//                                    +-> PacketDecoder ---------------------+
//
// All of them share one DecodeSession, which exists from Init to Release. PacketFeed has the video
// decoder's memory, see PictureMemo.
class FFmpegDecoderImpl2 : public FFmpegDecoder {
 public:
  // Remembers the path; nothing is opened before Init.
  explicit FFmpegDecoderImpl2(const char* path, const DecoderOptions& options = {});
  ~FFmpegDecoderImpl2() override;

  int Init() override;
  int Release() override;
  int Seek(double seconds, int mode) override;
  int DecodeFrame(uint8_t* buffer, uint32_t* size, uint32_t* type, double* pts) override;
  // The facts found by the last Init, after Release too.
  int GetMediaInfo(MediaInfo& info) override;
  int GetFrameBufferSize() override;
  int GetWidth() override;
  int GetHeight() override;
  int ReceiveFrame(uint8_t* buffer, uint32_t* size, uint32_t* type, double* pts) override;
  int GetAudioBufferSize() override;
  void Finish() override;
  int RestSound() override;
  int HostError() override;
  LostPictures TakeLost(double from, double to) override;

  // The next seven are for a caller that reads the sound itself, and counts the times of sound and
  // pictures from one zero. To be called after Init, before the first seek or read.
  //
  // FFmpeg's number of the stream of the sound; -1 if there is no sound.
  int SoundStream() const;
  // The sound that cannot be decoded. Blank unless the sound is chosen as players do.
  PassedOverSound PassedOver() const;
  // How far the file had to be probed for its sound, as for InputFile::ProbeTo.
  int64_t ProbedTo() const { return mProbedTo; }
  // From now on there is no sound, and its packets are not read.
  void LeaveSoundOut();
  // Time of the first picture in the file's stamps, in seconds; decodes it.
  double FirstPictureTime();
  // How the pictures are interlaced, by what the first one says; decodes more of them if the header
  // says something else. To be called after FirstPictureTime.
  FieldOrder Fields();
  // The time in the file's stamps, in seconds, that counts as 0 for pictures and sound.
  void SetZero(double seconds);

  // Ends as Finish does, and gives the opened file to a caller that reads packets, and closes the
  // file. Null if no input is open.
  AVFormatContext* TakeInput();

  // The parts of the input if its clock restarts; null otherwise.
  std::shared_ptr<const JoinedParts> Joined() const;
  // Why the last Init did not open the input; blank if it did.
  const OpenFailure& WhyNotOpened() const { return mOpenFailure; }

  // Length of the input in seconds; more digits than MediaInfo has.
  double Duration() const;

  // All zero while no input is open.
  DecoderCounters Counters() const;
  // Distance between two key frames in ticks of the video stream; 0 if unknown.
  int32_t KeyInterval() const;

 private:
  struct Parts;

  template <typename Body>
  int Bordered(const Body& body);
  template <typename Body>
  int WithParts(const Body& body);
  int InitParts();
  void LogCounters() const;
  void ReachLastPicture();

  std::string mPath;
  DecoderOptions mOptions;
  // Changed under mMutex if another thread may ask for HostError meanwhile.
  std::unique_ptr<Parts> mParts;             // null unless initialised
  const std::unique_ptr<but::Mutex> mMutex;  // never null, as the next one
  const std::unique_ptr<FirstFailure> mThrown;
  OpenFailure mOpenFailure;
  int64_t mProbedTo = 0;  // bytes
  MediaInfo mInfo;
  int mFrameBufferSize = 0;
  int mAudioBufferSize = 0;
};

}  // namespace codec
