// SPDX-License-Identifier: MIT
#include "codec/writer/frame_drain.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "tests/codec/writer/fake_encoder.h"

namespace codec {
namespace {

class FrameDrainTest : public testing::Test {
 protected:
  void SetUp() override { gate.Open(); }

  void Queue(int type, int64_t pts, int32_t size = 1) {
    PooledBuffer buffer(new MediaBuffer(type));
    buffer->Allocate(8);
    buffer->SetPts(pts);
    buffer->SetSize(size);
    (type == 1 ? video : audio).Append(std::move(buffer));
  }

  std::shared_ptr<EncoderState> state = std::make_shared<EncoderState>();
  EncoderGate gate{new FakeEncoder(state)};
  FrameQueue video;
  FrameQueue audio;
  FrameDrain drain{&video, &audio, &gate};
};

TEST_F(FrameDrainTest, TakesTheKindThatTheEncoderWantsElseTheOther) {
  for (int i = 0; i < 2; ++i) Queue(1, i);
  for (int i = 0; i < 2; ++i) Queue(2, i);
  const int wanted[] = {2, 1, 1, 1};
  int asked = 0;
  state->nextType = [&] { return asked < 4 ? wanted[asked++] : 2; };
  drain.DrainPreferred();
  EXPECT_EQ(state->Kinds(), "OAVVA");
}

TEST_F(FrameDrainTest, TakesVideoWhenAudioIsWantedButMissing) {
  Queue(1, 0);
  state->nextType = [] { return 2; };
  EXPECT_TRUE(drain.WriteNext());
  EXPECT_FALSE(drain.WriteNext());
  EXPECT_EQ(state->Kinds(), "OV");
}

TEST_F(FrameDrainTest, TakesNothingForAnyOtherAnswer) {
  Queue(1, 0);
  Queue(2, 0);
  for (const int answer : {0, -1, 3}) {
    state->nextType = [answer] { return answer; };
    EXPECT_FALSE(drain.WriteNext());
  }
  EXPECT_EQ(state->Kinds(), "O");
}

TEST_F(FrameDrainTest, DrainsByTimeWhateverTheEncoderWants) {
  state->nextType = [] { return 0; };
  Queue(1, 0);
  Queue(1, 40000);
  Queue(2, 0);
  Queue(2, 30000);
  Queue(2, 50000);
  drain.DrainByTime();
  EXPECT_EQ(state->Kinds(), "OVAAVA");
  EXPECT_TRUE(video.Empty());
  EXPECT_TRUE(audio.Empty());
}

TEST_F(FrameDrainTest, WritesVideoOfNoBytesButNotAudioOfNoBytes) {
  Queue(1, 0, 0);
  Queue(1, 1, -1);
  Queue(2, 0, 0);
  drain.DrainPreferred();
  EXPECT_EQ(state->Kinds(), "OV");
}

TEST_F(FrameDrainTest, GivesFramesBackToThePoolAfterEncoding) {
  MediaBufferPool::Instance()->Reset();
  Queue(1, 77);
  state->encodeResult = -22;
  drain.DrainPreferred();
  const std::unique_ptr<MediaBuffer> back(MediaBufferPool::Instance()->TakeVideo());
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(back->pts, 77);
}

TEST(EncoderGate, ClosesAnOpenedEncoderOnceHoweverItsLifeEnds) {
  auto state = std::make_shared<EncoderState>();
  { const EncoderGate never(new FakeEncoder(state)); }
  EXPECT_EQ(state->Kinds(), "D");
  state->calls.clear();
  {
    EncoderGate opened(new FakeEncoder(state));
    opened.Open();
  }
  EXPECT_EQ(state->Kinds(), "OCD");
  state->calls.clear();
  state->openResult = -1;
  {
    EncoderGate failed(new FakeEncoder(state));
    EXPECT_EQ(failed.Open(), -1);
  }
  EXPECT_EQ(state->Kinds(), "OCD");
  state->calls.clear();
  {
    EncoderGate closed(new FakeEncoder(state));
    closed.Open();
    closed.Close();
    closed.Close();
    PooledBuffer late(new MediaBuffer(1));
    closed.Write(std::move(late));
  }
  EXPECT_EQ(state->Kinds(), "OCD");
}

TEST(EncoderGate, AnswersMinusOneWithoutAnEncoder) {
  EncoderGate gate(nullptr);
  EXPECT_FALSE(gate.HasEncoder());
  EXPECT_EQ(gate.Open(), -1);
  EXPECT_EQ(gate.GetParameter("sample-rate"), -1);
  gate.Write(PooledBuffer(new MediaBuffer(1)));
  gate.Close();
}

}  // namespace
}  // namespace codec
