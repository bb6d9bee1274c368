// SPDX-License-Identifier: MIT
// The stamps of the pictures that an encoder holds.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>

namespace codec {

// An encoder counts frames, and its rate control relies on this. The file has finer stamps. This
// map turns the frame numbers of packets, decoding times included, into stamps of the file. Of two
// numbers the larger one always gets the larger stamp.
class StampMap {
 public:
  // Ticks of the file that a frame lasts: the distance of numbers outside of the known ones.
  void SetFrameTicks(int64_t ticks) { mFrameTicks = ticks; }

  // A picture of this number goes into the encoder. Numbers and stamps have to grow.
  void Add(int64_t number, int64_t stamp) { mPlaces.push_back({number, stamp}); }
  // The stamp of a picture, or a place between the stamps of its neighbours.
  int64_t At(int64_t number) const;
  // The stamp of the first picture after this number; none if no such picture is known.
  std::optional<int64_t> After(int64_t number) const;
  // Numbers below this one will not be asked for again.
  void ForgetBefore(int64_t number);

  // Pictures that are known.
  size_t Size() const { return mPlaces.size(); }

 private:
  struct Place {
    int64_t number;
    int64_t stamp;
  };

  std::deque<Place> mPlaces;
  int64_t mFrameTicks = 1;
};

}  // namespace codec
