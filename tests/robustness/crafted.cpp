// SPDX-License-Identifier: MIT
#include "tests/robustness/crafted.h"

#include <algorithm>
#include <stdexcept>

namespace test_support {
namespace {

std::string Number(uint64_t value, int bytes, Order order) {
  std::string text;
  for (int i = 0; i < bytes; ++i) text.push_back(static_cast<char>(value >> (8 * i)));
  if (order == Order::kBigEndian) std::reverse(text.begin(), text.end());
  return text;
}

std::string Little(uint64_t value, int bytes) { return Number(value, bytes, Order::kLittleEndian); }
std::string Big(uint64_t value, int bytes) { return Number(value, bytes, Order::kBigEndian); }

std::string RiffChunk(const std::string& id, const std::string& body) {
  return id + Little(body.size(), 4) + body;
}

struct Box {
  size_t begin;
  size_t size;
};

// The first box of this name.
Box FindBox(const std::string& mp4, const std::string& name) {
  const size_t at = mp4.find(name);
  if (at == std::string::npos || at < 4) throw std::runtime_error("no " + name);
  uint64_t size = 0;
  for (size_t i = at - 4; i < at; ++i) size = size << 8 | static_cast<uint8_t>(mp4[i]);
  return {at - 4, static_cast<size_t>(size)};
}

uint32_t TransportCrc(const std::string& bytes) {
  uint32_t crc = 0xffffffff;
  for (const char byte : bytes) {
    crc ^= static_cast<uint32_t>(static_cast<uint8_t>(byte)) << 24;
    for (int bit = 0; bit < 8; ++bit) crc = (crc << 1) ^ ((crc >> 31) * 0x04c11db7U);
  }
  return crc;
}

// A table of one section, cut into packets.
std::string Table(int pid, int tableId, int id, const std::string& body) {
  constexpr size_t kPacketBytes = 188;
  std::string section = Big(static_cast<uint64_t>(tableId), 1) +
                        Big(0xb000 | (body.size() + 9), 2) + Big(static_cast<uint64_t>(id), 2) +
                        std::string("\xc1\0\0", 3) + body;
  section = std::string(1, '\0') + section + Big(TransportCrc(section), 4);
  std::string packets;
  for (size_t at = 0; at < section.size(); at += kPacketBytes - 4) {
    std::string packet(1, '\x47');
    packet += Big((at == 0 ? 0x4000U : 0U) | static_cast<unsigned>(pid), 2);
    packet += Big(0x10 | (at / (kPacketBytes - 4) % 16), 1);
    packet += section.substr(at, kPacketBytes - 4);
    packet.resize(kPacketBytes, '\xff');
    packets += packet;
  }
  return packets;
}

}  // namespace

std::string AviOfManyStreams(int count) {
  const std::string avih = Little(40000, 4) + std::string(20, '\0') +
                           Little(static_cast<uint64_t>(count), 4) + Little(0, 4) + Little(160, 4) +
                           Little(90, 4) + std::string(16, '\0');
  const std::string strh = "vidsMJPG" + std::string(12, '\0') + Little(1, 4) + Little(25, 4) +
                           std::string(4, '\0') + Little(25, 4) + std::string(20, '\0');
  const std::string strf = Little(40, 4) + Little(160, 4) + Little(90, 4) + Little(1, 2) +
                           Little(24, 2) + "MJPG" + std::string(20, '\0');
  const std::string one =
      RiffChunk("LIST", "strl" + RiffChunk("strh", strh) + RiffChunk("strf", strf));
  std::string header = "hdrl" + RiffChunk("avih", avih);
  for (int i = 0; i < count; ++i) header += one;
  return "RIFF" + Little(0x7fffffff, 4) + "AVI " + RiffChunk("LIST", header) +
         RiffChunk("LIST", "movi" + RiffChunk("00dc", std::string(16, '\0')));
}

std::string Mp4OfManyTracks(const std::string& mp4, int count) {
  const Box index = FindBox(mp4, "moov");
  if (index.begin < FindBox(mp4, "mdat").begin) throw std::runtime_error("index in front");
  const Box track = FindBox(mp4, "trak");
  std::string tracks;
  for (int i = 1; i < count; ++i) tracks += mp4.substr(track.begin, track.size);
  std::string many = mp4;
  many.insert(track.begin, tracks);
  return many.replace(index.begin, 4, Big(index.size + tracks.size(), 4));
}

std::string TransportOfManyStreams(int count) {
  constexpr int kStreamsOfProgram = 200;
  constexpr int kFirstPid = 32;
  const int programs = (count + kStreamsOfProgram - 1) / kStreamsOfProgram;
  std::string list;
  std::string tables;
  for (int program = 0; program < programs; ++program) {
    const int pid = kFirstPid + program;
    list +=
        Big(static_cast<uint64_t>(program + 1), 2) + Big(0xe000U | static_cast<unsigned>(pid), 2);
    const auto streamPid = [&](int n) {
      return 0xe000U |
             static_cast<unsigned>(kFirstPid + programs + program * kStreamsOfProgram + n);
    };
    std::string streams = Big(streamPid(0), 2) + Big(0xf000, 2);
    for (int i = 0; i < std::min(kStreamsOfProgram, count - program * kStreamsOfProgram); ++i) {
      streams += '\x1b';
      streams += Big(streamPid(i), 2) + Big(0xf000, 2);
    }
    tables += Table(pid, 2, program + 1, streams);
  }
  const std::string start = Table(0, 0, 1, list) + tables;
  return start + start + start;
}

std::string WithField(std::string file, const std::string& mark, size_t offset, int bytes,
                      uint64_t value, Order order) {
  size_t at = file.find(mark);
  if (at == std::string::npos) throw std::runtime_error("no " + mark);
  for (; at != std::string::npos; at = file.find(mark, at + 1)) {
    const size_t field = at + mark.size() + offset;
    if (field + static_cast<size_t>(bytes) > file.size()) break;
    file.replace(field, static_cast<size_t>(bytes), Number(value, bytes, order));
  }
  return file;
}

}  // namespace test_support
