#include "codec/filter/filter_factory.h"

#include <memory>
#include <string>

#include "base/log.h"
#include "codec/filter/color_filter.h"
#include "codec/filter/color_models.h"

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

}  // namespace

MediaFilter* CreateColorFilter(MediaFormat& format) {
  log_debug(kTag, "CreateColorFilter begin...");
  std::string input;
  std::string output;
  if (!ReadPair(format, input, output)) return nullptr;
  const int model = ChooseColorModel(input.c_str(), output.c_str());
  log_debug(kTag, "colorConvortModel:%d", model);
  MediaFormat copy = format;
  copy.SetInt32("color-convert-model", model);
  auto filter = std::make_unique<ColorFilter>();
  if (filter->Configure(copy) != 0) {
    log_error(kTag, "ColorFilter Configure error");
    return nullptr;
  }
  log_debug(kTag, "CreateColorFilter done");
  return filter.release();
}

}  // namespace codec
