// SPDX-License-Identifier: MIT
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <string>

#include "base/log_backend.h"
#include "codec/format/media_format.h"
#include "tests/fuzz/require.h"
#include "tests/fuzz/targets.h"

namespace fuzz {
namespace {

class ByteReader {
 public:
  ByteReader(const uint8_t* data, size_t size) : mData(data), mLeft(size) {}

  bool HasMore() const { return mLeft > 0; }

  // As many bytes of `value` as there are left; the others are 0.
  template <typename Number>
  Number Take() {
    Number value{};
    const size_t count = std::min(mLeft, sizeof(value));
    std::memcpy(&value, mData, count);
    mData += count;
    mLeft -= count;
    return value;
  }

  std::string TakeText() {
    const size_t length = std::min<size_t>(Take<uint8_t>(), mLeft);
    const std::string text(reinterpret_cast<const char*>(mData), length);
    mData += length;
    mLeft -= length;
    // As everywhere in the bag, the first zero ends it.
    return text.c_str();
  }

 private:
  const uint8_t* mData;
  size_t mLeft;
};

void CheckNumbers(const codec::MediaFormat& format, const char* key, bool present) {
  constexpr int kUntouched = -12345;
  int integer = kUntouched;
  double number = kUntouched;
  Require((format.GetInt32(key, integer) == 0) == present, "a whole number is there as its key is");
  Require((format.GetDouble(key, number) == 0) == present, "a number is there as its key is");
  if (present) return;
  Require(integer == kUntouched && number == kUntouched, "an absent key changes nothing");
}

void SetText(codec::MediaFormat* format, const std::string& key, ByteReader* bytes) {
  const std::string text = bytes->TakeText();
  format->SetString(key.c_str(), text.c_str());
  std::string back;
  Require(format->GetString(key.c_str(), back) == 0 && back == text, "a text comes back");
}

void SetInteger(codec::MediaFormat* format, const std::string& key, ByteReader* bytes) {
  const auto value = bytes->Take<int32_t>();
  format->SetInt32(key.c_str(), value);
  int back = 0;
  Require(format->GetInt32(key.c_str(), back) == 0 && back == value, "a whole number comes back");
}

void SetNumber(codec::MediaFormat* format, const std::string& key, ByteReader* bytes) {
  const auto value = bytes->Take<double>();
  format->SetDouble(key.c_str(), value);
  double back = 0;
  Require(format->GetDouble(key.c_str(), back) == 0, "a number is there");
  // Six significant digits; the largest numbers round up to infinity, the smallest lose digits.
  const double size = std::abs(value);
  if (size > 1e-300 && size < 1e300) {
    Require(std::abs(back - value) <= size * 1e-5, "a number comes back");
  }
}

void Get(codec::MediaFormat* format, const std::string& key, ByteReader* /*bytes*/) {
  std::string text = "untouched";
  const bool present = format->GetString(key.c_str(), text) == 0;
  Require(present == (format->Entries().count(key) == 1), "the getter knows what the bag holds");
  if (!present) Require(text == "untouched", "an absent key changes nothing");
  CheckNumbers(*format, key.c_str(), present);
}

void Copy(codec::MediaFormat* format, const std::string& key, ByteReader* bytes) {
  codec::MediaFormat copy = *format;
  const auto before = format->Entries();
  copy.SetString(key.c_str(), bytes->TakeText().c_str());
  Require(format->Entries() == before, "a copy shares nothing");
  copy.Dump();
}

constexpr std::array kOperations = {&SetText, &SetInteger, &SetNumber, &Get, &Copy};

}  // namespace

void FormatTarget(const uint8_t* data, size_t size) {
  LogBackend()->set_level(spdlog::level::off);
  codec::MediaFormat format;
  ByteReader bytes(data, size);
  while (bytes.HasMore()) {
    const auto operation = bytes.Take<uint8_t>();
    const std::string key = bytes.TakeText();
    kOperations[operation % kOperations.size()](&format, key, &bytes);
  }
}

}  // namespace fuzz
