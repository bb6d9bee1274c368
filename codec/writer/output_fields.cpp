// SPDX-License-Identifier: MIT
#include "codec/writer/output_fields.h"

#include <string>

#include "base/log.h"
#include "codec/utils/field_order.h"
#include "codec/utils/orientation.h"
#include "codec/writer/picture_sizes.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::MediaWriter";

// Turns by the key "rotation" go through a scaler.
bool KeepsRows(const MediaFormat& format, int orientation) {
  int rotation = 0;
  format.GetInt32("rotation", rotation);
  return !PictureSizes(format).Scaled() && rotation == 0 && !SwapsSides(orientation);
}

}  // namespace

void SettleFieldOrder(MediaFormat* format) {
  std::string name;
  format->GetString("field-order", name);
  const FieldOrder order = FieldOrderOf(name).value_or(FieldOrder::kProgressive);
  if (!IsWoven(order)) return;
  int orientation = kUpright;
  format->GetInt32("orientation", orientation);
  if (!KeepsRows(*format, orientation)) {
    log_warn(kTag,
             "the pictures are interlaced, which scaled or turned ones cannot be; deinterlace the "
             "clip first");
    format->SetString("field-order", FieldOrderName(FieldOrder::kProgressive));
  } else if (orientation == kTurn180 || orientation == kFlip) {
    format->SetString("field-order", FieldOrderName(OppositeOrder(order)));
  }
}

}  // namespace codec
