// SPDX-License-Identifier: MIT
// Tells from the stamps of packets where the clock of a file restarts.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>

#include "codec/decoder/joined_parts.h"

namespace codec {

// What is looked at of a packet. Times are in microseconds.
struct ClockedPacket {
  int64_t position = 0;          // bytes
  size_t track = 0;              // kPictures or kSound
  std::optional<int64_t> shown;  // stamp of presentation, else of decoding
  std::optional<int64_t> decoded;
  int64_t length = 0;
  bool isKey = false;         // decoding can begin at it
  bool isFirstThere = true;   // no packet of its stream before it has the same position
  bool losesLeading = false;  // pictures shown before it cannot be decoded from it on
};

// Takes packets in the order of their positions, and lays the parts between restarts on one line.
//
// A restart is a stamp that lies more than ten seconds after all others of the part, or before
// those of its own stream by more than pictures are reordered. A single wild stamp is none: the
// packets that follow have to tell the new time as well. A wrap-around that FFmpeg has corrected
// shows no jump.
class PartClock {
 public:
  static constexpr size_t kPictures = 0;
  static constexpr size_t kSound = 1;
  static constexpr size_t kTracks = 2;

  // The streams of the two tracks, for the landings; -1 for none.
  explicit PartClock(const std::array<int, kTracks>& streams) : mStreams(streams) {}

  // Takes the first packet of `window`; those after it are the next ones.
  void Take(const std::deque<ClockedPacket>& window);
  // There are no more packets.
  void End();

  // Parts so far, the one that is not yet over included; 0 before the first stamp.
  size_t Parts() const { return mIsOpen ? mParts.Count() + 1 : mParts.Count(); }
  // Where the last part begins, in bytes.
  int64_t LastPosition() const { return mPart.position; }
  // Microseconds that the parts which are over last together.
  int64_t Length() const;
  // Whether the clock goes to and fro so often that the parts make no sense.
  bool IsErratic() const { return mShortParts > kMostShortParts; }

  // What has been found; after End.
  const JoinedParts& Joined() const { return mParts; }

 private:
  struct Track {
    std::optional<int64_t> shown;  // the latest of the part
    std::optional<int64_t> decoded;
  };

  // The places of the last packets of a track: a landing begins a few before its packet.
  struct Trail {
    std::deque<int64_t> positions;
    PartLandings landings;  // of the open part, times by its own clock
  };

  static constexpr int kMostShortParts = 16;

  bool Jumps(const ClockedPacket& packet) const;
  bool BelongsToLast(const ClockedPacket& packet) const;
  bool IsConfirmed(const std::deque<ClockedPacket>& window) const;
  bool PicturesJump(const std::deque<ClockedPacket>& window) const;
  void Open(const ClockedPacket& packet);
  void Close();
  void Note(const ClockedPacket& packet);
  void NoteKey(const ClockedPacket& packet);
  void NoteLanding(const ClockedPacket& packet);

  const std::array<int, kTracks> mStreams;
  JoinedParts mParts;
  JoinedParts::Part mPart;  // the open one
  bool mIsOpen = false;
  bool mHasKey = false;                // the open part has
  std::array<Track, kTracks> mTracks;  // of the open part
  std::array<Trail, kTracks> mTrails;
  int mShortParts = 0;  // in a row
};

}  // namespace codec
