// SPDX-License-Identifier: MIT
#include "codec/ffmpeg/compat_fields.h"

#include "codec/ffmpeg/releases.h"

namespace codec::ffmpeg {

FieldOrder FieldsOf(const AVFrame* picture) {
#if HAS_FIELD_FLAGS
  const bool isInterlaced = (picture->flags & AV_FRAME_FLAG_INTERLACED) != 0;
  const bool isTopFirst = (picture->flags & AV_FRAME_FLAG_TOP_FIELD_FIRST) != 0;
#else
  const bool isInterlaced = picture->interlaced_frame != 0;
  const bool isTopFirst = picture->top_field_first != 0;
#endif
  if (!isInterlaced) return FieldOrder::kProgressive;
  return isTopFirst ? FieldOrder::kTopFirst : FieldOrder::kBottomFirst;
}

void SetFields(FieldOrder order, AVFrame* picture) {
#if HAS_FIELD_FLAGS
  picture->flags &= ~(AV_FRAME_FLAG_INTERLACED | AV_FRAME_FLAG_TOP_FIELD_FIRST);
  if (IsWoven(order)) picture->flags |= AV_FRAME_FLAG_INTERLACED;
  if (order == FieldOrder::kTopFirst) picture->flags |= AV_FRAME_FLAG_TOP_FIELD_FIRST;
#else
  picture->interlaced_frame = IsWoven(order) ? 1 : 0;
  picture->top_field_first = order == FieldOrder::kTopFirst ? 1 : 0;
#endif
}

}  // namespace codec::ffmpeg
