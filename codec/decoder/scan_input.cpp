// SPDX-License-Identifier: MIT
#include "codec/decoder/scan_input.h"

#include <utility>

#include "base/log.h"
#include "codec/decoder/decoder_tag.h"

namespace codec {

int ScanInput::Open(const std::string& path, int soundStream,
                    const std::shared_ptr<const JoinedParts>& parts) {
  return file.Open(path) == 0 ? Prepare(soundStream, parts) : -1;
}

int ScanInput::Adopt(const std::string& path, ffmpeg::UniqueInput context, int soundStream,
                     const std::shared_ptr<const JoinedParts>& parts) {
  if (context == nullptr) return -1;
  file.Adopt(path, std::move(context));
  return Prepare(soundStream, parts);
}

int ScanInput::Prepare(int soundStream, const std::shared_ptr<const JoinedParts>& parts) {
  packet.reset(av_packet_alloc());
  if (packet == nullptr) {
    log_error(kDecoderTag, "Could not allocate packet");
    return -1;
  }
  file.Join(parts);
  file.SkipHoles();
  const int best = av_find_best_stream(file.Context(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  for (int i = 0; i < static_cast<int>(file.Context()->nb_streams); ++i) {
    const AVStream* const stream = file.Context()->streams[i];
    if (i == best) {
      video = stream;
    } else if (i == soundStream) {
      sound = stream;
    } else {
      file.LeaveOut(i);
    }
  }
  return 0;
}

}  // namespace codec
