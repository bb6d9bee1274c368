// SPDX-License-Identifier: MIT
#include "app/account_text.h"

#include <cmath>
#include <vector>

#include "app/seconds_text.h"

namespace app {
namespace {

std::string PicturesText(int64_t count) {
  return std::to_string(count) + (count == 1 ? " picture" : " pictures");
}

std::string FirstText(double seconds) {
  return std::isinf(seconds) ? "" : " (the first at " + SecondsText(seconds) + ")";
}

}  // namespace

std::string ReversedText(const codec::JobAccount& account) {
  std::string text = PicturesText(account.pictures);
  if (account.sound.written > 0) text += " and " + SecondsText(account.sound.written) + " of sound";
  return text + " reversed";
}

std::string LossText(const codec::JobAccount& account) {
  const codec::LostPictures& lost = account.lost;
  std::vector<std::string> parts;
  const auto add = [&parts](int64_t count, const char* why) {
    if (count > 0) parts.push_back(PicturesText(count) + why);
  };
  add(lost.undecoded, " could not be decoded");
  add(lost.dropped, " could not be converted");
  add(lost.timeless, " shared a time with the next");
  add(lost.unread, " could not be reached");
  if (!parts.empty()) parts.back() += FirstText(lost.first);
  if (account.sound.lost > 0) {
    parts.push_back(SecondsText(account.sound.lost) + " of sound could not be decoded" +
                    FirstText(account.sound.firstLost));
  }
  if (account.input.Missing() > 0) {
    parts.push_back("the file is cut off: " + std::to_string(account.input.Missing()) + " of its " +
                    std::to_string(account.input.told) + " bytes are missing");
  }
  std::string text;
  for (const std::string& part : parts) text += (text.empty() ? "" : ", ") + part;
  return text;
}

}  // namespace app
