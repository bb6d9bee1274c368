// SPDX-License-Identifier: MIT
// The keys of an output that is encoded as its source is.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "codec/decoder/source_form.h"

namespace codec {

// Keys with their values. The lists are apart, so that who wants another encoder can leave out what
// is meant for the source's.
struct LikeSourceKeys {
  using List = std::vector<std::pair<std::string, std::string>>;
  List video;    // encoder and profile
  List quality;  // of the pictures
  List sound;    // encoder and bit rate
  List always;   // for any encoder
  // One sentence without a stop for a codec that cannot be encoded; empty if it can.
  std::string missingVideo;
  std::string missingSound;
};

// The encoder of the source's own codec if there is one in software, else the usual one of a
// reversal. Pictures are encoded without loss if the source's are, or nearly so. Pixel format and
// sample rate follow the source by themselves with these keys.
LikeSourceKeys LikeSource(const SourceForm& source);

}  // namespace codec
