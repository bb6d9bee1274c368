// SPDX-License-Identifier: MIT
#include "tests/support/edit_lists.h"

#include <cmath>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "tests/support/command.h"

namespace test_support {
namespace {

constexpr size_t kHeader = 8;  // size and name of a box
constexpr size_t kWord = 4;

uint32_t Read(const std::string& bytes, size_t at) {
  uint32_t value = 0;
  for (size_t i = 0; i < kWord; ++i) value = value << 8 | static_cast<uint8_t>(bytes.at(at + i));
  return value;
}

std::string Written(uint32_t value) {
  std::string bytes;
  for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(value >> shift & 0xff);
  return bytes;
}

std::string Box(const std::string& name, const std::string& content) {
  return Written(static_cast<uint32_t>(content.size() + kHeader)) + name + content;
}

// The content of the first box of this name in the content of another one; empty if there is none.
std::string Inner(const std::string& content, const std::string& name) {
  for (size_t at = 0; at + kHeader <= content.size(); at += Read(content, at)) {
    if (content.compare(at + kWord, kWord, name) == 0) {
      return content.substr(at + kHeader, Read(content, at) - kHeader);
    }
  }
  return {};
}

// Ticks a second, of the box of a movie or of a medium.
uint32_t TimeScale(const std::string& header) {
  constexpr size_t kBeforeScale = 12;
  return Read(header, kBeforeScale);
}

std::string Edited(const std::string& track, uint32_t movieScale, const std::vector<Edit>& edits) {
  constexpr size_t kBeforeMediaTime = 12;
  const std::string old = Inner(Inner(track, "edts"), "elst");
  if (old.empty()) throw std::runtime_error("a track has no edit list");
  // Where the track begins: what it was primed with comes before.
  const uint32_t begin = Read(old, kBeforeMediaTime);
  const uint32_t scale = TimeScale(Inner(Inner(track, "mdia"), "mdhd"));
  std::string list = Written(0) + Written(static_cast<uint32_t>(edits.size()));
  for (const Edit& edit : edits) {
    list += Written(static_cast<uint32_t>(std::lround(edit.length * movieScale)));
    list += edit.from < 0 ? Written(UINT32_MAX)
                          : Written(begin + static_cast<uint32_t>(std::lround(edit.from * scale)));
    list += Written(1 << 16);
  }
  return Box("edts", Box("elst", list));
}

// The boxes of a content, with those of one name replaced by what is made of them.
template <typename Make>
std::string Replaced(const std::string& content, const std::string& name, const Make& make) {
  std::string all;
  for (size_t at = 0; at + kHeader <= content.size(); at += Read(content, at)) {
    const std::string box = content.substr(at, Read(content, at));
    all += box.compare(kWord, kWord, name) == 0 ? make(box.substr(kHeader)) : box;
  }
  return all;
}

// A copy of a file of ffmpeg's with what is made of the content of its moov.
template <typename Make>
std::string WithMovie(const std::string& path, const std::string& name, const Make& make) {
  std::ifstream in(path, std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (bytes.find("moov") < bytes.find("mdat")) throw std::runtime_error("moov comes first");
  const std::string output = ScratchPath(name);
  std::ofstream(output, std::ios::binary) << Replaced(
      bytes, "moov", [&](const std::string& movie) { return Box("moov", make(movie)); });
  return output;
}

}  // namespace

std::string WithEdits(const std::string& path, const std::string& name,
                      const std::vector<Edit>& edits) {
  return WithMovie(path, name, [&](const std::string& movie) {
    const uint32_t movieScale = TimeScale(Inner(movie, "mvhd"));
    return Replaced(movie, "trak", [&](const std::string& track) {
      return Box("trak", Replaced(track, "edts", [&](const std::string& /*old*/) {
                   return Edited(track, movieScale, edits);
                 }));
    });
  });
}

std::string WithLength(const std::string& path, const std::string& name, double seconds) {
  constexpr size_t kBeforeLength = 16;
  return WithMovie(path, name, [&](const std::string& movie) {
    return Replaced(movie, "mvhd", [&](std::string header) {
      const auto ticks = static_cast<uint32_t>(std::lround(seconds * TimeScale(header)));
      return Box("mvhd", header.replace(kBeforeLength, kWord, Written(ticks)));
    });
  });
}

}  // namespace test_support
