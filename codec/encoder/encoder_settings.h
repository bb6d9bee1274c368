// SPDX-License-Identifier: MIT
// The settings of one output file and the text keys that set them.
#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace codec {

// Plain values with their defaults; nothing is range-checked before CheckParams.
struct EncoderSettings {
  std::string fileFormat;  // kept, the container is chosen by the output path
  std::string outputPath;
  std::string writePath;  // where the file is written, if not at `outputPath`
  std::string libPrefix;  // kept, nothing reads it

  bool hasVideo = true;
  std::string videoCodec;
  std::string outputColorFormat;
  int videoPixelFormat = -1;  // FFmpeg's number, resolved from `outputColorFormat`
  int videoBitRate = 0;       // bit/s, as the next one
  int maxRate = 0;
  int bufSize = 0;  // bits
  int width = 0;    // pixels, as the next one
  int height = 0;
  int sampleAspectDen = 0;
  int sampleAspectNum = 0;
  std::string rotate = "0";      // degrees
  double frameRate = 15.0;       // frames/s
  int stampRate = 0;             // ticks/s that picture stamps are kept at; 0: one tick a frame
  bool hasConstantRate = false;  // the container may tell the frame rate to players
  double videoLength = 0;        // s, at whose end the last picture does; 0: it lasts one frame
  bool hasEvenSlots = false;     // sound's priming moves no pictures, see KeepSlotsEven
  double gop = 30.0;             // frames
  std::string preset;
  std::string profile = "baseline";  // kept; the stream's own is decided when it is created
  std::string level = "31";          // the same
  std::string fieldOrder;            // a name of utils/field_order.h; empty: progressive
  bool hasTrueLevel = false;         // H.264 names the level that it needs, not always 4
  // FFmpeg's names of what the pictures' numbers stand for; empty ones are not told.
  std::string colorRange;
  std::string colorSpace;
  std::string colorPrimaries;
  std::string colorTransfer;
  std::string chromaLocation;
  // How bright pictures may be; as x265 writes it, see hdr_light.h; empty ones are not told.
  std::string masteringDisplay;
  std::string contentLight;
  // How encoders are driven that need more than one call for a picture, see
  // delayed_video_encoder.h. With the next ones, which only such an encoder is given; empty ones
  // are not set.
  bool takesAnyEncoder = false;
  std::string crf;
  std::string qp;
  std::string ownProfile;                           // `profile` if its key was set
  std::string ownLevel;                             // the same
  std::map<std::string, std::string> videoOptions;  // by FFmpeg's names
  std::map<std::string, std::string> audioOptions;
  int threadCount = 0;
  std::string threadType;

  bool hasAudio = false;
  std::string audioCodec;
  int audioBitRate = 64000;  // bit/s
  int sampleRate = 44100;    // Hz
  int channelCount = 2;
  int sampleFormat = 8;       // FFmpeg's number; planar float
  int sampleBits = 0;         // that the source's samples have; 0 if nobody knows, 32 for floats
  std::string channelLayout;  // FFmpeg's mask of the channels' places as a number; empty: the usual
  std::string audioChannels;  // kept for who makes the sound: "source" or a number; empty: two

  // For people, see output_tags.h: by FFmpeg's names, and a line for each chapter.
  std::map<std::string, std::string> tags;
  std::string videoLanguage;
  std::string audioLanguage;
  std::string chapters;

  // Whether it is known when the video ends, and where in ticks of `stampRate` that is.
  bool TellsVideoEnd() const { return videoLength > 0 && stampRate > 0; }
  int64_t VideoEnd() const;
  // The mask that `channelLayout` names; 0 if it names none.
  uint64_t ChannelMask() const;
  // Stores a value under its key. Text that is no number counts as 0. Unknown keys are logged and
  // dropped.
  void SetParameter(const char* key, const char* value);
  // Resolves the pixel format by its name, when there is video. 0, or -1 for an unknown name.
  int ResolvePixelFormat();
  // Whether an output can be opened with these settings: 0, or -1 after an error line.
  int CheckParams() const;
};

}  // namespace codec
