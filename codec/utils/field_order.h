// SPDX-License-Identifier: MIT
// In which order the two fields of interlaced pictures are shown.
#pragma once

#include <optional>
#include <string_view>

namespace codec {

// A field is every second row of a picture. Players show the fields of an interlaced picture one
// after the other.
enum class FieldOrder {
  kProgressive,  // there are no fields: all rows were taken at once
  kTopFirst,     // the field of the top row, then the other one
  kBottomFirst,  // the reverse
  kSingle,       // each picture is one field, and so has no order
};

// Whether each picture is two fields.
constexpr bool IsWoven(FieldOrder order) {
  return order == FieldOrder::kTopFirst || order == FieldOrder::kBottomFirst;
}

// The order of the same pictures if time runs backward, or if they stand on their heads.
FieldOrder OppositeOrder(FieldOrder order);

// FFmpeg's names: "progressive", "tt", "bb". kSingle has none: it gives "progressive".
const char* FieldOrderName(FieldOrder order);
// Nothing if there is no order of this name.
std::optional<FieldOrder> FieldOrderOf(std::string_view name);

}  // namespace codec
