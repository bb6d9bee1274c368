// SPDX-License-Identifier: MIT
// What an output tells of its clip, and what the log says of runs that lose nothing.
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/media_reading.h"

namespace test_support {
namespace {

std::string TaggedClip(const std::string& name) {
  const std::string tags = ScratchPath("tags.txt");
  std::ofstream(tags) << ";FFMETADATA1\ntitle=A walk\nartist=Ann\ncomment=by the sea\n"
                         "location=+48.8577+002.2950/\nencoder=Other\ntimecode=01:00:00:00\n"
                         "[CHAPTER]\nTIMEBASE=1/1000\nSTART=0\nEND=1000\ntitle=First\n"
                         "[CHAPTER]\nTIMEBASE=1/1000\nSTART=1000\nEND=2500\ntitle=Second part\n";
  return CustomClip(name, {"-i", Clip(ClipKind::kH264Short), "-i", tags, "-map", "0",
                           "-map_metadata", "1", "-map_chapters", "1", "-c", "copy",
                           "-metadata:s:v", "language=eng", "-metadata:s:a", "language=fra"});
}

// Chapters as ffprobe tells them: start, end, title.
std::string Chapters(const std::string& path) {
  return Run({"ffprobe", "-v", "error", "-show_entries",
              "chapter=start_time,end_time:chapter_tags=title", "-of", "csv=p=0", path})
      .out;
}

std::string Tag(const std::string& path, const std::string& name) {
  const std::string text = Run({"ffprobe", "-v", "error", "-show_entries", "format_tags=" + name,
                                "-of", "default=nw=1:nk=1", path})
                               .out;
  return text.substr(0, text.find('\n'));
}

TEST(Tags, AreKeptAndChaptersMirrored) {
  for (const char* source : {"tagged.mp4", "tagged.mov", "tagged.mkv"}) {
    const std::string input = TaggedClip(source);
    // Matroska of older releases of FFmpeg puts its first picture later, by what the sound begins
    // with.
    const std::string border = std::to_string(1.2 + VideoTimes(input).front());
    for (const char* name : {"out.mp4", "out.mov", "out.mkv"}) {
      SCOPED_TRACE(std::string(source) + " " + name);
      const std::string output = ScratchPath(name);
      ASSERT_EQ(RunProgram({"-i", input, "-o", output, "-e", "2.2"}).status, 0);
      EXPECT_EQ(Tag(output, "title"), "A walk");
      EXPECT_EQ(Tag(output, "artist"), "Ann");
      EXPECT_EQ(Tag(output, "comment"), "by the sea");
      EXPECT_EQ(Tag(output, "location").substr(0, 16), "+48.8577+002.295");
      EXPECT_EQ(Tag(output, "timecode"), "");
      EXPECT_EQ(Tag(output, "encoder").find("Other"), std::string::npos);
      EXPECT_EQ(StreamFields(output, "v").at("TAG:language"), "eng");
      EXPECT_EQ(StreamFields(output, "a").at("TAG:language"), "fra");
      EXPECT_EQ(Chapters(output),
                "0.000000," + border + ",Second part\n" + border + ",2.200000,First\n");
    }
  }
}

TEST(Tags, AreLeftOffByThePlainReversal) {
  const std::string output = ScratchPath("plain.mp4");
  ASSERT_EQ(RunProgram({"--plain", "-i", TaggedClip("tagged.mp4"), "-o", output}).status, 0);
  EXPECT_EQ(Tag(output, "title"), "");
  EXPECT_EQ(Chapters(output), "");
}

TEST(Log, HasNoWarningsAndErrorsOfRunsThatLoseNothing) {
  const std::string pcm = CustomClip(
      "quiet_pcm.mov", {"-i", Clip(ClipKind::kH264Short), "-c:v", "copy", "-c:a", "pcm_s16le"});
  for (const std::string& input : {Clip(ClipKind::kH264Short), Clip(ClipKind::kH264NoAudio),
                                   Clip(ClipKind::kTransport), pcm}) {
    const CommandResult result = RunProgram({"-i", input, "-o", ScratchPath("quiet.mp4")});
    EXPECT_EQ(result.status, 0);
    for (const char* level : {" warning [", " error   ["}) {
      EXPECT_EQ(result.err.find(level), std::string::npos) << result.err;
    }
  }
}

}  // namespace
}  // namespace test_support
