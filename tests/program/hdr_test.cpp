// SPDX-License-Identifier: MIT
// Clips of high dynamic range come out as such.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/media_reading.h"

namespace test_support {
namespace {

constexpr char kLight[] =
    ":master-display=G(13250,34500)B(7500,3000)R(34000,16000)WP(15635,16450)L(10000000,500)"
    ":max-cll=1000,400";

// The pictures say what they are, because FFmpeg 9 has a container tell what they say. The options
// of the encoder are for older releases.
std::string HdrClip(const std::string& name, const std::string& transfer,
                    const std::string& light) {
  return CustomClip(
      name, {"-f",
             "lavfi",
             "-i",
             SceneFilter(400, 128, "25"),
             "-t",
             "1",
             "-vf",
             "format=yuv420p10le,setparams=color_primaries=bt2020:colorspace=bt2020nc:color_trc=" +
                 transfer,
             "-c:v",
             "libx265",
             "-preset",
             "ultrafast",
             "-color_primaries",
             "bt2020",
             "-color_trc",
             transfer,
             "-colorspace",
             "bt2020nc",
             "-x265-params",
             "log-level=error:colorprim=bt2020:colormatrix=bt2020nc:transfer=" + transfer + light});
}

// What the first picture tells of its light, line by line.
std::vector<std::string> Light(const std::string& path) {
  const CommandResult result =
      Run({"ffprobe", "-v", "error", "-select_streams", "v:0", "-read_intervals", "%+#1",
           "-show_entries", "frame=side_data_list", "-show_frames", path});
  std::vector<std::string> lines;
  std::istringstream text(result.out);
  for (std::string line; std::getline(text, line);) {
    for (const char* const name : {"red_", "green_", "blue_", "white_", "min_lum", "max_"}) {
      if (line.compare(0, std::string(name).size(), name) == 0) lines.push_back(line);
    }
  }
  std::sort(lines.begin(), lines.end());
  return lines;
}

void ExpectSameHdr(const std::string& clip, size_t lightLines, const std::string& name) {
  ASSERT_EQ(Light(clip).size(), lightLines);
  const std::string output = ScratchPath(name);
  const CommandResult result = RunProgram({"-i", clip, "-o", output, "--set", "video-codec=libx265",
                                           "--set", "preset=ultrafast", "--set", "thread-count=2"});
  ASSERT_EQ(result.status, 0) << result.err;
  std::map<std::string, std::string> source = StreamFields(clip, "v");
  std::map<std::string, std::string> fields = StreamFields(output, "v");
  ASSERT_EQ(source["color_primaries"], "bt2020");
  EXPECT_EQ(fields["codec_name"], "hevc");
  EXPECT_EQ(fields["profile"], "Main 10");
  for (const char* const tag :
       {"pix_fmt", "color_range", "color_space", "color_transfer", "color_primaries"}) {
    EXPECT_EQ(fields[tag], source[tag]) << tag;
  }
  EXPECT_EQ(Light(output), Light(clip));
  const std::vector<Picture> pictures = DecodeLuma(output);
  ASSERT_EQ(pictures.size(), 25U);
  EXPECT_EQ(ReadFrameNumber(pictures.front()), 24);
  EXPECT_EQ(ReadFrameNumber(pictures.back()), 0);
}

TEST(Hdr, TenBitHevcKeepsTagsAndLight) {
  ExpectSameHdr(HdrClip("hdr10.mp4", "smpte2084", kLight), 12, "hdr10.mp4");
}

TEST(Hdr, HybridLogGammaKeepsItsTags) {
  ExpectSameHdr(HdrClip("hlg.mkv", "arib-std-b67", ""), 0, "hlg.mkv");
}

}  // namespace
}  // namespace test_support
