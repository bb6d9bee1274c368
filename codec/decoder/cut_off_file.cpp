// SPDX-License-Identifier: MIT
#include "codec/decoder/cut_off_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <limits>
#include <optional>

#include "base/descriptor.h"
#include "base/local_file.h"
#include "codec/decoder/input_file.h"
#include "codec/ffmpeg/compat_decoding.h"

namespace codec {
namespace {

// A damaged file may have one element after another without any bytes.
constexpr int kMostElements = 100000;

// Tags of four letters, as a number whose first letter has the highest digits.
constexpr uint64_t Tag(const char (&letters)[5]) {
  uint64_t tag = 0;
  for (int i = 0; i < 4; ++i) tag = tag << 8 | static_cast<unsigned char>(letters[i]);
  return tag;
}

// The bytes of a file, at any place.
class FileBytes {
 public:
  explicit FileBytes(const std::string& path)
      : mFile(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
    struct stat status {};
    if (!mFile.IsOpen() || fstat(mFile.Number(), &status) != 0) return;
    if (S_ISREG(status.st_mode)) mSize = static_cast<int64_t>(status.st_size);
  }

  int64_t Size() const { return mSize; }
  // A number of up to eight bytes, the highest first. Nothing if the file ends before.
  std::optional<uint64_t> Big(int64_t at, int bytes) const {
    std::array<uint8_t, 8> read{};
    const auto count = static_cast<size_t>(bytes);
    if (at < 0 || pread(mFile.Number(), read.data(), count, at) != bytes) return std::nullopt;
    uint64_t number = 0;
    for (size_t i = 0; i < count; ++i) number = number << 8 | read[i];
    return number;
  }
  // The same of four bytes, the lowest first.
  std::optional<uint64_t> Little(int64_t at) const {
    const std::optional<uint64_t> big = Big(at, 4);
    if (!big) return std::nullopt;
    return (*big & 0xFF) << 24 | (*big & 0xFF00) << 8 | (*big >> 8 & 0xFF00) | *big >> 24;
  }

