// SPDX-License-Identifier: MIT
// Reads a file once for where its clock restarts.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "codec/decoder/input_file.h"
#include "codec/decoder/joined_parts.h"
#include "codec/decoder/part_clock.h"
#include "codec/decoder/stream_facts.h"

namespace codec {

// Why a file cannot be put onto one time line.
struct PartObstacle {
  std::string what;        // such as "its clock restarts"
  double seconds = 0;      // from the start of the file
  int64_t position = 0;    // bytes
  bool isRestart = false;  // nothing but that there are to be no restarts
};

// Sound that a probe has not met.
struct UnprobedSound {
  int stream = -1;       // FFmpeg's number
  int64_t position = 0;  // of its first packet, in bytes
};

// Reads all packets of a file once, through an input of its own; nothing is decoded but what
// FFmpeg decodes to find the streams. Packets are brought into the order of the file: a demuxer
// gives a long picture after the sound that follows it.
class PartScan {
 public:
  // The streams that will be decoded, by FFmpeg's number; -1 for none.
  PartScan(int video, int audio) : mStreams{video, audio}, mClock(mStreams) {}

  // Reads the local file to its end, or to the first restart if there is to be none. 0, or -1,
  // logged, if it cannot be opened.
  int Run(const std::string& path, bool endsAtRestart);

  // What has been found: null if the clock never restarts.
  std::shared_ptr<const JoinedParts> Parts() const;
  // The end of the last packet of the streams that are decoded, on the line; nothing if they have
  // no stamps. The begin of the packet that is shown last stays unknown.
  std::optional<ScannedLength> Length() const;
  // Nothing if the streams that are decoded go through the whole file, and their clock makes sense.
  const std::optional<PartObstacle>& Obstacle() const { return mObstacle; }
  // The stream of sound that begins first, of those whose form is unknown to `probed`, another
  // context of the same file. Nothing if `probed` knows the form of all sound that has packets.
  std::optional<UnprobedSound> SoundUnknownTo(const AVFormatContext* probed) const;
  // FFmpeg's number of the first failure of the host; 0 while there was none.
  int Failure() const { return mInput.Failure().Error(); }

 private:
  // Of each stream of the file.
  struct Stream {
    int64_t position = 0;  // of the last packet that told one
    int64_t first = -1;    // position; -1 before there is one
    int64_t packets = 0;
  };

  void NoteStreams();
  void Look(const AVPacket* packet);
  void Insert(const ClockedPacket& packet);
  void TakeFirst();
  void LookForSuccessors();
  void LookAtEnd();
  // That the parts which are over last together.
  double Seconds() const;
  void Refuse(const std::string& what, double seconds, int64_t position);

  const std::array<int, PartClock::kTracks> mStreams;
  InputFile mInput;
  PartClock mClock;
  std::vector<Stream> mSeen;          // by stream
  std::deque<ClockedPacket> mWindow;  // by position
  std::optional<PartObstacle> mObstacle;
  bool mRefusesRestarts = false;
  bool mLacksTimes = false;
};

}  // namespace codec
