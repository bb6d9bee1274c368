// SPDX-License-Identifier: MIT
// Clips whose fields were taken one after the other, as cameras of broadcasters do.
#pragma once

#include <string>
#include <vector>

namespace test_support {

constexpr int kFieldClipPictures = 12;

struct FieldClip {
  const char* name;  // of the file
  bool isTopFirst;
  const char* coding;  // ffmpeg's words
};

// MPEG-2, H.264, DV and others in the containers that they come in.
const std::vector<FieldClip>& FieldClips();

// The clip of `kFieldClipPictures` pictures, 720x576 and 25 a second, without sound; each of its
// fields shows a moment of its own.
std::string MakeFieldClip(const FieldClip& clip);

// All fields of a file in the order in which they are shown, one a picture, losslessly. `before`:
// filters that come first.
std::string SeparatedFields(const std::string& path, const std::string& name,
                            const std::string& before = "null");

}  // namespace test_support
