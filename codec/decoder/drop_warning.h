// SPDX-License-Identifier: MIT
// Warns of the first of several dropped frames in a row. A stream that changes in its middle would
// fill the log otherwise.
#pragma once

#include <string>

#include "base/log.h"
#include "codec/decoder/decoder_tag.h"

namespace codec {

class DropWarning {
 public:
  // The frame is dropped because of `reason`.
  void Dropped(const std::string& reason) {
    if (!mInRun) log_warn(kDecoderTag, "%s, dropped", reason.c_str());
    mInRun = true;
  }
  // A frame was delivered: the next drop starts a new run.
  void Delivered() { mInRun = false; }

 private:
  bool mInRun = false;
};

}  // namespace codec
