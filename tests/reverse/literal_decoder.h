// A decoder for one backward walk, as plain as FFmpeg allows: one thread, no memory of what it has
// decoded, one FFmpeg call after another. It says what the decoder of the tree has to give.
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

// Where a seek puts the demuxer.
enum class Landing {
  kAsked,   // on the key picture before the whole second
  kStart,   // at the start, by a seek: no demuxer and no group of pictures can get in the way
  kOpened,  // at the start, by opening the file once more: for a demuxer whose seek to 0 fails
};

// Throws std::runtime_error if the file cannot be opened.
class LiteralDecoder {
 public:
  LiteralDecoder(const std::string& path, Landing landing);

  // Moves to the first picture at or after the time and reads past it. 0 or -1.
  int Seek(double seconds);
  // The next frame: 0, or -1 at the end.
  int Receive(LiteralFrame* frame);

  double Duration() const { return mDuration; }
  bool HasAudio() const { return mAudio != nullptr; }

 private:
  void Open();
  ffmpeg::UniqueCodecContext OpenStream(AVMediaType type, int* index);
  void OpenConverter();
  void ScanKeyInterval();
  void ProbeTimes();
  void Land(double seconds);
  void Flush();
  bool ReadPacket();
  void SendPacket();
  void SendEnd();

  double VideoTime() const;
  double AudioTime() const;
  void DeliverVideo(LiteralFrame* frame);
  void DeliverAudio(LiteralFrame* frame);

  const std::string mPath;
  const Landing mLanding;

  ffmpeg::UniqueInput mInput;
  int mVideoIndex = -1;
  int mAudioIndex = -1;
  ffmpeg::UniqueCodecContext mVideo;   // null without video
  ffmpeg::UniqueCodecContext mAudio;   // null without sound
  ffmpeg::UniqueResampler mConverter;  // null for packed float stereo
  ffmpeg::UniqueFrame mFrame;
  ffmpeg::UniquePacket mPacket;

  double mDuration = 0;    // seconds
  double mFirstVideo = 0;  // seconds, of the first picture
  double mFirstAudio = 0;  // seconds, of the first block
  bool mNeedsTimeProbe = true;
};

}  // namespace codec
