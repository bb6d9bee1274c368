// SPDX-License-Identifier: MIT
// How an input is decoded.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>

namespace codec {

// What is known of an input's pictures. 0 stands for unknown.
struct PictureFacts {
  int width = 0;      // pixels
  int height = 0;     // the same
  int64_t bytes = 0;  // of one packed picture
  int held = 0;       // pictures that the decoder may hold beside the present one
  // Whether the streams have been probed, which decodes pictures. Before that, all other members
  // are guesses.
  bool isProbed = false;
  double frameRate = 0;    // frames per second
  double seconds = 0;      // length of the input
  bool hasFields = false;  // the header says that pictures are interlaced
};

// How many bytes of pictures are kept unless the caller says: the smaller of 1 GiB and an eighth of
// the machine's memory.
int64_t DefaultReplayBudget();

// What a decoder may take.
struct DecoderShare {
  // Decoder threads; 0 chooses by the machine.
  int threads = 0;
  // Bytes of decoded pictures that may be kept between backward seeks; 0 for none.
  int64_t replayBudget = DefaultReplayBudget();
};

// What becomes of an input whose clock restarts, because recordings were joined end to end.
enum class Restarts {
  kUnseen,   // nobody looks for restarts
  kRefused,  // the input is not opened
  kJoined,   // the parts are laid on one time line; not opened where that cannot be done
};

// What a decoder does beyond reading and seeking. Each member is off unless switched on.
struct DecoderAdditions {
  // ReceiveFrame first delivers the picture that a seek of mode 3 has met.
  bool keepsMetPicture = false;
  // Pictures of odd width or height lose their last column or row.
  bool cutsToEvenSize = false;
  // A rate below one picture a second is told, too.
  bool tellsLowRates = false;
  // If an input does not tell its length, or stamps begin late and the length may count from 0 or
  // from there, all of its packets are read to find it. Of others the packets from the last key
  // picture on are read: a picture may begin when the told length is over, and all packets may end
  // before.
  bool scansLength = false;
  // Pictures that begin long after the sound are looked for further into the file than FFmpeg does,
  // and video of an unknown codec is named as the reason why there is none.
  bool looksFurther = false;
  // Anything but kUnseen reads all packets of an input whose format allows restarts.
  Restarts restarts = Restarts::kUnseen;
  // Transparent pictures are laid over black, those of VP8 and VP9 included, whose transparency
  // another decoder than the usual one gives.
  bool laysOverBlack = false;
  // Pictures whose size or format changes in the stream are scaled and converted to the first ones,
  // with one warning, instead of being dropped.
  bool adaptsChanges = false;
  // Tags, languages and chapters are read.
  bool readsTags = false;
  // The loop filter is never skipped: all pictures are those that players show.
  bool keepsLoopFilter = false;
  // The distance of key pictures is not looked for, which only seeks of modes 1 and 2 need. If all
  // pictures are key pictures, the search reads the whole file.
  bool skipsKeyScan = false;
  // The shape of a pixel is what the container says, as players take it; that of the pictures
  // themselves counts if the container says nothing.
  bool asksContainerForShape = false;
  // A packet that the index places outside of the file is passed over, if later ones lie inside. It
  // ends the reading otherwise.
  bool skipsHoles = false;
  // In MPEG-PS and TS, decoding after a seek begins at a key packet with a stamp of its own, if
  // some packets have none and restarts are looked for. FFmpeg makes up the stamps of the others,
  // and other ones after each seek.
  bool landsOnStamps = false;
  // A file without a stream of sound is opened without an error line.
  bool expectsSilence = false;
  // The sound is the one that players play beside the pictures: that of their own programme. Sound
  // that cannot be decoded is passed over for other sound of this programme; PassedOver tells.
  bool choosesSound = false;
  // Sound that begins so late that FFmpeg's probe does not come to it is probed there. Found only
  // if restarts are looked for.
  bool findsLateSound = false;
};

// The share changes nothing in what comes out of a decoder.
struct DecoderOptions : DecoderShare {
  // What comes out of the decoder depends on these.
  DecoderAdditions additions;

  // Asked as soon as the size of the input's pictures is known. That may be twice: after the file's
  // header was read, and after its streams were probed. The last answer replaces the share above.
  // If the answer is nothing, the input is not opened. May be empty. Not asked if there is no
  // video.
  std::function<std::optional<DecoderShare>(const PictureFacts&)> shareFor;
};

}  // namespace codec
