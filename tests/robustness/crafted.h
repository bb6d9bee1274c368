// SPDX-License-Identifier: MIT
// Inputs that no encoder makes: made of bytes, or of a sound file with some of its fields replaced.
#pragma once

#include <cstdint>
#include <string>

namespace test_support {

// A RIFF header that promises this many streams, none of which has a packet.
std::string AviOfManyStreams(int count);

// An MP4 whose index stands behind its data, with its first track this many times: all of them
// show the same packets.
std::string Mp4OfManyTracks(const std::string& mp4, int count);

// A transport stream whose tables promise this many video streams, at most 8,000, and no packet of
// any.
std::string TransportOfManyStreams(int count);

// Writes a number, `bytes` long, at `offset` behind each place where `mark` stands. Throws when
// there is none.
enum class Order { kBigEndian, kLittleEndian };
std::string WithField(std::string file, const std::string& mark, size_t offset, int bytes,
                      uint64_t value, Order order);

}  // namespace test_support
