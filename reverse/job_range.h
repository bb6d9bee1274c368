// SPDX-License-Identifier: MIT
// The range of a clip that a job reverses.
#pragma once

namespace codec {

// As the caller wants it, until the length of the clip is known; then as it lies in the clip. Times
// are in seconds.
class JobRange {
 public:
  // [start, end); an end of 0 or less stands for the end of the clip.
  JobRange(double start, double end) : mStart(start), mEnd(end) {}

  // Whether an end that is not after the start is an error. Off unless set: then the range is
  // empty.
  void RefuseEmpty(bool refuses) { mRefusesEmpty = refuses; }
  // Brings the range inside a clip of this length. 0, or -1 after an error line if the range begins
  // at or after the clip's end, or is refused.
  int FitInto(double duration);

  double Start() const { return mStart; }
  double End() const { return mEnd; }
  // Below 0 if the end lies before the start.
  double Seconds() const { return mEnd - mStart; }

 private:
  double mStart;
  double mEnd;
  bool mRefusesEmpty = false;
};

}  // namespace codec
