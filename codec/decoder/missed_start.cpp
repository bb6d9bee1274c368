// SPDX-License-Identifier: MIT
#include "codec/decoder/missed_start.h"

#include <limits>

#include "base/log.h"
#include "codec/decoder/decoder_tag.h"
#include "codec/decoder/picture_scan.h"

namespace codec {

int64_t MissedStart::Count(const InputFile& input, double end) const {
  if (!IsAny()) return 0;
  // Nobody knows what the zero of the clip would be with these pictures, so they have no begin.
  PictureScan scan(-std::numeric_limits<double>::infinity(), end);
  scan.EndBefore(mEarliest);
  if (scan.Read(input.Path(), input.Joined()) != 0) return 0;
  if (scan.Pictures() > 0) {
    log_warn(kDecoderTag, "%s: no way by time to its first %lld pictures", input.Path().c_str(),
             static_cast<long long>(scan.Pictures()));
  }
  return scan.Pictures();
}

}  // namespace codec
