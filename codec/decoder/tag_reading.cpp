// SPDX-License-Identifier: MIT
#include "codec/decoder/tag_reading.h"

#include <algorithm>
#include <array>

#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec {
namespace {

constexpr std::array<const char*, 20> kAboutTheClip = {
    "title",     "artist",  "album_artist", "album",     "comment",  "composer",     "performer",
    "publisher", "genre",   "date",         "copyright", "location", "location-eng", "synopsis",
    "show",      "network", "episode_id",   "track",     "keywords", "lyrics"};

std::string Tag(const AVDictionary* tags, const char* name) {
  const AVDictionaryEntry* const entry = av_dict_get(tags, name, nullptr, 0);
  return entry == nullptr ? "" : entry->value;
}

std::string Language(const AVFormatContext* file, int stream) {
  if (stream < 0) return "";
  const std::string language = Tag(file->streams[stream]->metadata, "language");
  return language == "und" ? "" : language;
}

}  // namespace

ClipTags ReadClipTags(const AVFormatContext* file, int video, int sound) {
  ClipTags all;
  for (const char* const name : kAboutTheClip) {
    const std::string value = Tag(file->metadata, name);
    if (!value.empty()) all.tags[name] = value;
  }
  all.videoLanguage = Language(file, video);
  all.soundLanguage = Language(file, sound);
  for (unsigned i = 0; i < file->nb_chapters; ++i) {
    const AVChapter& chapter = *file->chapters[i];
    const double tick = av_q2d(chapter.time_base);
    all.chapters.push_back({static_cast<double>(chapter.start) * tick,
                            static_cast<double>(chapter.end) * tick,
                            Tag(chapter.metadata, "title")});
  }
  return all;
}

std::vector<Chapter> MirroredChapters(const std::vector<Chapter>& chapters, double zero,
                                      double start, double end) {
  constexpr double kShortest = 1e-3;
  std::vector<Chapter> mirrored;
  for (const Chapter& chapter : chapters) {
    const double from = std::max(chapter.start - zero, start);
    const double to = std::min(chapter.end - zero, end);
    if (to - from >= kShortest) mirrored.push_back({end - to, end - from, chapter.title});
  }
  std::stable_sort(mirrored.begin(), mirrored.end(),
                   [](const Chapter& a, const Chapter& b) { return a.start < b.start; });
  return mirrored;
}

}  // namespace codec
