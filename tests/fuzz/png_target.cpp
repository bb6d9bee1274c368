// SPDX-License-Identifier: MIT
#include <string>

#include <zlib.h>

#include "base/log_backend.h"
#include "codec/filter/logo_loader.h"
#include "tests/fuzz/memory_file.h"
#include "tests/fuzz/require.h"
#include "tests/fuzz/targets.h"

namespace fuzz {
namespace {

constexpr size_t kSignatureBytes = 8;
constexpr size_t kWordBytes = 4;

uint32_t ReadWord(const std::string& bytes, size_t at) {
  uint32_t word = 0;
  for (size_t i = 0; i < kWordBytes; ++i) word = word << 8 | static_cast<uint8_t>(bytes[at + i]);
  return word;
}

void WriteWord(uint32_t word, size_t at, std::string* bytes) {
  for (size_t i = 0; i < kWordBytes; ++i) {
    (*bytes)[at + i] = static_cast<char>(word >> (8 * (kWordBytes - 1 - i)));
  }
}

// Without this hardly a change would get past the check sums.
void MendChecksums(std::string* bytes) {
  size_t at = kSignatureBytes;
  while (bytes->size() >= at + 3 * kWordBytes) {
    const size_t length = ReadWord(*bytes, at);
    const size_t name = at + kWordBytes;
    const size_t checksum = name + kWordBytes + length;
    if (checksum + kWordBytes > bytes->size()) return;
    const auto* const begin = reinterpret_cast<const uint8_t*>(bytes->data()) + name;
    WriteWord(static_cast<uint32_t>(crc32(0, begin, static_cast<uInt>(kWordBytes + length))),
              checksum, bytes);
    at = checksum + kWordBytes;
  }
}

}  // namespace

void PngTarget(const uint8_t* data, size_t size) {
  LogBackend()->set_level(spdlog::level::off);
  std::string bytes(reinterpret_cast<const char*>(data), size);
  if (!bytes.empty() && bytes.back() % 2 == 0) MendChecksums(&bytes);
  const MemoryFile file(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
  codec::Logo logo;
  if (codec::LoadLogo(file.Path().c_str(), &logo) != 0) {
    Require(logo.pixels == nullptr && logo.width == 0, "a failed load changes nothing");
    return;
  }
  Require(logo.width > 0 && logo.height > 0, "a logo has a size");
  if (logo.colorType != codec::kPngRgb) {
    Require(logo.pixels == nullptr, "only colour type 2 has pixels");
    return;
  }
  const size_t count = static_cast<size_t>(logo.width) * static_cast<size_t>(logo.height) * 3;
  // Reads the last pixel, which the sanitizer checks.
  const std::string last(reinterpret_cast<const char*>(logo.pixels.get()) + count - 3, 3);
  Require(last.size() == 3, "the pixels are all there");
}

}  // namespace fuzz
