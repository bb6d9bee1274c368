// SPDX-License-Identifier: MIT
#include "codec/filter/filter_factory.h"

#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <string_view>

#include "base/log.h"
#include "codec/filter/color_filter.h"
#include "codec/filter/color_models.h"
#include "codec/filter/color_type.h"
#include "codec/filter/listener_registry.h"
#include "codec/filter/orientation_filter.h"
#include "codec/filter/rotate_filter.h"
#include "codec/filter/scale_filter.h"
#include "codec/filter/water_mark_filter.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::MediaFilter";

// Reads a key that must be there; logs the message and returns false where it is not.
bool ReadText(const MediaFormat& format, const char* key, const char* message, std::string& value) {
  if (format.GetString(key, value) == 0) return true;
  log_error(kTag, "%s", message);
  return false;
}

bool ReadPair(const MediaFormat& format, std::string& input, std::string& output) {
  return ReadText(format, "input-color-format", "not set input color format", input) &&
         ReadText(format, "output-color-format", "not set output color format", output);
}

bool ReadColorFormat(const MediaFormat& format, std::string& value) {
  return ReadText(format, "color-format", "not set color format", value);
}

struct NamedType {
  std::string_view name;
  ColorType type;
};
constexpr std::array<NamedType, 3> kScaleTypes = {
    {{"bgra", kBgraType}, {"yuv420p", kYuv420pType}, {"rgba", kRgbaType}}};
constexpr std::array<NamedType, 2> kRotateTypes = {
    {{"bgra", kBgraType}, {"yuv420p", kYuv420pType}}};
constexpr std::array<NamedType, 2> kWaterMarkTypes = {{{"bgra", kBgraType}, {"rgba", kRgbaType}}};

// The type that a filter knows under this name; 0 where it has none.
template <size_t Count>
int TypeOf(const std::array<NamedType, Count>& types, std::string_view name) {
  const auto row = std::find_if(types.begin(), types.end(),
                                [name](const NamedType& type) { return type.name == name; });
  return row == types.end() ? 0 : row->type;
}

// A chain in the making, deleted unless it is released.
using Chain = std::unique_ptr<MediaFilter>;

struct Size {
  int width = 0;
  int height = 0;
};

Size ReadTargetSize(const MediaFormat& format) {
  Size size;
  format.GetInt32("target-width", size.width);
  format.GetInt32("target-height", size.height);
  return size;
}

MediaFormat WithColorFormat(const MediaFormat& format, const std::string& name) {
  MediaFormat copy = format;
  copy.SetString("color-format", name.c_str());
  return copy;
}

MediaFormat WithPair(const MediaFormat& format, const std::string& input,
                     const std::string& output) {
  MediaFormat copy = format;
  copy.SetString("input-color-format", input.c_str());
  copy.SetString("output-color-format", output.c_str());
  return copy;
}

MediaFormat WithSize(MediaFormat format, Size size) {
  format.SetInt32("width", size.width);
  format.SetInt32("height", size.height);
  return format;
}

// Logs the message where a step of a chain gave nothing.
Chain Checked(MediaFilter* filter, const char* message) {
  if (filter == nullptr) log_error(kTag, "%s", message);
  return Chain(filter);
}

// The fast conversion of "yuv411p" takes rows of color for a quarter of the width, rounded down.
// FFmpeg rounds up.
bool IsLaidOutOtherwise(const MediaFormat& format, const std::string& input) {
  int isTrue = 0;
  int width = 0;
  format.GetInt32("true-layout", isTrue);
  format.GetInt32("width", width);
  return isTrue == 1 && input == "yuv411p" && width % 4 != 0;
}

int ModelOf(const MediaFormat& format, const std::string& input, const std::string& output) {
  const int model = ChooseColorModel(input.c_str(), output.c_str());
  return model != kCopyColorModel && IsLaidOutOtherwise(format, input) ? kGeneralColorModel : model;
}

// Configures a new filter; logs the message where it refuses.
template <typename Filter>
std::unique_ptr<Filter> Configured(MediaFormat& format, const char* message) {
  auto filter = std::make_unique<Filter>();
  if (filter->Configure(format) == 0) return filter;
  log_error(kTag, "%s", message);
  return nullptr;
}

}  // namespace

MediaFilter* CreateColorFilter(MediaFormat& format) {
  log_debug(kTag, "CreateColorFilter begin...");
  std::string input;
  std::string output;
  if (!ReadPair(format, input, output)) return nullptr;
  const int model = ModelOf(format, input, output);
  log_debug(kTag, "colorConvortModel:%d", model);
  MediaFormat copy = format;
  copy.SetInt32("color-convert-model", model);
  auto filter = Configured<ColorFilter>(copy, "ColorFilter Configure error");
  if (filter == nullptr) return nullptr;
  log_debug(kTag, "CreateColorFilter done");
  return filter.release();
}

bool CanScale(const std::string& colorFormat) { return TypeOf(kScaleTypes, colorFormat) != 0; }

MediaFilter* CreateScaleFilter(MediaFormat& format) {
  log_debug(kTag, "CreateScaleFilter begin...");
  std::string name;
  if (!ReadColorFormat(format, name)) return nullptr;
  const int type = TypeOf(kScaleTypes, name);
  if (type == 0) {
    log_error(kTag, " not supported scale color type");
    return nullptr;
  }
  log_debug(kTag, "scale_color_type:%d", type);
  MediaFormat copy = format;
  copy.SetInt32("scale-color-type", type);
  auto filter = Configured<ScaleFilter>(copy, "ScaleFilter Configure error");
  if (filter == nullptr) return nullptr;
  log_debug(kTag, "CreateScaleFilter begin done");
  return filter.release();
}

