// SPDX-License-Identifier: MIT
// How pictures have to be turned and mirrored to be seen as they were meant.
#pragma once

#include <cstdint>

namespace codec {

// The numbers that EXIF gives to the eight ways: what has to be done to a picture, mirroring first.
enum Orientation : int32_t {
  kUpright = 1,
  kMirror = 2,     // left and right
  kTurn180 = 3,    // all turns clockwise
  kFlip = 4,       // top and bottom
  kTranspose = 5,  // mirrored, then turned by 270 degrees
  kTurn90 = 6,
  kTransverse = 7,  // mirrored, then turned by 90 degrees
  kTurn270 = 8,
};

// The orientation that a display matrix asks for; 0 where it asks for anything else, such as a turn
// by half a quarter. `matrix`: nine numbers, of which the upper left four count, in the order and
// the scale of MP4.
int OrientationOf(const int32_t* matrix);

// The orientation for a clockwise turn in degrees; kUpright unless it is 90, 180 or 270.
int OrientationOfTurn(double degrees);

// The clockwise degrees of an orientation that does not mirror; -1 for others.
int TurnOf(int orientation);

// Whether width and height change places.
constexpr bool SwapsSides(int orientation) {
  return orientation >= kTranspose && orientation <= kTurn270;
}

// Brings a packed "yuv420p" picture of even sides into `dst`; any other number writes nothing.
// `width` and `height` are the source's.
void OrientYuv420p(const uint8_t* src, uint8_t* dst, int width, int height, int orientation);

}  // namespace codec
