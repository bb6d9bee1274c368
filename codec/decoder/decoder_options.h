// How an input is decoded.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "codec/decoder/replay_policy.h"

namespace codec {

// What is known of an input's pictures. 0 where it is not.
struct PictureFacts {
  int width = 0;  // pixels, as the next one
  int height = 0;
  int64_t bytes = 0;  // of one packed picture
  int held = 0;       // pictures that the decoder may hold beside the one that it decodes
  // Whether the streams have been probed, which decodes pictures. Before, the rest is a guess.
  bool isProbed = false;
  double frameRate = 0;  // frames per second
  double seconds = 0;    // length of the input
};

// What a decoder may take.
struct DecoderShare {
  // Decoder threads; 0 chooses by the machine.
  int threads = 0;
  // Bytes of decoded pictures that may be kept between backward seeks; 0 for none.
  int64_t replayBudget = DefaultReplayBudget();
};

// What a decoder does beyond reading and seeking; all of it is off unless it is switched on.
struct DecoderAdditions {
  // The picture that a seek of mode 3 meets is not passed by: ReceiveFrame delivers it first.
  bool keepsMetPicture = false;
  // Pictures of odd width or height lose their last column or row.
  bool cutsToEvenSize = false;
  // A rate below one picture a second is told as it is.
  bool tellsLowRates = false;
  // The length of an input that does not tell it is found by reading all of its packets.
  bool scansLength = false;
};

// The share changes nothing in what comes out of a decoder.
struct DecoderOptions : DecoderShare {
  DecoderAdditions additions;

  // Asked as soon as the input's pictures are known, which may be twice: when the file's header has
  // named their size, and when its streams have been probed. The last answer replaces the share
  // above; without one the input is not opened. Not asked where it is empty, or without video.
  std::function<std::optional<DecoderShare>(const PictureFacts&)> shareFor;
};

}  // namespace codec