MediaFilter* CreateRotateFilter(MediaFormat& format) {
  log_debug(kTag, "CreateRotateFilter begin...");
  std::string name;
  if (!ReadColorFormat(format, name)) return nullptr;
  const int type = TypeOf(kRotateTypes, name);
  if (type == 0) {
    log_error(kTag, " not supported rotate color type");
    return nullptr;
  }
  MediaFormat copy = format;
  copy.SetInt32("rotate-color-type", type);
  log_debug(kTag, "rotate_color_type:%d", type);
  auto filter = Configured<RotateFilter>(copy, "RotateFilter Configure error");
  if (filter == nullptr) return nullptr;
  log_debug(kTag, "CreateRotateFilter done");
  return filter.release();
}

MediaFilter* CreateOrientationFilter(MediaFormat& format) {
  return Configured<OrientationFilter>(format, "OrientationFilter Configure error").release();
}

bool CanMark(const std::string& colorFormat) { return TypeOf(kWaterMarkTypes, colorFormat) != 0; }

MediaFilter* CreateWaterMarkFilter(MediaFormat& format) {
  log_debug(kTag, "CreateWaterMarkFilter begin...");
  std::string name;
  if (!ReadColorFormat(format, name)) return nullptr;
  int type = TypeOf(kWaterMarkTypes, name);
  if (type == 0) {
    log_error(kTag, " not supported water mark color type");
    type = kBgraType;
  }
  log_debug(kTag, "water_mark_color_type:%d", type);
  MediaFormat copy = format;
  copy.SetInt32("water-mark-color-type", type);
  auto filter = Configured<WaterMarkFilter>(copy, "WaterMarkFilter Configure error");
  if (filter == nullptr) return nullptr;
  // A writer that shares nothing finds the filter in its own chain.
  int isIndependent = 0;
  format.GetInt32("independent", isIndependent);
  if (isIndependent != 1) ListenerRegistry::Instance().SetListener(filter.get());
  log_debug(kTag, "CreateWaterMarkFilter done");
  return filter.release();
}

MediaFilter* CreateColorScaleFilter(MediaFormat& format) {
  log_debug(kTag, "CreateColorScaleFilter begin...");
  std::string input;
  std::string output;
  if (!ReadPair(format, input, output)) return nullptr;
  MediaFormat scaleFormat = WithColorFormat(format, input);
  Chain chain = Checked(CreateScaleFilter(scaleFormat), "create scale filter error.");
  if (chain == nullptr) return nullptr;
  MediaFormat colorFormat = WithSize(format, ReadTargetSize(format));
  Chain color = Checked(CreateColorFilter(colorFormat), "create last color filter error.");
  if (color == nullptr) return nullptr;
  AppendFilter(chain.get(), color.release());
  log_debug(kTag, "CreateColorScaleFilter done");
  return chain.release();
}

MediaFilter* CreateColorScaleRotateFilter(MediaFormat& format) {
  constexpr char kMiddle[] = "yuv420p";
  log_debug(kTag, "CreateColorScaleRotateFilter begin...");
  std::string input;
  std::string output;
  if (!ReadPair(format, input, output)) return nullptr;
  const Size target = ReadTargetSize(format);

  MediaFormat firstFormat = WithPair(format, input, kMiddle);
  Chain chain =
      Checked(CreateColorFilter(firstFormat), "create convert yuv420p color filter error.");
  if (chain == nullptr) return nullptr;

  MediaFormat scaleFormat = WithColorFormat(format, kMiddle);
  Chain scale = Checked(CreateScaleFilter(scaleFormat), "create scale yuv420p filter error.");
  if (scale == nullptr) return nullptr;
  AppendFilter(chain.get(), scale.release());

  MediaFormat rotateFormat = WithSize(scaleFormat, target);
  Chain rotate = Checked(CreateRotateFilter(rotateFormat), "create rotate filter error");
  if (rotate == nullptr) return nullptr;
  AppendFilter(chain.get(), rotate.release());

  int rotation = 0;
  format.GetInt32("rotation", rotation);
  const bool upright = rotation == 0 || rotation == 180;
  const Size turned = upright ? target : Size{target.height, target.width};
  MediaFormat lastFormat = WithSize(WithPair(format, kMiddle, output), turned);
  Chain last = Checked(CreateColorFilter(lastFormat), "create last color filter error.");
  if (last == nullptr) return nullptr;
  AppendFilter(chain.get(), last.release());
  log_debug(kTag, "CreateColorScaleRotateFilter done");
  return chain.release();
}

MediaFilter* CreateWaterMarkColorFilter(MediaFormat& format) {
  log_debug(kTag, "CreateWaterMarkColorFilter begin...");
  std::string input;
  if (!ReadText(format, "input-color-format", "not set input color format", input)) return nullptr;
  MediaFormat markFormat = WithColorFormat(format, input);
  Chain chain(CreateWaterMarkFilter(markFormat));
  if (chain == nullptr) return nullptr;
  Chain color(CreateColorFilter(format));
  if (color == nullptr) return nullptr;
  AppendFilter(chain.get(), color.release());
  log_debug(kTag, "CreateWaterMarkColorFilter done");
  return chain.release();
}

MediaFilter* CreateWaterMarkColorScaleRotateFilter(MediaFormat& format) {
  log_debug(kTag, "CreateWaterMarkColorScaleRotateFilter begin...");
  std::string input;
  if (!ReadText(format, "input-color-format", "not set input color format", input)) return nullptr;
  // No logo here: it would have to be turned and resized against the picture.
  MediaFilter* chain = CreateColorScaleRotateFilter(format);
  if (chain != nullptr) log_debug(kTag, "CreateWaterMarkColorScaleRotateFilter done");
  return chain;
}

}  // namespace codec
