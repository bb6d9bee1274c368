// SPDX-License-Identifier: MIT
#include "tests/reverse/literal_walk.h"

#include <algorithm>
#include <functional>
#include <iomanip>
#include <string_view>

#include "codec/decoder/ffmpeg_decoder.h"

namespace codec {

std::ostream& operator<<(std::ostream& out, const WalkedFrame& frame) {
  return out << (frame.type == kVideoFrame ? "picture" : "sound") << " at " << std::setprecision(9)
             << frame.pts << " s, size " << frame.size << ", hash " << std::hex << frame.hash
             << std::dec;
}

size_t HashBytes(const uint8_t* bytes, size_t count) {
  return std::hash<std::string_view>()({reinterpret_cast<const char*>(bytes), count});
}

WalkedRange WalkedRange::In(double duration) const {
  return {std::max(start, 0.0), end <= 0 ? duration : std::min(end, duration)};
}

Steps WalkLiterally(LiteralDecoder* decoder, const WalkedRange& asked) {
  constexpr double kStep = 1.0;
  const auto [start, end] = asked.In(decoder->Duration());
  double cursor = end;
  double videoBoundary = end;
  double audioBoundary = end;
  Steps steps;
  while (start < cursor) {
    const double from = std::max(cursor - kStep, 0.0);
    decoder->Seek(from);
    bool isVideoDone = false;
    bool isAudioDone = !decoder->HasAudio();
    std::vector<WalkedFrame> read;
    LiteralFrame frame;
    while (!(isVideoDone && isAudioDone) && decoder->Receive(&frame) == 0) {
      const bool isVideo = frame.type == kVideoFrame;
      if (frame.pts >= (isVideo ? videoBoundary : audioBoundary)) {
        (isVideo ? isVideoDone : isAudioDone) = true;
      } else {
        read.push_back(
            {frame.type, frame.size, frame.pts, HashBytes(frame.bytes.data(), frame.bytes.size())});
      }
    }
    WalkedStep step;
    for (auto kept = read.rbegin(); kept != read.rend(); ++kept) {
      if (kept->pts < start || kept->pts > end) continue;
      (kept->type == kVideoFrame ? videoBoundary : audioBoundary) = kept->pts;
      step.frames.push_back(*kept);
    }
    cursor = std::min(from, videoBoundary);
    step.cursor = cursor;
    steps.push_back(std::move(step));
  }
  return steps;
}

}  // namespace codec
