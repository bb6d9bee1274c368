// SPDX-License-Identifier: MIT
#include "codec/filter/logo_loader.h"

#include <png.h>
#include <sys/stat.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <utility>

#include "base/log.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::LogoLoader";

// A logo is no larger than the pictures that it goes on; the limits keep a crafted file from
// costing memory or time.
constexpr uint32_t kMaxSide = 16384;
constexpr int64_t kMaxPixels = int64_t{1} << 25;
constexpr size_t kMaxChunkBytes = size_t{8} << 20;
constexpr size_t kSignatureBytes = 8;

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using UniqueFile = std::unique_ptr<std::FILE, CloseFile>;

// A special file could block the open or never end.
UniqueFile OpenRegular(const char* path) {
  struct stat status = {};
  if (stat(path, &status) != 0 || !S_ISREG(status.st_mode)) return nullptr;
  return UniqueFile(std::fopen(path, "rb"));
}

using ErrorText = std::array<char, 128>;

[[noreturn]] void OnError(png_structp png, png_const_charp message) {
  auto* const text = static_cast<ErrorText*>(png_get_error_ptr(png));
  std::snprintf(text->data(), text->size(), "%s", message);
  png_longjmp(png, 1);
}

void OnWarning(png_structp, png_const_charp message) { log_debug(kTag, "%s", message); }

// libpng leaves a call that fails by longjmp. It lands in Guarded, so that between there and libpng
// only `step` runs, which holds no object with a destructor.
template <typename Step>
bool Guarded(png_structp png, Step step) {
  if (setjmp(png_jmpbuf(png)) != 0) return false;
  step();
  return true;
}

class PngReader {
 public:
  PngReader() {
    mPng = png_create_read_struct(PNG_LIBPNG_VER_STRING, &mError, &OnError, &OnWarning);
    if (mPng != nullptr) mInfo = png_create_info_struct(mPng);
  }
  ~PngReader() { png_destroy_read_struct(&mPng, &mInfo, nullptr); }
  PngReader(const PngReader&) = delete;
  PngReader& operator=(const PngReader&) = delete;

  const char* Error() const { return mError.data(); }

  // Reads up to the pixels.
  bool ReadHeader(std::FILE* file) {
    if (mInfo == nullptr) return false;
    png_structp png = mPng;
    png_infop info = mInfo;
    return Guarded(png, [png, info, file] {
      png_init_io(png, file);
      png_set_sig_bytes(png, kSignatureBytes);
      png_set_user_limits(png, kMaxSide, kMaxSide);
      png_set_chunk_malloc_max(png, kMaxChunkBytes);
      png_read_info(png, info);
    });
  }

  void Describe(Logo* logo) const {
    logo->width = static_cast<int32_t>(png_get_image_width(mPng, mInfo));
    logo->height = static_cast<int32_t>(png_get_image_height(mPng, mInfo));
    logo->colorType = png_get_color_type(mPng, mInfo);
    logo->bitDepth = png_get_bit_depth(mPng, mInfo);
  }

  // Reads rows of `stride` bytes, and what follows them.
  bool ReadPixels(uint8_t* pixels, size_t stride, int32_t height) {
    png_structp png = mPng;
    return Guarded(png, [png, pixels, stride, height] {
      png_set_bgr(png);
      const int passes = png_set_interlace_handling(png);
      png_start_read_image(png);
      for (int pass = 0; pass < passes; ++pass) {
        for (int32_t row = 0; row < height; ++row) {
          png_read_row(png, pixels + static_cast<size_t>(row) * stride, nullptr);
        }
      }
      png_read_end(png, nullptr);
    });
  }

 private:
  png_structp mPng = nullptr;
  png_infop mInfo = nullptr;
  ErrorText mError{};
};

int Fail(const char* path, const char* reason) {
  log_error(kTag, "cannot read logo %s: %s", path, reason);
  return -1;
}

bool HasSignature(std::FILE* file) {
  std::array<png_byte, kSignatureBytes> bytes{};
  return std::fread(bytes.data(), 1, bytes.size(), file) == bytes.size() &&
         png_sig_cmp(bytes.data(), 0, bytes.size()) == 0;
}

}  // namespace

int LoadLogo(const char* path, Logo* logo) {
  const UniqueFile file = OpenRegular(path);
  if (file == nullptr) return Fail(path, "no such file");
  if (!HasSignature(file.get())) return Fail(path, "not a PNG");
  PngReader reader;
  if (!reader.ReadHeader(file.get())) return Fail(path, reader.Error());
  Logo loaded;
  reader.Describe(&loaded);
  if (loaded.colorType == kPngRgb) {
    if (loaded.bitDepth != 8) return Fail(path, "16-bit samples are not supported");
    if (int64_t{loaded.width} * loaded.height > kMaxPixels) return Fail(path, "too large");
    const size_t stride = static_cast<size_t>(loaded.width) * 3;
    loaded.pixels.reset(
        static_cast<uint8_t*>(std::calloc(static_cast<size_t>(loaded.height), stride)));
    if (loaded.pixels == nullptr) return Fail(path, "no memory");
    if (!reader.ReadPixels(loaded.pixels.get(), stride, loaded.height)) {
      return Fail(path, reader.Error());
    }
  }
  *logo = std::move(loaded);
  return 0;
}

}  // namespace codec
