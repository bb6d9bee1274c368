// SPDX-License-Identifier: MIT
#include "reverse/job_range.h"

#include "base/log.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::Reverse";

}  // namespace

int JobRange::FitInto(double duration) {
  if (!(mStart < duration)) {
    log_error(kTag, "error reverse start position");
    return -1;
  }
  if (mStart < 0) {
    log_info(kTag, "error reverse start position, use default 0");
    mStart = 0;
  }
  if (mEnd <= 0) {
    log_info(kTag, "error reverse length, use start to end clip");
    mEnd = duration;
  }
  if (mEnd > duration) {
    log_info(kTag, "reverse length overflow");
    mEnd = duration;
  }
  if (!mRefusesEmpty || mStart < mEnd) return 0;
  log_error(kTag, "the range ends at %.3f s, which is not after its start at %.3f s", mEnd, mStart);
  return -1;
}

}  // namespace codec
