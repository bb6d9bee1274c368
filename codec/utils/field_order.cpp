// SPDX-License-Identifier: MIT
#include "codec/utils/field_order.h"

#include <array>
#include <utility>

namespace codec {
namespace {

constexpr std::array kNames = {std::pair{FieldOrder::kProgressive, "progressive"},
                               std::pair{FieldOrder::kTopFirst, "tt"},
                               std::pair{FieldOrder::kBottomFirst, "bb"}};

}  // namespace

FieldOrder OppositeOrder(FieldOrder order) {
  if (!IsWoven(order)) return order;
  return order == FieldOrder::kTopFirst ? FieldOrder::kBottomFirst : FieldOrder::kTopFirst;
}

const char* FieldOrderName(FieldOrder order) {
  for (const auto& [value, name] : kNames) {
    if (value == order) return name;
  }
  return FieldOrderName(FieldOrder::kProgressive);
}

std::optional<FieldOrder> FieldOrderOf(std::string_view name) {
  for (const auto& [value, known] : kNames) {
    if (known == name) return value;
  }
  return std::nullopt;
}

}  // namespace codec
