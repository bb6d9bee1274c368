// SPDX-License-Identifier: MIT
#include "app/advice.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <vector>

#include "codec/ffmpeg/ffmpeg_headers.h"

namespace app {
namespace {

// A run on a good clip that failed for no known reason.
Failure Unknown() {
  Failure failure;
  failure.order = {"in.mp4", "out.mp4", 0, 0};
  failure.info.has_video = 1;
  failure.info.has_audio = 1;
  failure.info.duration = 3;
  failure.info.width = 640;
  failure.info.height = 360;
  failure.info.sample_rate = 48000;
  failure.start = 1;
  failure.end = 2.5;
  return failure;
}

using codec::FailedStep;

struct Case {
  void (*spoil)(Failure*);
  const char* advice;
};

TEST(Advice, NamesTheFileTheReasonAndWhatWouldWork) {
  const std::vector<Case> cases = {
      {[](Failure* f) { f->order.input = ""; }, "no input is named; name it with -i FILE"},
      {[](Failure* f) {
         f->cause = {FailedStep::kOpenInput, AVERROR(ENOENT)};
       },
       "in.mp4 does not exist; check the name after -i"},
      {[](Failure* f) {
         f->order.input.assign(1, '-');
         f->cause = {FailedStep::kOpenInput, AVERROR(ENOENT)};
       },
       "- is no file; save what it leads to, and name that file with -i"},
      {[](Failure* f) {
         f->order.input = "https://host/in.mp4";
         f->cause = {FailedStep::kOpenInput, AVERROR(ENOENT)};
       },
       "https://host/in.mp4 is no file; save what it leads to, and name that file with -i"},
      {[](Failure* f) {
         f->cause = {FailedStep::kOpenInput, AVERROR(EACCES)};
       },
       "in.mp4 may not be read; allow it with chmod +r, or ask its owner"},
      {[](Failure* f) {
         f->cause = {FailedStep::kOpenInput, AVERROR(ENOTDIR)};
       },
       "in.mp4 cannot be opened (Not a directory); check the name after -i"},
      {[](Failure* f) {
         f->info = {};
         f->cause.obstacle = "its clock restarts at 3.000 s; put it on one time line first";
       },
       "in.mp4 cannot be reversed: its clock restarts at 3.000 s; put it on one time line first"},
      {[](Failure* f) {
         f->cause.obstacle = "its clock restarts";
         f->order.isPlain = true;
       },
       "in.mp4 cannot be reversed: its clock restarts, or try without --plain"},
      {[](Failure* f) {
         f->cause = {FailedStep::kCopy};
         f->cause.obstacle = "its picture leans on others";
       },
       "in.mp4 cannot be copied: its picture leans on others; leave --copy out, which encodes its "
       "pictures anew"},
      {[](Failure* f) {
         f->cause = {FailedStep::kCopy};
         f->cause.obstacle = "out.mp4 cannot hold it; use .mov";
       },
       "in.mp4 cannot be copied: out.mp4 cannot hold it; use .mov, or leave --copy out, which "
       "encodes its pictures anew"},
      {[](Failure* f) {
         f->memoryNeeded = (int64_t{180} << 20) - 5;
         f->memoryGranted = int64_t{96} << 20;
         f->info = {};
       },
       "in.mp4 needs 180 MB of memory, more than the 96 MB that it may have; allow more with the "
       "container's limit, or make its pictures smaller first"},
      {[](Failure* f) {
         f->memoryNeeded = int64_t{180} << 20;
         f->memoryGranted = int64_t{96} << 20;
         f->order.memory = f->memoryGranted;
       },
       "in.mp4 needs 180 MB of memory, more than the 96 MB that it may have; allow more with "
       "--memory, or make its pictures smaller first"},
      {[](Failure* f) {
         f->cause = {FailedStep::kOpenInput, AVERROR(ESPIPE), "a pipe (FIFO)"};
       },
       "in.mp4 cannot be reversed: it is a pipe (FIFO), which cannot be read backwards; use a "
       "media "
       "file"},
      {[](Failure* f) {
         f->cause = {FailedStep::kOpenInput, AVERROR_INVALIDDATA};
         f->info = {};
       },
       "in.mp4 is no media file, or is cut off; use a whole video that other players open"},
      {[](Failure* f) {
         f->cause = {FailedStep::kHost, AVERROR(ENOMEM)};
         f->info = {};
       },
       "in.mp4 needs more memory than there is; end other programs, or try a smaller --memory"},
      {[](Failure* f) { f->cause.step = FailedStep::kSameFile; },
       "out.mp4 is the input itself; choose another name for -o"},
      {[](Failure* f) { f->info = {}; },
       "in.mp4 is no media file, or is cut off; use a whole video that other players open"},
      {[](Failure* f) { f->info.has_video = 0; },
       "in.mp4 has sound only; use a clip that has video"},
      {[](Failure* f) { f->info.duration = 0; },
       "in.mp4 does not tell its length; put it into .mkv or .mp4 first"},
      {[](Failure* f) { f->order.start = 3; },
       "in.mp4 ends before the range starts; use -s below 3.000 s"},
      {[](Failure* f) {
         f->info.duration = 2.4F;
         f->order.start = 2.4;
       },
       "in.mp4 ends before the range starts; use -s below 2.400 s"},
      {[](Failure* f) {
         f->cause.step = FailedStep::kCheckRange;
         f->end = 0.5;
       },
       "in.mp4 cannot be reversed from 1.000 s to 0.500 s, which is an empty range; use -e above "
       "1.000 s"},
      {[](Failure* f) {
         f->cause = {FailedStep::kOpenOutput, AVERROR_EXTERNAL};
         f->info.width = 641;
       },
       "in.mp4 has pictures of 641x360, which H.264 cannot hold; crop it to an even width and "
       "height first"},
      {[](Failure* f) {
         f->cause = {FailedStep::kOpenOutput, AVERROR_EXTERNAL};
         f->info.height = 361;
       },
       "in.mp4 has pictures of 640x361, which H.264 cannot hold; crop it to an even width and "
       "height first"},
      {[](Failure* f) {
         f->cause = {FailedStep::kOpenOutput, AVERROR_EXTERNAL};
         f->info.sample_rate = 192000;
       },
       "in.mp4 has sound of 192000 Hz, which AAC cannot hold; convert it to 48000 Hz first"},
      {[](Failure* f) { f->order.output = ""; },
       "no output is named; name it with -o FILE, as in -o reversed.mp4"},
      {[](Failure* f) {
         f->notTaken = "H.264";
         f->cause = {FailedStep::kWriteOutput, AVERROR(EINVAL)};
       },
       "out.mp4 cannot hold H.264; use --set video-codec=libx264 --set audio-codec=aac, or .mp4, "
       ".mov, .mkv, .avi or .ts"},
      {[](Failure* f) {
         f->order.output = "my.clips/out";
         f->notTaken = "H.264";
         f->cause = {FailedStep::kWriteOutput, AVERROR(EINVAL)};
       },
       "my.clips/out has no extension that says what to write; use .mp4, .mov, .mkv, .avi or .ts"},
      {[](Failure* f) {
         f->cause = {FailedStep::kWriteOutput, AVERROR(EINVAL), "a pipe (FIFO)"};
       },
       "out.mp4 is a pipe (FIFO), and this container is written back and forth; use .mkv or .ts "
       "for it, or write to a file"},
      {[](Failure* f) {
         f->cause = {FailedStep::kReadInput, AVERROR_INVALIDDATA};
       },
       "in.mp4 gave no picture from 1.000 s to 2.500 s; its pictures may end before, or be damaged "
       "there; try another range with -s and -e"},
      {[](Failure* f) {
         f->cause = {FailedStep::kReadRange, AVERROR(ENODATA)};
       },
       "in.mp4 has no picture that begins in the range from 1.000 s to 2.500 s; make it longer "
       "with -s and -e"},
      {[](Failure* f) {
         f->cause = {FailedStep::kReadFirst, AVERROR(ENODATA)};
       },
       "in.mp4 has no picture there but the one that the range begins with, which is left out; "
       "begin a little earlier with -s"},
      {[](Failure* f) {
         f->notTaken = "H.264";
         f->cause = {FailedStep::kOpenOutput, AVERROR(ENOENT)};
       },
       "out.mp4 lies in a folder that does not exist; make the folder or choose another"},
      {[](Failure* f) {
         f->cause = {FailedStep::kOpenOutput, AVERROR(EACCES)};
       },
       "out.mp4 may not be written; choose a folder that you may write to"},
      {[](Failure* f) {
         f->cause = {FailedStep::kWriteOutput, AVERROR(EEXIST)};
       },
       "out.mp4 was made by another program during the run; choose another name for -o"},
      {[](Failure* f) {
         f->cause = {FailedStep::kWriteOutput, AVERROR(ENOSPC)};
       },
       "out.mp4 did not fit on its disk, which is full; free some room or use another disk"},
      {[](Failure*) {}, "out.mp4 could not be made; the lines above say why, and -v tells more"},
  };
  for (const Case& row : cases) {
    Failure failure = Unknown();
    row.spoil(&failure);
    EXPECT_EQ(Advice(failure), row.advice);
  }
}

TEST(Advice, SpeaksOfSoundOnlyWhereThereIsSome) {
  for (const bool isLeftOut : {false, true}) {
    Failure failure = Unknown();
    failure.cause = {FailedStep::kOpenOutput, AVERROR_EXTERNAL};
    failure.info.has_audio = isLeftOut ? 1 : 0;
    failure.order.hasNoSound = isLeftOut;
    failure.info.sample_rate = 192000;
    EXPECT_EQ(Advice(failure), Advice(Unknown()));
  }
}

TEST(Advice, SpeaksOfTheInputOnlyWhereTheEncoderRefusesIt) {
  Failure failure = Unknown();
  failure.info.width = 641;
  for (const FailedStep step : {FailedStep::kOpenOutput, FailedStep::kWriteOutput}) {
    failure.cause = {step, AVERROR(ENOSPC)};
    EXPECT_EQ(Advice(failure),
              "out.mp4 did not fit on its disk, which is full; free some room or use another disk");
  }
}

// The sentences for programs name no option of the tool.
TEST(Advice, UsesTheNamesOfTheOrder) {
  Failure failure = Unknown();
  failure.order.names = &kJobNames;
  EXPECT_EQ(Advice(failure), "out.mp4 could not be made; the log says why");
  failure.cause = {FailedStep::kOpenInput, AVERROR(ENOENT)};
  EXPECT_EQ(Advice(failure), "in.mp4 does not exist; check its name");
  failure.cause = {FailedStep::kReadRange, AVERROR(ENODATA)};
  EXPECT_EQ(
      Advice(failure),
      "in.mp4 has no picture that begins in the range from 1.000 s to 2.500 s; make it longer "
      "with \"start\" and \"end\"");
  failure.cause = {FailedStep::kCancel, AVERROR(ECANCELED)};
  EXPECT_EQ(Advice(failure), "out.mp4 was not made: the job was cancelled");
}

}  // namespace
}  // namespace app
