// SPDX-License-Identifier: MIT
// What the fuzzers feed with bytes. Each target takes any bytes, checks what its part of the system
// promises of them, and aborts when the promise is broken.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace fuzz {

// A PNG file, with the check sums of its chunks put right unless the last byte is odd.
void PngTarget(const uint8_t* data, size_t size);
// An INI file.
void IniTarget(const uint8_t* data, size_t size);
// Operations on the parameter bag.
void FormatTarget(const uint8_t* data, size_t size);
// A media file, sought in and read in every way that the decoder knows. With all that the tool
// switches on if it has an odd number of bytes.
void DecoderTarget(const uint8_t* data, size_t size);

struct Target {
  const char* name;
  void (*run)(const uint8_t* data, size_t size);
};
constexpr std::array<Target, 4> kTargets = {{
    {"png", &PngTarget},
    {"ini", &IniTarget},
    {"format", &FormatTarget},
    {"decoder", &DecoderTarget},
}};

}  // namespace fuzz
