// SPDX-License-Identifier: MIT
#include "codec/decoder/cut_off_file.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "tests/support/clips.h"
#include "tests/support/command.h"

namespace codec {
namespace {

using test_support::CommandResult;
using test_support::ScratchPath;

std::string Letters(uint64_t number, int bytes) {
  std::string text;
  for (int i = bytes - 1; i >= 0; --i) text += static_cast<char>(number >> (8 * i) & 0xFF);
  return text;
}

std::string Reversed(const std::string& text) { return {text.rbegin(), text.rend()}; }

std::string Content(size_t bytes) { return std::string(bytes, 'x'); }

// Elements of Matroska with a size of eight bytes.
std::string Ebml(const std::string& kind, const std::string& content) {
  return kind + "\x01" + Letters(content.size(), 7) + content;
}
const std::string kUnknownSize = "\x01\xFF\xFF\xFF\xFF\xFF\xFF\xFF";
const std::string kHeader = Ebml("\x1A\x45\xDF\xA3", Content(20));
const std::string kSegment = "\x18\x53\x80\x67";
const std::string kCluster = "\x1F\x43\xB6\x75";
const std::string kCues = "\x1C\x53\xBB\x6B";

std::string Chunk(const std::string& kind, const std::string& content) {
  return kind + Reversed(Letters(content.size(), 4)) + content;
}

std::string Box(const std::string& kind, const std::string& content) {
  return Letters(content.size() + 8, 4) + kind + content;
}

// What is told of the first bytes of a file.
FileExtent ExtentOf(const std::string& bytes, size_t held = std::string::npos) {
  const std::string path = ScratchPath("extent");
  std::ofstream(path, std::ios::binary) << bytes.substr(0, held);
  return ReadExtent(path);
}

int64_t MissingOf(const std::string& bytes, size_t cut) {
  return ExtentOf(bytes, bytes.size() - cut).Missing();
}

TEST(CutOffFile, SaysNothingOfOtherFiles) {
  EXPECT_EQ(ReadExtent(ScratchPath("nothing")).told, 0);
  EXPECT_EQ(ReadExtent("/dev/null").told, 0);
  EXPECT_EQ(ReadExtent(ScratchPath("")).told, 0);
  for (const std::string& bytes : {std::string(), Content(1), Content(100), std::string(100, 0),
                                   std::string(100, '\xFF'), std::string("RIFF")}) {
    EXPECT_EQ(ExtentOf(bytes).told, 0);
  }
}

TEST(CutOffFile, ReadsTheSizeOfAMatroskaSegment) {
  const std::string whole =
      kHeader + Ebml(kSegment, Ebml("\xEC", Content(9)) + Ebml(kCluster, Content(50)) +
                                   Ebml(kCluster, Content(40)) + Ebml(kCues, Content(30)));
  EXPECT_EQ(ExtentOf(whole).told, 0);
  EXPECT_EQ(ExtentOf(whole + Content(10)).told, 0);
  // In the last cluster, and between the parts of its head.
  constexpr size_t kCuesSize = 42;
  constexpr size_t kClusterSize = 52;
  for (const size_t cut : {kCuesSize + 1, kCuesSize + 40, kCuesSize + kClusterSize - 5}) {
    const FileExtent extent = ExtentOf(whole, whole.size() - cut);
    EXPECT_EQ(extent.told, static_cast<int64_t>(whole.size())) << cut;
    EXPECT_EQ(extent.held, static_cast<int64_t>(whole.size() - cut)) << cut;
  }
}

TEST(CutOffFile, DoesNotMissAnIndex) {
  const std::string matroska =
      kHeader + Ebml(kSegment, Ebml(kCluster, Content(50)) + Ebml(kCues, Content(30)));
  // In the index, in its head, and before it: nobody knows that more clusters should come.
  for (const size_t cut : {1, 20, 35, 40, 42}) EXPECT_EQ(MissingOf(matroska, cut), 0) << cut;
  const std::string avi =
      Chunk("RIFF", "AVI " + Chunk("LIST", "movi" + Content(60)) + Chunk("idx1", Content(32)));
  EXPECT_EQ(MissingOf(avi, 1), 0);
  EXPECT_EQ(MissingOf(avi, 40), 0);
}

TEST(CutOffFile, KnowsNothingOfMatroskaWithoutSizes) {
  const std::string cluster = Ebml(kCluster, Content(50));
  EXPECT_EQ(MissingOf(kHeader + kSegment + kUnknownSize + cluster, 10), 0);
  EXPECT_EQ(MissingOf(kHeader + kSegment + "\xFF" + cluster, 10), 0);
  // The segment has a size here, and its clusters have none.
  const std::string open = kHeader + Ebml(kSegment, kCluster + kUnknownSize + Content(50));
  EXPECT_EQ(MissingOf(open, 0), 0);
  EXPECT_EQ(MissingOf(open, 10), 10);
}

TEST(CutOffFile, ReadsTheSizesOfAvi) {
  const std::string head = Chunk("LIST", "hdrl" + Content(12)) + Chunk("JUNK", Content(8));
  const std::string whole = Chunk("RIFF", "AVI " + head + Chunk("LIST", "movi" + Content(60)));
  EXPECT_EQ(MissingOf(whole, 0), 0);
  EXPECT_EQ(MissingOf(whole, 2), 2);
  EXPECT_EQ(MissingOf(whole, 50), 50);
  // The byte that fills up an odd size may be told and missing.
  EXPECT_EQ(MissingOf(whole, 1), 0);
}

TEST(CutOffFile, FollowsTheLaterPartsOfLargeAvis) {
  const std::string part = Chunk("LIST", "movi" + Content(60));
  const std::string first = Chunk("RIFF", "AVI " + part + Chunk("idx1", Content(15)));
  const std::string padded =
      first + std::string(1, '\0') + Chunk("RIFF", "AVIX" + part) + Chunk("RIFF", "AVIX" + part);
  EXPECT_EQ(MissingOf(padded, 0), 0);
  EXPECT_EQ(MissingOf(padded, 30), 30);
  EXPECT_EQ(MissingOf(padded + Content(100), 0), 0);
}

TEST(CutOffFile, KnowsNothingOfAvisWithoutSizes) {
  const std::string packets = Chunk("LIST", "movi" + Content(60));
  for (const uint64_t unknown : {uint64_t{0}, uint64_t{0xFFFFFFFF}}) {
    const std::string size = Letters(unknown, 4);
    EXPECT_EQ(MissingOf("RIFF" + size + "AVI " + packets, 10), 0);
    EXPECT_EQ(MissingOf(Chunk("RIFF", "AVI LIST" + size + "movi" + Content(60)), 10), 0);
  }
  EXPECT_EQ(MissingOf(Chunk("RIFF", "WAVE" + packets), 10), 0);
}

// A clip whose packets are the end of the file, with these bytes in the box around them after the
// last packet. `isLong` has the size of the box in eight bytes.
std::string Mp4WithLastPackets(size_t more, bool isLong) {
  const std::string path = ScratchPath("last_packets.mp4");
  const CommandResult made = test_support::Run(
      {"ffmpeg", "-v", "error", "-y", "-i", test_support::Clip(test_support::ClipKind::kH264Short),
       "-c", "copy", "-movflags", "+faststart", path});
  EXPECT_EQ(made.status, 0) << made.err;
  std::ifstream file(path, std::ios::binary);
  std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  // After the box of eight bytes that is kept free for a long size.
  const size_t box = bytes.rfind("mdat") - 4;
  EXPECT_EQ(bytes.substr(box - 4, 4), "free");
  const uint64_t size = bytes.size() - box + more;
  if (isLong) {
    bytes.replace(box - 8, 16, Letters(1, 4) + "mdat" + Letters(size + 8, 8));
  } else {
    bytes.replace(box, 4, Letters(size, 4));
  }
  return bytes;
}

TEST(CutOffFile, MissesThePacketsOfMp4) {
  for (const bool isLong : {false, true}) {
    const std::string whole = Mp4WithLastPackets(0, isLong);
    EXPECT_EQ(MissingOf(whole, 0), 0);
    EXPECT_EQ(MissingOf(whole, 1), 1);
    EXPECT_EQ(MissingOf(whole, whole.size() / 3), static_cast<int64_t>(whole.size() / 3));
  }
}

TEST(CutOffFile, DoesNotMissWhatIsNoPacketOfMp4) {
  const std::string roomy = Mp4WithLastPackets(16, false);
  EXPECT_EQ(MissingOf(roomy, 0), 0);
  EXPECT_EQ(MissingOf(roomy, 10), 10);
}

TEST(CutOffFile, KnowsNothingOfOtherBoxes) {
  const std::string head = Box("ftyp", Content(12));
  const std::string packets = Box("mdat", Content(90));
  // Up to the end of the file, whatever that is.
  EXPECT_EQ(MissingOf(head + Letters(0, 4) + "mdat" + Content(90), 10), 0);
  // A recording that may still grow.
  EXPECT_EQ(MissingOf(head + Box("moov", "") + Box("moof", Content(8)) + packets, 10), 0);
  // What follows the boxes need not be one.
  EXPECT_EQ(MissingOf(head + packets + "wxyzabcd" + Content(10), 0), 0);
  EXPECT_EQ(MissingOf(head + packets + Box("moov", Content(40)), 10), 0);
  EXPECT_EQ(MissingOf(head + Letters(3, 4) + "free" + packets, 10), 0);
}

// What FFmpeg writes to a pipe, and to a file that it never comes to finish.
TEST(CutOffFile, SaysNothingOfRecordingsThatBrokeOff) {
  const std::string clip = test_support::Clip(test_support::ClipKind::kH264);
  for (const std::string format : {"matroska", "avi", "mov -movflags frag_keyframe"}) {
    const std::string path = ScratchPath("broken_off");
    std::vector<std::string> words = {"sh", "-c",
                                      "ffmpeg -v error -y -i '" + clip +
                                          "' -c copy -strict -2 -f " + format +
                                          " - | head -c 200000 >'" + path + "'"};
    test_support::Run(words);
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    ASSERT_EQ(file.tellg(), 200000) << format;
    EXPECT_EQ(ReadExtent(path).told, 0) << format;
  }
}

}  // namespace
}  // namespace codec
