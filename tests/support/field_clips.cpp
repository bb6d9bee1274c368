// SPDX-License-Identifier: MIT
#include "tests/support/field_clips.h"

#include <stdexcept>

#include "tests/support/clips.h"
#include "tests/support/command.h"

namespace test_support {

const std::vector<FieldClip>& FieldClips() {
  static const std::vector<FieldClip> clips = {
      {"mpeg2_top.ts", true, "-c:v mpeg2video -pix_fmt yuv420p -flags +ildct+ilme -b:v 6M -bf 2"},
      {"mpeg2_bottom.vob", false,
       "-c:v mpeg2video -pix_fmt yuv420p -flags +ildct+ilme -b:v 6M -bf 2"},
      {"mpeg2_422.mxf", true, "-c:v mpeg2video -pix_fmt yuv422p -flags +ildct+ilme -b:v 20M"},
      {"h264_top.ts", true,
       "-c:v libx264 -preset superfast -pix_fmt yuv420p -flags +ildct+ilme -x264-params tff=1"},
      {"h264_bottom.mp4", false,
       "-c:v libx264 -preset superfast -pix_fmt yuv420p -flags +ildct+ilme -x264-params bff=1"},
      {"h264_top.mkv", true,
       "-c:v libx264 -preset superfast -pix_fmt yuv420p -bf 0 -flags +ildct+ilme -x264-params "
       "tff=1"},
      {"prores_top.mov", true, "-c:v prores_ks -pix_fmt yuv422p10le -flags +ildct"},
      {"prores_bottom.mov", false, "-c:v prores_ks -pix_fmt yuv422p10le -flags +ildct"},
      {"dv_bottom.avi", false, "-c:v dvvideo -pix_fmt yuv420p"},
      {"dv_bottom.mov", false, "-c:v dvvideo -pix_fmt yuv420p"},
      {"mpeg4_top.mp4", true, "-c:v mpeg4 -pix_fmt yuv420p -flags +ildct+ilme -q:v 3"}};
  return clips;
}

std::string MakeFieldClip(const FieldClip& clip) {
  const std::string weave = clip.isTopFirst ? "tinterlace=mode=interleave_top,setfield=tff"
                                            : "tinterlace=mode=interleave_bottom,setfield=bff";
  std::vector<std::string> words = {
      "-f",  "lavfi", "-i",        SceneFilter(720, 576, "50"),
      "-vf", weave,   "-frames:v", std::to_string(kFieldClipPictures)};
  AppendWords(clip.coding, &words);
  return CustomClip(std::string("fields_") + clip.name, words);
}

std::string SeparatedFields(const std::string& path, const std::string& name,
                            const std::string& before) {
  std::string fields = ScratchPath(name + ".mkv");
  const CommandResult made = Run({"ffmpeg", "-v", "error", "-y", "-i", path, "-an", "-vf",
                                  before + ",separatefields,setpts=N/50/TB,format=yuv420p", "-r",
                                  "50", "-c:v", "ffv1", fields});
  if (made.status != 0) throw std::runtime_error(made.err);
  return fields;
}

}  // namespace test_support
