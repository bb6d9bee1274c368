// SPDX-License-Identifier: MIT
// The reading half of the backward walk: the frames of one step after another, newest step first.
#pragma once

#include <cstdint>
#include <deque>
#include <limits>
#include <memory>
#include <optional>

#include "codec/decoder/ffmpeg_decoder.h"
#include "reverse/frame_buffer.h"
#include "reverse/frame_stock.h"

namespace codec {

// What the walk needs to know of its job.
struct ReverseRange {
  double start = 0;  // seconds; frames before it are not written
  double end = 0;    // seconds; frames at or after it are not written
  bool hasAudio = false;
  int32_t channels = 0;       // of decoded audio
  int32_t sampleRate = 0;     // of decoded audio, samples a second
  int32_t sampleFormat = -1;  // FFmpeg's number, of decoded audio
  bool isToEnd = false;       // the clip ends where the range does
  int32_t bufferSize = 0;     // bytes that any frame of the decoder fits into
  bool overlap = true;        // whether steps are read while others are written
  // Seconds by which each seek is earlier than its step. Seeks round times to single precision. The
  // rounded time may be after a picture that the step wants.
  double seekEarly = 0;
  bool keepsMetPicture = false;  // the decoder delivers the picture that a seek meets
  // Bytes that the pictures of one step may take: a second of them, unless they are larger than 4K
  // at 60 frames a second. One picture is kept whatever it takes, and another one is being read.
  int64_t stepBytes = int64_t{2} << 30;
  // Bytes that steps read ahead may take: three seconds of pictures of 1280x720 at 30 frames a
  // second. Larger ones are read one step ahead, in the buffers that come back from the step that
  // is being written and in as many more.
  int64_t aheadBytes = int64_t{128} << 20;

  // The last step may reach back before the start of the range.
  bool Holds(const FrameBuffer& frame) const { return start <= frame.pts && frame.pts <= end; }
};

// The frames of one step, or of a part of one, in decoded order.
struct Segment {
  std::deque<std::unique_ptr<FrameBuffer>> frames;
  double cursor = 0;             // seconds; the part of the range before it is still to do
  int64_t bytes = 0;             // filled by the frames
  int64_t pictureBytes = 0;      // filled by one picture
  bool usedUpPicture = false;    // the seek met a picture, which is left to the next step
  bool sawLaterPicture = false;  // a picture came that lies after the range
  bool isTorn = false;           // the reading did not end where the later step begins
  LostPictures lost;             // pictures of the step, told with its last part
};

// Steps are one second long. After some without any frame each is twice as long, until one meets a
// frame: inputs whose stamps jump have stretches of hours in them.
//
// A step whose pictures take too much room is given out in parts, the newest frames first. The step
// is read again for each part, and the newest pictures that were not given out yet are kept. Sound
// is small, so all of it is kept at the first reading. Later readings leave sound out, because a
// sound decoder may give other samples a second time. So the parts together are the same frames in
// the same order as the step in one piece, and the output does not depend on the room.
//
// The frames of a step alone tell how far it goes back. So the next step can be read before this
// one is written. Used by one thread at a time; decoder and stock belong to the caller.
class SegmentReader {
 public:
  SegmentReader(FFmpegDecoder* decoder, FrameStock* stock, const ReverseRange& range);

  // Whether a part of the range is still to be read.
  bool HasMore() const { return mRange.start < mCursor; }
  // Reads the next step, or the next part of a step. Not to be called if HasMore is false.
  Segment Next();
  // Frees the decoder's memory. To be called after the last step was read.
  void Finish() { mDecoder->Finish(); }

 private:
  // Times before which the frames of each kind are still to be written.
  struct Boundaries {
    double video;
    double audio;
  };

  // A block of sound, and how many wanted pictures of its step came before it.
  struct Sound {
    std::unique_ptr<FrameBuffer> frame;
    size_t picturesBefore;
  };

  // False if a step longer than a second turned out not to be empty. Then it was given up.
  bool Read(double from);
  bool IsWanted(const FrameBuffer& frame) const;
  // Wanted pictures of the current step, so far.
  size_t PicturesRead() const { return mPicturesDropped + mPictures.size(); }
  bool IsFirstPart() const { return mPicturesLeft == kAll; }
  // A frame that is not wanted ends the reading of its kind.
  void NoteEnd(const FrameBuffer& frame, bool* videoDone, bool* audioDone);
  void NoteSound(const FrameBuffer& frame);
  void Keep(std::unique_ptr<FrameBuffer> frame);
  void KeepPicture(std::unique_ptr<FrameBuffer> picture);
  void KeepSound(std::unique_ptr<FrameBuffer> sound);
  // Takes the current part's pictures and the sound between and after them.
  Segment TakePart();
  void ChooseLength(bool wasEmpty);
  void MoveBoundaries(const Segment& part);
  LostPictures TakeLost();
  bool IsTorn() const;

  static constexpr double kUsualSeconds = 1.0;
  static constexpr size_t kAll = std::numeric_limits<size_t>::max();

  FFmpegDecoder* const mDecoder;
  FrameStock* const mStock;
  const ReverseRange mRange;

  double mCursor;               // the part still to read is [start, mCursor)
  Boundaries mBoundaries;       // of the current step; `end` before the first
  Boundaries mEarliest;         // of the frames that the current step has given out
  size_t mPicturesLeft = kAll;  // of the current step; kAll before its first part
  double mSettled;              // lost pictures at or after this time have been told

  std::deque<std::unique_ptr<FrameBuffer>> mPictures;  // of the current part
  size_t mPicturesDropped = 0;                         // earlier ones, for lack of room
  std::deque<Sound> mSounds;                           // of the current step, not yet given out
  bool mIsSoundLost = false;                           // there was too much; it is said once
  double mSeconds = kUsualSeconds;                     // length of the next step
  int mEmptySteps = 0;                                 // in a row
  bool mIsNarrowing = false;    // a step longer than a second turned out not empty
  bool mHasRead = false;        // a step is done
  bool mSawLater = false;       // a picture that lies after the range
  bool mUsedUpPicture = false;  // by the seek of the current step
  // A time alone does not tell a picture: in a file whose times go back others may have it.
  struct PictureMark {
    double time = 0;    // seconds
    uint32_t size = 0;  // bytes of its packet
    friend bool operator==(const PictureMark& a, const PictureMark& b) {
      return a.time == b.time && a.size == b.size;
    }
  };
  std::optional<PictureMark> mEarliestPicture;  // of those given out
  std::optional<PictureMark> mPictureAfter;     // that ended the reading of the current step

  // Time of the first picture that came after some sound in a reading, in seconds. Infinite if
  // there was sound, but no picture after it. Nothing if there was no sound.
  std::optional<double> mSoundEnds;       // of the current reading
  std::optional<double> mKnownSoundEnds;  // of the last step that had sound
};

}  // namespace codec
