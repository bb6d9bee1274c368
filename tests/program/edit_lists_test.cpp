// SPDX-License-Identifier: MIT
// Clips whose files say which stretches of their pictures and sound are shown, reversed once and
// twice, against ffmpeg's own decode of them.
#include "tests/support/edit_lists.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/media_reading.h"
#include "tests/support/player_view.h"

namespace test_support {
namespace {

constexpr int kWidth = kNumberBits * kNumberCell;
constexpr int kHeight = 64;

// Four seconds with a key picture each second.
std::string Whole(const std::string& extension, const std::string& sound = "-c:a aac -b:a 192k") {
  std::vector<std::string> words = {"-f", "lavfi", "-i", SceneFilter(kWidth, kHeight, "25"),
                                    "-f", "lavfi", "-i", SweepFilter(48000, "stereo"),
                                    "-t", "4"};
  AppendWords("-c:v libx264 -preset veryfast -pix_fmt yuv420p -g 25 -bf 2 " + sound, &words);
  return CustomClip("edited_whole" + extension, words);
}

// Copies packets from this time on. The file then begins at the key picture before, and its edit
// list says what is left out.
std::string CutAt(const std::string& seconds, const std::string& extension) {
  return CustomClip("edited_" + seconds + extension,
                    {"-ss", seconds, "-i", Whole(extension), "-c", "copy"});
}

// Video and sound, each later by so many seconds.
std::string Later(const std::string& video, const std::string& sound) {
  return CustomClip("edited_later_" + video + "_" + sound + ".mp4",
                    {"-itsoffset", video, "-i", Whole(".mp4"), "-itsoffset", sound, "-i",
                     Whole(".mp4"), "-map", "0:v", "-map", "1:a", "-c", "copy"});
}

// The same as FFmpeg 4 writes it: the whole tells the length of its longest track, and leaves out
// how much later a track begins.
std::string ToldShort(const std::string& video, const std::string& sound) {
  return WithLength(Later(video, sound), "edited_short_" + video + "_" + sound + ".mp4", 4.022);
}

struct Edited {
  const char* name;
  std::string (*make)();
  double end = 0;  // of the clip in seconds, if the file may tell another one; 0 if it does not

  friend void PrintTo(const Edited& edited, std::ostream* out) { *out << edited.name; }
};

// Of several edits each begins and ends with a frame of the sound: what FFmpeg makes of others
// overlaps by a part of a frame.
const Edited kEdited[] = {
    {"CutAtHalfASecond", [] { return CutAt("0.5", ".mp4"); }},
    {"CutAtOneAndAThird", [] { return CutAt("1.3", ".mp4"); }},
    {"CutAtThree", [] { return CutAt("3.1", ".mp4"); }},
    {"MovCutAtHalfASecond", [] { return CutAt("0.5", ".mov"); }},
    {"MovCutAtOneAndAThird", [] { return CutAt("1.3", ".mov"); }},
    {"MovCutAtThree", [] { return CutAt("3.1", ".mov"); }},
    {"VideoLater", [] { return Later("0.72", "0"); }, 4.72},
    {"VideoALittleLater", [] { return Later("0.06", "0"); }, 4.06},
    {"SoundLater", [] { return Later("0", "0.7"); }, 4.7},
    {"BothLater", [] { return Later("1", "1"); }},
    {"VideoLaterThanTold", [] { return ToldShort("0.72", "0"); }, 4.72},
    {"VideoALittleLaterThanTold", [] { return ToldShort("0.06", "0"); }, 4.06},
    {"SoundLaterThanTold", [] { return ToldShort("0", "0.7"); }, 4.7},
    {"EmptyFirst",
     [] {
       return WithEdits(Whole(".mp4"), "edited_empty.mp4", {{0.6, -1}, {3, 0.48}});
     }},
    {"TwoEdits",
     [] {
       return WithEdits(Whole(".mp4"), "edited_two.mp4", {{1.28, 0.64}, {1.28, 2.56}});
     }},
    {"TwoEditsBackward",
     [] {
       return WithEdits(Whole(".mp4"), "edited_back.mp4", {{1.28, 2.56}, {1.28, 0.64}});
     }},
};

class EditLists : public testing::TestWithParam<Edited> {};

TEST_P(EditLists, ArePlayedBackward) {
  const std::string clip = GetParam().make();
  const ViewWords words = {kWidth, kHeight};
  PlayerView source = ViewOf(clip, words);
  if (GetParam().end > 0) source.end += GetParam().end - EndTime(clip);
  const std::string once = ScratchPath("edited_once.mp4");
  const std::string twice = ScratchPath("edited_twice.mp4");
  CommandResult result = RunProgram({"-i", clip, "-o", once});
  ASSERT_EQ(result.status, 0) << result.err;
  result = RunProgram({"-i", once, "-o", twice});
  ASSERT_EQ(result.status, 0) << result.err;
  const PlayerView seen = ViewOf(once, words);
  {
    SCOPED_TRACE("once");
    ExpectSame(Mirrored(source), seen, -kLengthRounding, kLengthRounding);
  }
  source.pictureTick += seen.pictureTick;
  source.soundTick += seen.soundTick;
  ExpectSame(source, ViewOf(twice, words), -2 * kLengthRounding,
             SoundFrame(source.rate) + 2 * kLengthRounding);
}

INSTANTIATE_TEST_SUITE_P(Kinds, EditLists, testing::ValuesIn(kEdited),
                         [](const auto& tested) { return std::string(tested.param.name); });

}  // namespace
}  // namespace test_support
