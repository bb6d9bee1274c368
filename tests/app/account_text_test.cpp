// SPDX-License-Identifier: MIT
#include "app/account_text.h"

#include <gtest/gtest.h>

namespace app {
namespace {

TEST(AccountText, SaysWhatWasReversed) {
  codec::JobAccount account;
  account.pictures = 150;
  account.sound.written = 6;
  EXPECT_EQ(ReversedText(account), "150 pictures and 6.000 s of sound reversed");
  EXPECT_EQ(LossText(account), "");
  EXPECT_TRUE(account.IsWhole());
}

TEST(AccountText, CountsOnePictureInTheSingular) {
  codec::JobAccount account;
  account.pictures = 1;
  account.lost.undecoded = 1;
  account.lost.first = 0.04;
  EXPECT_EQ(ReversedText(account), "1 picture reversed");
  EXPECT_EQ(LossText(account), "1 picture could not be decoded (the first at 0.040 s)");
  EXPECT_FALSE(account.IsWhole());
}

TEST(AccountText, SaysHowMuchWasLostAndWhyAndWhere) {
  codec::JobAccount account;
  account.lost.undecoded = 3;
  account.lost.dropped = 2;
  account.lost.timeless = 1;
  account.lost.unread = 4;
  account.lost.first = 1.24;
  account.sound.lost = 0.064;
  account.sound.firstLost = 2;
  EXPECT_EQ(LossText(account),
            "3 pictures could not be decoded, 2 pictures could not be converted, 1 picture shared "
            "a time with the next, 4 pictures could not be reached (the first at 1.240 s), 0.064 s "
            "of sound could not be decoded (the "
            "first at 2.000 s)");
}

TEST(AccountText, SaysThatTheFileIsCutOff) {
  codec::JobAccount account;
  account.input = {1000, 600};
  EXPECT_EQ(LossText(account), "the file is cut off: 400 of its 1000 bytes are missing");
  EXPECT_FALSE(account.IsWhole());
}

TEST(AccountText, NamesNoPlaceThatNobodyKnows) {
  codec::JobAccount account;
  account.lost.timeless = 2;
  EXPECT_EQ(LossText(account), "2 pictures shared a time with the next");
}

}  // namespace
}  // namespace app
