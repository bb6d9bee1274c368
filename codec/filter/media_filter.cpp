#include "codec/filter/media_filter.h"

#include <limits>

#include "base/log.h"
#include "codec/utils/image_utils.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::MediaFilter";

// Four bytes a pixel is the most that a working buffer takes for the sizes of this system.
bool IsUsableSize(int64_t width, int64_t height) {
  if (width <= 0 || height <= 0) return false;
  return WithSlack(4 * width * height) <= std::numeric_limits<int32_t>::max();
}

}  // namespace

MediaFilter::~MediaFilter() {
  delete next;
  next = nullptr;
}

int MediaFilter::Configure(MediaFormat& format) {
  format.GetInt32("width", width);
  format.GetInt32("height", height);
  if (!IsUsableSize(width, height)) {
    log_error(kTag, "Invalid size (%d, %d)", width, height);
    return -1;
  }
  return 0;
}

void AppendFilter(MediaFilter* head, MediaFilter* filter) {
  while (head->next != nullptr) head = head->next;
  head->next = filter;
}

}  // namespace codec
