// SPDX-License-Identifier: MIT
// Makes the clips that the tests work on, with ffmpeg, once for each build directory.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace test_support {

// Every kind shows a moving scene whose top rows carry the frame's number in binary (see
// ReadFrameNumber), and sounds a sweep whose pitch tells the time.
enum class ClipKind {
  kH264,          // MP4, 640x360, 25 fps, 6 s, B-frames, GOP 25, AAC stereo 48 kHz
  kH264LongGop,   // the same with one GOP of 250 frames, 12 s
  kH264Short,     // 3 s, key frames every second, no B-frames
  kH264NoAudio,   // 5 s without sound
  kVp9,           // WebM, 640x360, 30 fps, 4 s, Opus
  kHevc10,        // MP4, 10 bit, 640x360, 4 s, AAC
  kMpeg4Avi,      // AVI, MPEG-4 Part 2 with B-frames, MP3
  kTransport,     // MPEG-TS whose stamps start at 10 s, H.264 with B-frames, AAC
  kVariableRate,  // MP4 whose frame distances change
  kRotated,       // MP4 with a display matrix of 90 degrees, 640x360 stored
  kMono,          // MP4, AAC mono 44.1 kHz
  kSurround,      // MP4, AAC 5.1
  kTiny,          // MP4, 32x32 pictures, no frame number in them
  kSixtyFps,      // MP4, 60 fps, 3 s
  kNtsc,          // MP4, 30000/1001 fps
  kPcmFloat,      // MOV, packed float stereo sound
  kAudioOnly,     // M4A
};

// The path of a clip of this kind; makes it when it does not exist yet. Throws std::runtime_error
// with ffmpeg's words when it cannot be made. Safe to call from several test processes at once.
std::string Clip(ClipKind kind);

// A clip made by hand: the words given to ffmpeg before the output path. `name` names the file.
std::string CustomClip(const std::string& name, const std::vector<std::string>& ffmpegArguments);

// A copy of an MP4 whose first track has the matrix of a phone held upright: it asks for a quarter
// turn clockwise.
std::string TurnedCopy(const std::string& straight, const std::string& name, int storedHeight);

// The same with any matrix, in the order of the file.
std::string MatrixCopy(const std::string& straight, const std::string& name,
                       const std::array<int32_t, 9>& matrix);

// A scratch copy in which each place with the bytes `from` has `to`, which is as long.
std::string ReplacedCopy(const std::string& clip, const std::string& from, const std::string& to,
                         const std::string& name);

// Ten minutes of one colour, without sound: quick to make, and long to reverse.
std::string LongStillClip();

// The sample clip of the tree (150 pictures of 640x360 at 25 fps, AAC stereo at 48 kHz): the same
// bytes everywhere, whichever ffmpeg is installed. And a turned copy of it.
std::string SampleClip();
std::string TurnedSampleClip();

// All kinds with video, for tests that go over them, and a word for each.
const std::vector<ClipKind>& VideoClipKinds();
std::string ClipName(ClipKind kind);

// The ffmpeg filter descriptions of the scene and the sound, for clips made by hand.
std::string SceneFilter(int width, int height, const std::string& frameRate);
std::string SweepFilter(int sampleRate, const std::string& layout);

}  // namespace test_support
