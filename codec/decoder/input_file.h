// SPDX-License-Identifier: MIT
// The opened input: the only place that reads packets and moves the reading position.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "codec/decoder/first_failure.h"
#include "codec/decoder/open_failure.h"
#include "codec/decoder/packet_source.h"
#include "codec/decoder/palette_memory.h"
#include "codec/decoder/part_reading.h"
#include "codec/ffmpeg/owned.h"

namespace codec {

class InputFile : public PacketSource {
 public:
  // Streams are looked for in so many bytes of packets, however long these last. 0, as it is at
  // first, for FFmpeg's own choice. The packets are held in memory meanwhile.
  void ProbeTo(int64_t bytes);
  // Opens the local file, which must be one that can be read backwards, and reads its header. 0, or
  // -1 with the reason logged.
  int OpenHeader(const std::string& path);
  // Then finds its streams, and decodes some frames for that. Results as above.
  int FindStreams();
  // Both.
  int Open(const std::string& path) { return OpenHeader(path) == 0 ? FindStreams() : -1; }

  // Opens the same file again and finds its streams in more of it than FFmpeg does by default, or
  // than ProbeTo has said. The results of Open; streams that were known before are gone.
  int FindStreamsFurther();
  // Whether the form of the pictures is not known, although their codec is.
  bool LacksPictureForm() const;

  // Goes on with a file that another object has opened at this path.
  void Adopt(const std::string& path, ffmpeg::UniqueInput context);
  // Gives the file away. To be destroyed next.
  ffmpeg::UniqueInput GiveAway() { return std::move(mContext); }

  bool Read(AVPacket* packet) override;
  // Makes these packets, which were just read, the next ones again; a seek drops them.
  void PutBack(std::vector<ffmpeg::UniquePacket> packets);

  // Moves to the key frame at or before `position`, in ticks of the stream, or in AV_TIME_BASE
  // units if `stream` is -1. FFmpeg's result.
  int SeekBackward(int stream, int64_t position);
  // Moves to the first packet that can be reached with stamps from `earliest` to 0, in AV_TIME_BASE
  // units, or to the first byte if there are no stamps or the only stream would begin later than it
  // did at first. FFmpeg's result.
  int SeekToStart(int64_t earliest);

  // From now on the stamps of packets are those on the line of these parts, and so are the times of
  // seeks. To be called before anything is read.
  void Join(const std::shared_ptr<const JoinedParts>& parts);
  // Null unless joined.
  const std::shared_ptr<const JoinedParts>& Joined() const { return mParts; }

  // The stamps of pictures that were read and left out since the last call, because what they refer
  // to belongs to another part. In ticks of their stream.
  std::vector<int64_t> TakeLeftOut();

  // From now on reading does not end at a packet that the index places outside of the file, if a
  // later packet lies inside. Off unless called: FFmpeg takes such a packet for the end.
  void SkipHoles() { mSkipsHoles = true; }
  // Whether that was of use since the last call.
  bool TakePassedHole() { return std::exchange(mPassedHole, false); }
  // The stamps of such packets of a stream, in its ticks.
  std::vector<int64_t> Holes(int stream) const;

  // From now on no packet of this stream is read.
  void LeaveOut(int stream) { mContext->streams[stream]->discard = AVDISCARD_ALL; }

  // Owned here; valid while this object lives.
  AVFormatContext* Context() const { return mContext.get(); }
  const std::string& Path() const { return mPath; }

  // FFmpeg's number of what the last reading has ended with: 0 before it has, and at the end of the
  // file.
  int EndError() const { return mEndError; }

  // Why the last open failed; blank if it did not fail.
  const OpenFailure& WhyNotOpened() const { return mOpenFailure; }
  // The file was opened, but cannot be read as a whole, for a reason as in OpenFailure.
  void Refuse(const std::string& obstacle) { mOpenFailure.obstacle = obstacle; }
  // Failures of the host in anything that is read from this input.
  FirstFailure& Failure() const { return mFailure; }

  int64_t PacketsRead() const { return mPacketsRead; }
  int64_t Seeks() const { return mSeeks; }

 private:
  // How far streams are looked for.
  struct Probe {
    int64_t bytes = 0;     // 0 for FFmpeg's own choice
    int64_t duration = 0;  // in AV_TIME_BASE units; counts with bytes only
  };

  int ReadFrame(AVPacket* packet);
  bool PassHole();
  void OnSeek();
  void LearnPalettes();
  // The next packet, which stays the next one; null if there is none, or no memory.
  const AVPacket* Peek();
  int AnyPacket(int64_t position) const;
  bool HasMissedFirst();
  // Logs that the file cannot be opened and why. -1.
  int CannotOpen(const std::string& reason) const;

  std::string mPath;
  OpenFailure mOpenFailure;
  mutable FirstFailure mFailure;
  ffmpeg::UniqueInput mContext;
  std::shared_ptr<const JoinedParts> mParts;
  std::unique_ptr<PartReading> mReading;  // null unless joined
  std::deque<ffmpeg::UniquePacket> mPutBack;
  PaletteMemory mPalettes;
  int64_t mFirstPosition = -1;  // bytes: of the first packet of all; -1 if unknown
  int mEndError = 0;
  Probe mProbe;
  int64_t mPacketsRead = 0;
  int64_t mSeeks = 0;
  bool mWarnedOfStart = false;
  bool mSkipsHoles = false;
  bool mPassedHole = false;
  // How many ends of the file may be holes; nothing before the first end after a seek.
  std::optional<size_t> mHolesLeft;
};

}  // namespace codec
