// SPDX-License-Identifier: MIT
#include "codec/encoder/output_tags.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <sstream>

namespace codec {
namespace {

constexpr int kMilliseconds = 1000;

// The file owns its chapters, and frees them with itself.
int AddChapter(AVFormatContext* file, int64_t start, int64_t end, const std::string& title) {
  auto** const list = static_cast<AVChapter**>(
      av_realloc_array(file->chapters, file->nb_chapters + size_t{1}, sizeof(AVChapter*)));
  if (list == nullptr) return AVERROR(ENOMEM);
  file->chapters = list;
  auto* const chapter = static_cast<AVChapter*>(av_mallocz(sizeof(AVChapter)));
  if (chapter == nullptr) return AVERROR(ENOMEM);
  file->chapters[file->nb_chapters++] = chapter;
  chapter->id = static_cast<int>(file->nb_chapters);
  chapter->time_base = {1, kMilliseconds};
  chapter->start = start;
  chapter->end = end;
  return title.empty() ? 0 : av_dict_set(&chapter->metadata, "title", title.c_str(), 0);
}

int AddChapters(const std::string& chapters, AVFormatContext* file) {
  std::istringstream lines(chapters);
  std::string line;
  while (std::getline(lines, line)) {
    std::istringstream words(line);
    int64_t start = 0;
    int64_t end = 0;
    if (!(words >> start >> end) || start < 0 || end <= start) continue;
    std::string title;
    std::getline(words >> std::ws, title);
    const int result = AddChapter(file, start, end, title);
    if (result < 0) return result;
  }
  return 0;
}

}  // namespace

int AddTags(const EncoderSettings& settings, AVFormatContext* file) {
  int result = 0;
  for (const auto& [name, value] : settings.tags) {
    result = std::min(result, av_dict_set(&file->metadata, name.c_str(), value.c_str(), 0));
  }
  for (unsigned i = 0; i < file->nb_streams; ++i) {
    AVStream* const stream = file->streams[i];
    const bool isVideo = stream->codecpar->codec_type == AVMEDIA_TYPE_VIDEO;
    const std::string& language = isVideo ? settings.videoLanguage : settings.audioLanguage;
    if (language.empty()) continue;
    result = std::min(result, av_dict_set(&stream->metadata, "language", language.c_str(), 0));
  }
  return std::min(result, AddChapters(settings.chapters, file));
}

std::string ChapterLine(double start, double end, const std::string& title) {
  std::string text = std::to_string(std::llround(start * kMilliseconds)) + " " +
                     std::to_string(std::llround(end * kMilliseconds)) + " " + title;
  std::replace(text.begin(), text.end(), '\n', ' ');
  return text + "\n";
}

}  // namespace codec