 private:
  but::Descriptor mFile;
  int64_t mSize = 0;
};

// A part of a container: its kind, and where its content lies.
struct Element {
  uint64_t kind = 0;
  int64_t begin = 0;
  int64_t end = 0;  // of the content; below `begin` if it is not told
};

// Where content of this size ends; below `begin` if no file is so large.
int64_t EndOf(int64_t begin, uint64_t size) {
  const auto room = static_cast<uint64_t>(std::numeric_limits<int64_t>::max() - begin);
  return size < room ? begin + static_cast<int64_t>(size) : -1;
}

// A number whose first byte begins with as many zeros as bytes follow. `mark` keeps the bit after
// these zeros, as in the kinds of elements. Nothing if the file ends before.
struct VariableNumber {
  uint64_t value = 0;
  int bytes = 0;
};
std::optional<VariableNumber> ReadVariable(const FileBytes& file, int64_t at, bool mark) {
  const std::optional<uint64_t> first = file.Big(at, 1);
  if (!first || *first == 0) return std::nullopt;
  int bytes = 1;
  while ((*first << bytes & 0x100) == 0) ++bytes;
  const std::optional<uint64_t> whole = file.Big(at, bytes);
  if (!whole) return std::nullopt;
  const uint64_t markBit = uint64_t{1} << (7 * bytes);
  return VariableNumber{mark ? *whole : *whole & (markBit - 1), bytes};
}

std::optional<Element> ReadMatroska(const FileBytes& file, int64_t at) {
  const std::optional<VariableNumber> kind = ReadVariable(file, at, true);
  if (!kind) return std::nullopt;
  const std::optional<VariableNumber> size = ReadVariable(file, at + kind->bytes, false);
  if (!size) return std::nullopt;
  const int64_t begin = at + kind->bytes + size->bytes;
  const uint64_t unknown = (uint64_t{1} << (7 * size->bytes)) - 1;
  return Element{kind->value, begin, size->value == unknown ? -1 : EndOf(begin, size->value)};
}

// Blank unless the file ends in a cluster of packets: between two elements, the index may be all
// that is missing.
int64_t ToldByMatroska(const FileBytes& file) {
  constexpr uint64_t kHeader = 0x1A45DFA3;
  constexpr uint64_t kSegment = 0x18538067;
  constexpr uint64_t kCluster = 0x1F43B675;
  const std::optional<Element> header = ReadMatroska(file, 0);
  if (!header || header->kind != kHeader || header->end < header->begin) return 0;
  const std::optional<Element> segment = ReadMatroska(file, header->end);
  if (!segment || segment->kind != kSegment || segment->end <= file.Size()) return 0;
  int64_t at = segment->begin;
  for (int i = 0; i < kMostElements && at < file.Size(); ++i) {
    const std::optional<VariableNumber> kind = ReadVariable(file, at, true);
    if (!kind) return 0;
    const std::optional<Element> element = ReadMatroska(file, at);
    const bool isOpen = !element || element->end < element->begin || element->end > file.Size();
    if (isOpen) return kind->value == kCluster ? segment->end : 0;
    at = element->end;
  }
  return 0;
}

std::optional<Element> ReadRiff(const FileBytes& file, int64_t at) {
  constexpr uint64_t kUnknown = 0xFFFFFFFF;
  const std::optional<uint64_t> kind = file.Big(at, 4);
  const std::optional<uint64_t> size = file.Little(at + 4);
  if (!kind || !size) return std::nullopt;
  return Element{*kind, at + 8, *size == 0 || *size == kUnknown ? -1 : EndOf(at + 8, *size)};
}

// The list of packets in a part of an AVI file. Nothing if there is none.
std::optional<Element> FindPackets(const FileBytes& file, const Element& part) {
  constexpr int kKindBytes = 4;
  int64_t at = part.begin + kKindBytes;
  for (int i = 0; i < kMostElements && at < part.end; ++i) {
    const std::optional<Element> element = ReadRiff(file, at);
    if (!element) return std::nullopt;
    const bool isList = element->kind == Tag("LIST");
    if (isList && file.Big(element->begin, kKindBytes) == Tag("movi")) return element;
    if (element->end < element->begin) return std::nullopt;
    at = element->end + element->end % 2;
  }
  return std::nullopt;
}

// Large files have several parts, one after another. The byte that fills up an odd size is not
// always written.
int64_t ToldByAvi(const FileBytes& file) {
  int64_t at = 0;
  for (int i = 0; i < kMostElements; ++i) {
    const std::optional<Element> part = ReadRiff(file, at);
    if (!part || part->kind != Tag("RIFF") || part->end < part->begin) return 0;
    const std::optional<uint64_t> kind = file.Big(part->begin, 4);
    if (kind != (i == 0 ? Tag("AVI ") : Tag("AVIX"))) return 0;
    const std::optional<Element> packets = FindPackets(file, *part);
    if (packets && packets->end > file.Size() + 1) return std::max(packets->end, part->end);
    at = part->end + part->end % 2;
  }
  return 0;
}

// A size of 1 stands for one of eight bytes after the kind, and 0 for all that follows.
std::optional<Element> ReadBox(const FileBytes& file, int64_t at) {
  const std::optional<uint64_t> size = file.Big(at, 4);
  const std::optional<uint64_t> kind = file.Big(at + 4, 4);
  if (!size || !kind) return std::nullopt;
  const std::optional<uint64_t> whole = *size == 1 ? file.Big(at + 8, 8) : size;
  if (!whole) return std::nullopt;
  const int64_t begin = at + (*size == 1 ? 16 : 8);
  return Element{*kind, begin, *whole == 0 ? -1 : EndOf(at, *whole)};
}

// Whether the file ends in the box of packets of an MP4 file.
bool EndsInPacketsOfMp4(const FileBytes& file) {
  int64_t at = 0;
  for (int i = 0; i < kMostElements; ++i) {
    const std::optional<Element> box = ReadBox(file, at);
    if (!box || box->end < box->begin || box->kind == Tag("moof")) return false;
    if (box->end > file.Size()) return box->kind == Tag("mdat");
    at = box->end;
  }
  return false;
}

// Up to the end of the last packet of pictures or sound that the index lists. The box around them
// may be larger.
int64_t ToldByIndex(const std::string& path) {
  InputFile input;
  if (input.OpenHeader(path) != 0) return 0;
  int64_t end = 0;
  for (unsigned i = 0; i < input.Context()->nb_streams; ++i) {
    AVStream* const stream = input.Context()->streams[i];
    const AVMediaType type = stream->codecpar->codec_type;
    if (type != AVMEDIA_TYPE_VIDEO && type != AVMEDIA_TYPE_AUDIO) continue;
    end = std::max(end, ffmpeg::IndexedBytes(stream));
  }
  return end;
}

}  // namespace

FileExtent ReadExtent(const std::string& path) {
  const FileBytes file(but::LocalPath(path));
  int64_t told = ToldByMatroska(file);
  if (told == 0) told = ToldByAvi(file);
  if (told == 0 && EndsInPacketsOfMp4(file)) told = ToldByIndex(path);
  return told > file.Size() ? FileExtent{told, file.Size()} : FileExtent{};
}

}  // namespace codec
