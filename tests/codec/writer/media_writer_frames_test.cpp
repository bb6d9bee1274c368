// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/codec/writer/writer_fixture.h"

namespace codec {
namespace {

using Times = std::vector<int64_t>;

constexpr int kSoundBytes = 8192;

class WriterFrames : public WriterTest {};

TEST_F(WriterFrames, KeepsRepeatedZeroTimesButDropsLaterRepeats) {
  Begin(VideoFormat());
  for (const int64_t pts : {0, 0, 40000, 40000, 39999, 80000}) Video(pts);
  EXPECT_EQ(state->VideoTimes(), (Times{0, 0, 40000, 80000}));
  EXPECT_EQ(Logged(kLogDebug, "Discard repeat video frame:40000"), 1);
  EXPECT_EQ(Logged(kLogDebug, "Discard repeat video frame:39999"), 1);
}

TEST_F(WriterFrames, HandsOverCopiesWithSizeAndTime) {
  Begin(VideoFormat());
  Video(5, kPictureBytes, 7);
  Video(6, 3, 8);
  ASSERT_EQ(state->Kinds(), "OVV");
  EXPECT_EQ(state->calls[1].bytes, std::vector<uint8_t>(kPictureBytes, 7));
  EXPECT_EQ(state->calls[2].bytes, std::vector<uint8_t>(3, 8));
  EXPECT_EQ(state->VideoTimes(), (Times{5, 6}));
}

TEST_F(WriterFrames, DropsPicturesThatExceedTheirBuffer) {
  Begin(VideoFormat());
  Video(1, kPictureBytes + 1);
  EXPECT_EQ(state->Kinds(), "O");
  EXPECT_EQ(Logged(kLogWarn, "video frame of 17 bytes exceeds its buffer of 16"), 1);
  EXPECT_EQ(Logged(kLogDebug, "discard video frame"), 1);
  uint8_t byte = 0;
  writer->WriteFrame(1, &byte, 0xFFFFFFFFU, 2);
  EXPECT_EQ(state->Kinds(), "O");
}

TEST_F(WriterFrames, DropsPicturesWithoutData) {
  Begin(VideoFormat());
  writer->WriteFrame(1, nullptr, kPictureBytes, 1);
  EXPECT_EQ(state->Kinds(), "O");
  EXPECT_EQ(Logged(kLogDebug, "discard video frame"), 1);
}

TEST_F(WriterFrames, DropsPicturesWhereTheirSizeIsNotPositive) {
  MediaFormat format = VideoFormat();
  format.SetInt32("video-frame-size", -16);
  Begin(format);
  Video(1);
  Video(2, 0);
  EXPECT_EQ(state->Kinds(), "O");
}

TEST_F(WriterFrames, UsesNoBufferLeftByAWriterOfSmallerPictures) {
  MediaBufferPool::Instance()->RefillVideo(kPictureBytes - 1);
  Begin(VideoFormat());
  Video(1, kPictureBytes, 9);
  EXPECT_EQ(state->Of('V').at(0).bytes, std::vector<uint8_t>(kPictureBytes, 9));
}

TEST_F(WriterFrames, PassesPicturesThroughTheFilter) {
  Begin(VideoFormat(), new FakeFilter(kPictureBytes));
  // The filter's input may be larger than its output.
  Video(3, 2 * kPictureBytes, 4);
  ASSERT_EQ(state->Kinds(), "OV");
  EXPECT_EQ(state->calls[1].bytes, std::vector<uint8_t>(kPictureBytes, 5));
  EXPECT_EQ(state->calls[1].pts, 3);
}

TEST_F(WriterFrames, DropsWhatTheFilterDoesNotReturn) {
  Begin(VideoFormat(), new FakeFilter(kPictureBytes));
  MediaBufferPool::Instance()->Reset();
  Video(3);
  EXPECT_EQ(state->Kinds(), "O");
  EXPECT_EQ(Logged(kLogDebug, "discard video frame"), 1);
}

TEST_F(WriterFrames, DropsPicturesWhenNoBufferIsFree) {
  state->nextType = [] { return 0; };
  Begin(VideoFormat());
  for (int i = 1; i <= 6; ++i) Video(i);
  EXPECT_EQ(state->Kinds(), "O");
  EXPECT_EQ(Logged(kLogDebug, "discard video frame"), 1);
  writer->Stop();
  EXPECT_EQ(state->VideoTimes(), (Times{1, 2, 3, 4, 5}));
}

TEST_F(WriterFrames, DropsSoundBeforeTheFirstPicture) {
  state->nextType = [] { return 2; };
  Begin(SoundFormat());
  Audio(0, kSoundBytes);
  EXPECT_EQ(Logged(kLogDebug, "discard audio frame, no video arrive"), 1);
  Video(0);
  Audio(0, kSoundBytes, 2);
  EXPECT_EQ(state->Kinds(), "OVA");
  EXPECT_EQ(state->calls[2].bytes, std::vector<uint8_t>(kSoundBytes, 2));
}

TEST_F(WriterFrames, KeepsSoundBeforeTheFirstPictureWhenAskedTo) {
  MediaFormat format = SoundFormat();
  format.SetInt32("auto-discard-audio", 0);
  Begin(format);
  Audio(0, kSoundBytes);
  EXPECT_EQ(state->Kinds(), "OA");
}

TEST_F(WriterFrames, CountsADroppedPictureAsArrived) {
  Begin(SoundFormat());
  Video(1, kPictureBytes + 1);
  Audio(0, kSoundBytes);
  EXPECT_EQ(state->Kinds(), "OA");
}

TEST_F(WriterFrames, ReportsSoundWithoutAudio) {
  Begin(VideoFormat());
  Video(0);
  Audio(0, kSoundBytes);
  EXPECT_EQ(Logged(kLogError, "AudioProcess push frame error"), 1);
  EXPECT_EQ(state->Kinds(), "OV");
}

TEST_F(WriterFrames, DrainsWhatWaitsOnAnyCallButThoseThatEndEarly) {
  int wanted = 0;
  state->nextType = [&] { return wanted; };
  Begin(SoundFormat());
  Video(1);
  EXPECT_EQ(state->Kinds(), "O");
  wanted = 1;
  // Neither picture nor sound, but a call.
  writer->WriteFrame(2, nullptr, 0, 0);
  EXPECT_EQ(state->Kinds(), "OV");
  wanted = 0;
  Video(2);
  wanted = 1;
  writer->WriteFrame(2, nullptr, 8, 0);
  EXPECT_EQ(state->Kinds(), "OV");
  EXPECT_EQ(Logged(kLogError, "AudioProcess push frame error"), 1);
  // A repeat is dropped, the queue is drained all the same.
  Video(2);
  EXPECT_EQ(state->Kinds(), "OVV");
  wanted = 0;
  Video(3);
  wanted = 1;
  writer->WriteFrame(3, nullptr, 8, 0);
  EXPECT_EQ(state->Kinds(), "OVVV");
}

TEST_F(WriterFrames, FillsAJumpOfThreeSecondsWithSilence) {
  Begin(SoundFormat());
  Video(0);
  Audio(0, kSoundBytes, 1);
  Audio(3000000, kSoundBytes, 2);
  // From 46439 us on, frames of 46439 us up to 3000000 - 46439.
  const int expected = (3000000 - 46439 - 1) / 46439;
  EXPECT_EQ(Logged(kLogDebug, "Add empty audio frame"), expected);
  const std::vector<EncoderState::Call> sound = state->Of('A');
  ASSERT_EQ(static_cast<int>(sound.size()), expected + 2);
  EXPECT_EQ(sound.front().bytes, std::vector<uint8_t>(kSoundBytes, 1));
  for (size_t i = 1; i + 1 < sound.size(); ++i) {
    EXPECT_EQ(sound[i].bytes, std::vector<uint8_t>(kSoundBytes, 0));
  }
  EXPECT_EQ(sound.back().bytes, std::vector<uint8_t>(kSoundBytes, 2));
}

TEST_F(WriterFrames, DropsSoundThatRunsMoreThanASecondAhead) {
  Begin(SoundFormat());
  Video(0);
  for (int i = 0; i < 30; ++i) Audio(0, kSoundBytes);
  // Stamps 0 to 21 * 46439 = 975219 are within a second, and 22 * 46439 = 1021658 is not.
  EXPECT_EQ(state->Of('A').size(), 22U);
  EXPECT_EQ(Logged(kLogDebug, "Discard audio frame"), 8);
}

TEST_F(WriterFrames, KeepsSoundThatRunsAheadWithoutSync) {
  MediaFormat format = SoundFormat();
  format.SetInt32("enable-av-sync", 0);
  Begin(format);
  Video(0);
  for (int i = 0; i < 30; ++i) Audio(0, kSoundBytes);
  EXPECT_EQ(state->Of('A').size(), 30U);
}

TEST_F(WriterFrames, PadsTheLastSoundAtStop) {
  Begin(SoundFormat());
  Video(0);
  Audio(0, 100, 6);
  writer->Stop();
  ASSERT_EQ(state->Kinds(), "OVAC");
  std::vector<uint8_t> padded(kSoundBytes, 0);
  std::fill(padded.begin(), padded.begin() + 100, uint8_t{6});
  EXPECT_EQ(state->calls[2].bytes, padded);
  EXPECT_EQ(Logged(kLogDebug, "flush data:100, audio_frame_size:8192"), 1);
}

TEST_F(WriterFrames, FlushesByPreferenceThenByTime) {
  int answers = 0;
  state->nextType = [&] { return answers-- > 0 ? 2 : 0; };
  Begin(SoundFormat());
  Video(0);
  Video(40000);
  Video(60000);
  for (int i = 0; i < 3; ++i) Audio(0, kSoundBytes);
  EXPECT_EQ(state->Kinds(), "O");
  // One frame of sound by preference; then pictures at 0 and 40 ms, sound at 46 ms, the picture at
  // 60 ms, sound at 93 ms.
  answers = 1;
  writer->Stop();
  EXPECT_EQ(state->Kinds(), "OAVVAVAC");
}

TEST_F(WriterFrames, EncodesNothingAfterStop) {
  Begin(SoundFormat());
  Video(0);
  writer->Stop();
  Video(40000);
  Audio(0, kSoundBytes);
  EXPECT_EQ(state->Kinds(), "OVC");
}

TEST_F(WriterFrames, StopsWhenDestroyedWithoutStop) {
  state->nextType = [] { return 0; };
  Begin(VideoFormat());
  Video(0);
  writer.reset();
  EXPECT_EQ(state->Kinds(), "OVCD");
}

TEST_F(WriterFrames, CarriesOnWhenTheEncoderFails) {
  state->encodeResult = -22;
  Begin(VideoFormat());
  for (int i = 1; i <= 20; ++i) Video(i);
  EXPECT_EQ(state->VideoTimes().size(), 20U);
}

}  // namespace
}  // namespace codec
