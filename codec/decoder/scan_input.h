// SPDX-License-Identifier: MIT
// An input that is read for the stamps of its packets alone, whatever holes its index has.
#pragma once

#include <memory>
#include <string>

#include "codec/decoder/input_file.h"
#include "codec/ffmpeg/owned.h"

namespace codec {

struct ScanInput {
  InputFile file;
  ffmpeg::UniquePacket packet;      // scratch for who reads
  const AVStream* video = nullptr;  // the best one, as the next one owned by the file; null if none
  const AVStream* sound = nullptr;  // the one that was asked for

  // Opens a local file. Only the packets of the best video and of `soundStream` are read; below 0
  // for no sound. `parts` as for InputFile::Join. 0, or -1 with the reason logged.
  int Open(const std::string& path, int soundStream,
           const std::shared_ptr<const JoinedParts>& parts);
  // The same with a file that another object has opened.
  int Adopt(const std::string& path, ffmpeg::UniqueInput context, int soundStream,
            const std::shared_ptr<const JoinedParts>& parts);

 private:
  int Prepare(int soundStream, const std::shared_ptr<const JoinedParts>& parts);
};

}  // namespace codec
