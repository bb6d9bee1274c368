// SPDX-License-Identifier: MIT
#include "codec/ffmpeg/versions.h"

#include "base/log.h"
#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec::ffmpeg {
namespace {

constexpr char kTag[] = "codec::ffmpeg";

unsigned Major(unsigned version) { return AV_VERSION_MAJOR(version); }

}  // namespace

std::string VersionText(unsigned version) {
  return std::to_string(Major(version)) + "." + std::to_string(AV_VERSION_MINOR(version)) + "." +
         std::to_string(AV_VERSION_MICRO(version));
}

std::vector<LibraryVersion> LibraryVersions() {
  return {{"libavformat", LIBAVFORMAT_VERSION_INT, avformat_version()},
          {"libavcodec", LIBAVCODEC_VERSION_INT, avcodec_version()},
          {"libavutil", LIBAVUTIL_VERSION_INT, avutil_version()},
          {"libswresample", LIBSWRESAMPLE_VERSION_INT, swresample_version()},
          {"libswscale", LIBSWSCALE_VERSION_INT, swscale_version()}};
}

int CheckVersions(const std::vector<LibraryVersion>& libraries) {
  int result = 0;
  for (const LibraryVersion& library : libraries) {
    log_debug(kTag, "%s: built with %s, runs with %s", library.name,
              VersionText(library.built).c_str(), VersionText(library.loaded).c_str());
    if (Major(library.built) == Major(library.loaded)) continue;
    log_error(kTag, "built with %s %u, but %s %u is loaded; build the program again", library.name,
              Major(library.built), library.name, Major(library.loaded));
    result = -1;
  }
  return result;
}

}  // namespace codec::ffmpeg
