// SPDX-License-Identifier: MIT
// A file that was joined of several recordings, each with a clock of its own, on one time line.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace codec {

// Where reading can begin to meet one packet of a stream.
struct PartLanding {
  int64_t time = 0;  // microseconds, of the packet
  // Bytes, of the packet. The first packets after a seek can be remains of others, so reading
  // begins somewhat earlier, at the second place.
  int64_t position = 0;
  int64_t from = 0;
};

// Landings of one stream in the order of their times. There are never more than some thousand: if
// the file is so long, they lie further apart.
class PartLandings {
 public:
  // Leaves a landing out that is not later than the last one, or too near to it.
  void Add(const PartLanding& landing);
  // The last one that is not after this time in microseconds; null if there is none.
  const PartLanding* AtOrBefore(int64_t time) const;

  const std::vector<PartLanding>& All() const { return mLandings; }
  void Clear() { mLandings.clear(); }

 private:
  static constexpr size_t kMost = 8192;
  static constexpr int64_t kNearest = 200000;  // microseconds

  std::vector<PartLanding> mLandings;
  int64_t mDistance = kNearest;
};

// Says what has to be added to the stamps of a packet, and where the file is entered for a time.
// The parts follow each other: each begins on the line where the one before it ends. Pictures and
// sound of a part keep their distance. The first part keeps its stamps.
class JoinedParts {
 public:
  struct Part {
    int64_t position = 0;  // of its first byte in the file
    int64_t begin = 0;     // microseconds of its own clock, as the next one
    int64_t end = 0;
    int64_t shift = 0;  // microseconds from its own clock to the line
    // Its first key picture: bytes, and microseconds of its own clock. None of its pictures before
    // these can be decoded.
    int64_t keyPosition = 0;
    int64_t keyTime = INT64_MIN;
    // Where the picture that is shown last begins, by its own clock; INT64_MIN if there is none.
    int64_t lastPicture = INT64_MIN;
  };

  // Parts come in the order of their positions.
  void AddPart(const Part& part) { mParts.push_back(part); }
  // Landings of a stream, with times on the line, in the order of time.
  void AddLanding(int stream, const PartLanding& landing);

  size_t Count() const { return mParts.size(); }
  const std::vector<Part>& Parts() const { return mParts; }
  // Microseconds of the line at which the last part ends; nothing if there is none.
  std::optional<int64_t> End() const;
  // Microseconds of the line at which the picture that is shown last begins; nothing if the last
  // part has no pictures.
  std::optional<int64_t> LastPicture() const;

  // What is added to a stamp of a packet at this place in the file, both in microseconds. Beside a
  // restart packets of one stream may still tell the time of the other part.
  int64_t Shift(int64_t position, int64_t stamp) const;
  // Whether a picture lacks what it refers to, as the recording was cut there. Were it decoded, it
  // would show remains of the part before. The decoder finds out by itself about the first part.
  bool LacksReferences(int64_t position, int64_t stamp) const;
  // As PartLandings::AtOrBefore.
  const PartLanding* LandingFor(int stream, int64_t time) const;

 private:
  const Part& PartOf(int64_t position, int64_t stamp) const;

  std::vector<Part> mParts;
  std::vector<PartLandings> mLandings;  // by stream
};

}  // namespace codec
