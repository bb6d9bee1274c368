// SPDX-License-Identifier: MIT
// A decoder for the backward walk, as plain as FFmpeg allows: one thread, nothing remembered, one
// FFmpeg call after another. It says what the decoder of the tree has to give.
//
// Some things are better than the plainest way, as they are in the decoder of the tree. Each is
// marked "Better" in the source; Landing is one more.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "codec/ffmpeg/owned.h"

namespace codec {

struct LiteralFrame {
  uint32_t type = 0;  // FrameType
  uint32_t size = 0;  // a picture's compressed bytes, or the bytes of a block
  double pts = 0;     // seconds from the first frame of its kind
  std::vector<uint8_t> bytes;
};

// Where a seek puts the demuxer before pictures are decoded up to the time.
enum class Landing {
  kAsked,   // at the whole second, as the demuxer understands it
  kStart,   // at the start, because the demuxer lands on pictures that need an earlier one
  kOpened,  // in the file opened once more, because a seek to the start lands on such pictures too
};

// Throws std::runtime_error if the file cannot be opened or has no pictures.
class LiteralDecoder {
 public:
  LiteralDecoder(const std::string& path, Landing landing);

  // Moves to the first picture at or after the time and reads past it. 0 or -1.
  int Seek(double seconds);
  // The next frame: 0, or -1 at the end.
  int Receive(LiteralFrame* frame);

  double Duration() const { return mDuration; }  // seconds
  bool HasAudio() const { return mAudio != nullptr; }
  // How many blocks after a seek have bytes that depend on what was decoded before them.
  size_t UnsettledBlocks() const;

 private:
  void OpenInput();
  ffmpeg::UniqueCodecContext OpenStream(AVMediaType type, int* index);
  void OpenConverter();
  void ScanKeyInterval();
  void ProbeTimes();
  void Land(double wholeSeconds);
  void Flush();
  bool ReadPacket();
  void SendPacket();
  void SendEnd();

  double VideoTime();
  double AudioTime() const;
  void DeliverVideo(LiteralFrame* frame);
  void DeliverAudio(LiteralFrame* frame);

  const std::string mPath;
  const Landing mLanding;

  ffmpeg::UniqueInput mInput;
  int mVideoIndex = -1;
  int mAudioIndex = -1;
  ffmpeg::UniqueCodecContext mVideo;
  ffmpeg::UniqueCodecContext mAudio;   // null without sound
  ffmpeg::UniqueResampler mConverter;  // null for packed float stereo
  ffmpeg::UniqueFrame mFrame;
  ffmpeg::UniquePacket mPacket;

  double mDuration = 0;      // seconds
  double mFirstVideo = 0;    // seconds, of the first picture
  double mFirstAudio = 0;    // seconds, of the first block
  double mNextVideo = 0;     // seconds, of a picture without a stamp
  double mWholeSeconds = 0;  // that the last seek landed at
  bool mNeedsTimeProbe = true;
  bool mIsSoundAlone = false;  // no picture is left
};

}  // namespace codec
