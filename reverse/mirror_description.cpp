// SPDX-License-Identifier: MIT
#include "reverse/mirror_description.h"

#include "base/log.h"
#include "codec/decoder/hdr_light.h"
#include "codec/encoder/container.h"
#include "codec/encoder/output_tags.h"
#include "codec/utils/field_order.h"
#include "codec/utils/orientation.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::Reverse";

}  // namespace

// Players are told of a turn if the container can tell it. Otherwise, and if they are mirrored, the
// pictures themselves are brought upright.
void DescribeOrientation(const MediaInfo& info, MediaFormat* format) {
  if (info.orientation == kUpright) return;
  std::string path;
  format->GetString("output-path", path);
  const int turn = TurnOf(info.orientation);
  if (turn >= 0 && TellsRotation(path.c_str())) {
    format->SetInt32("rotate", turn);
    return;
  }
  format->SetInt32("rotate", 0);
  format->SetInt32("orientation", info.orientation);
  if (!SwapsSides(info.orientation)) return;
  format->SetInt32("sample_aspect_num", info.sample_aspect_den);
  format->SetInt32("sample_aspect_den", info.sample_aspect_num);
}

// Each picture stays as it is, so that the field that was shown last has to be shown first.
void DescribeFields(const MediaInfo& info, MediaFormat* format) {
  if (IsWoven(info.field_order)) {
    format->SetString("field-order", FieldOrderName(OppositeOrder(info.field_order)));
  } else if (info.field_order == FieldOrder::kSingle) {
    log_warn(kTag, "the pictures of the clip are single fields, which the output does not say");
  }
}

void DescribeTags(const ClipTags& tags, const std::vector<Chapter>& chapters, MediaFormat* format) {
  for (const auto& [name, value] : tags.tags) {
    format->SetString(("tag." + name).c_str(), value.c_str());
  }
  if (!tags.videoLanguage.empty()) {
    format->SetString("video-language", tags.videoLanguage.c_str());
  }
  if (!tags.soundLanguage.empty()) {
    format->SetString("audio-language", tags.soundLanguage.c_str());
  }
  std::string lines;
  for (const Chapter& chapter : chapters) {
    lines += ChapterLine(chapter.start, chapter.end, chapter.title);
  }
  if (!lines.empty()) format->SetString("chapters", lines.c_str());
}

// Only pictures of high dynamic range tell their light, so that others need not be looked at.
void DescribeLight(const std::string& path, const std::string& transfer, MediaFormat* format) {
  if (transfer != "smpte2084" && transfer != "arib-std-b67") return;
  const HdrLight light = ReadHdrLight(path);
  if (!light.masteringDisplay.empty()) {
    format->SetString("mastering-display", light.masteringDisplay.c_str());
  }
  if (!light.contentLight.empty()) format->SetString("content-light", light.contentLight.c_str());
}

}  // namespace codec
