// SPDX-License-Identifier: MIT
// The clips that sound is read from backward.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace codec {

struct SoundClip {
  const char* name;       // of the file
  const char* layout;     // of the sound
  int sampleRate;         // Hz
  const char* sound;      // ffmpeg's words for the sound: filters and encoder
  const char* container;  // its words for the pictures and the file
  bool lossless;          // every sample is to be equal

  friend void PrintTo(const SoundClip& clip, std::ostream* out) { *out << clip.name; }
};

const std::vector<SoundClip>& SoundClips();

// Seconds of sound that a clip is made of, if its words do not cut it.
constexpr int kSoundClipSeconds = 7;

// The path of the clip; makes it when it does not exist yet.
std::string PathOf(const SoundClip& clip);

// The file's name as that of a test.
std::string TestNameOf(std::string file);

}  // namespace codec
