// SPDX-License-Identifier: MIT
// The times that frames are delivered with.
#pragma once

#include <cstdint>

#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec {

class StreamDecoder;

// Whether a frame of this time is at or after `seconds`, within the precision of a float: seeks
// take their times in single precision.
bool ReachesTime(double time, float seconds);

// Seconds from the first frame of each kind. A frame without a stamp follows the frame before it,
// at a distance of that frame's duration. FFmpeg's mark for "no stamp" must not be taken as a
// number: it would be a time some 10^18 seconds before the start.
class FrameTimes {
 public:
  // Either may be null. `frameRate` 0 stands for unknown.
  void Open(const StreamDecoder* video, const StreamDecoder* audio, double frameRate);

  // There is no sound any more.
  void ForgetAudio() { mAudio = nullptr; }
  void SetFirstVideo(double seconds) { mFirstVideo = seconds; }
  void SetFirstAudio(double seconds) { mFirstAudio = seconds; }
  double FirstVideo() const { return mFirstVideo; }
  double FirstAudio() const { return mFirstAudio; }
  // Of a picture at the rate of the clip; 0 if that is unknown.
  double PictureSeconds() const { return mPictureSeconds; }

  // Times by the stamps of the decoded frames.
  double OfVideo(const AVFrame* frame);
  double OfAudio(const AVFrame* frame);
  // The same without counting on; only for frames that have a stamp.
  double VideoTime(const AVFrame* frame) const;
  // Times by the stamps of the packets that the frames came from. Both count from the first video
  // frame here.
  double OfVideoPacket(int64_t ticks);
  double OfAudioPacket(int64_t ticks, const AVFrame* frame);

  // The next picture is the one of this time, which was asked for before.
  void RepeatVideo(double seconds) { mVideoTrack.next = seconds; }
  // After a seek to about this time: frames without a stamp count from here.
  void Restart(double seconds);
  // Decoding begins at this packet, which may be far from the time of the seek.
  void RestartVideo(const AVPacket* packet);
  void RestartAudio(const AVPacket* packet);

 private:
  struct Track {
    double next = 0;  // time of a frame without a stamp
    double Take(bool known, double seconds, double duration) {
      const double time = known ? seconds : next;
      next = time + duration;
      return time;
    }
  };

  const StreamDecoder* mVideo = nullptr;
  const StreamDecoder* mAudio = nullptr;
  double mPictureSeconds = 0;
  double mFirstVideo = 0;
  double mFirstAudio = 0;
  Track mVideoTrack;
  Track mAudioTrack;
};

}  // namespace codec
