// SPDX-License-Identifier: MIT
// The output container: its format, its streams' packets, its header and trailer.
#pragma once

#include <cstdint>
#include <string>

#include "base/first_error.h"
#include "codec/encoder/encoder_options.h"
#include "codec/encoder/output_tags.h"
#include "codec/ffmpeg/owned.h"

namespace codec {

// What the file knows of one of its streams while packets are written.
struct OutputTrack {
  AVStream* stream = nullptr;        // owned by the file; null while there is none
  double lastTime = 0.0;             // seconds, of the last packet; -1 when it had no stamp
  int64_t lastDts = AV_NOPTS_VALUE;  // of the last packet, in the stream's time base
  int64_t rise = 0;                  // added to every stamp, in the same
};

// Packets of one track that are still being made. Their place in the file is before all that come
// later.
class PendingPackets {
 public:
  virtual ~PendingPackets() = default;
  // Waits for the next of them; null after the last one. The packet stays the giver's, who must
  // make no call of the file meanwhile.
  virtual AVPacket* Next() = 0;
  // What became of the packet: the result of WritePacket.
  virtual void Written(int result) = 0;
};

// Create, AddStream for each stream, StampMetadata, OpenFileAndWriteHeader, WritePacket any number
// of times, WriteTrailer, Close. Whatever is left out, the destructor frees everything.
class OutputFile {
 public:
  // Chooses the container by the path and hands it the options that it knows. A context that
  // exists already is kept. Where there is a `writePath`, the bytes go to that file; the container
  // and the log lines are those of `path`. 0, or -1 after an error line.
  int Create(const std::string& path, const EncoderOptions& options,
             const std::string& writePath = "");

  // Containers that count pictures in slots of one length (AVI) move all streams until no stamp is
  // negative. If the first packet of sound is, for its encoder's priming, the pictures get between
  // two slots and one slot stays empty. With this, sound alone is moved. Off unless called, after
  // Create.
  void KeepSlotsEven();

  bool Exists() const { return mContext != nullptr; }
  const AVOutputFormat* Format() const { return mContext->oformat; }
  bool WantsGlobalHeader() const { return (Format()->flags & AVFMT_GLOBALHEADER) != 0; }

  // A new stream, owned by the file; null when memory runs out.
  AVStream* AddStream(const AVCodec* codec);
  // Adds what the settings tell of the clip.
  void Tag(const EncoderSettings& settings) { Remember(AddTags(settings, mContext.get())); }
  // Dates the container and every stream.
  void StampMetadata();

  // Opens the path and writes the header, once. 0, or -1 when the path cannot be opened. A header
  // that the container refuses is logged and kept as OutputError, but is no failure here.
  int OpenFileAndWriteHeader();
  // Whether muxing has begun, be it with a refused header.
  bool HeaderWritten() const { return mHeader != Header::kNone; }

  // Moves the stamps from the encoder's time base to the track's and hands the packet on, leaving
  // it empty. 0 or FFmpeg's negative error; AVERROR(EINVAL) without a usable header.
  int WritePacket(AVPacket* packet, AVRational encoderTimeBase, OutputTrack* track);
  // Before the next packet, or the trailer, these are written, with stamps in this time base. Null
  // for none.
  void Await(PendingPackets* pending, AVRational timeBase, OutputTrack* track);
  // Writes those at once.
  void WritePending();
  // Does nothing without a usable header or without streams.
  void WriteTrailer();
  // Closes the file and frees the container with all of its streams.
  void Close();

  // Keeps the first error that leaves the file incomplete, an encoder's for example. Gives `result`
  // back.
  int Remember(int result);
  // The first error of the above, as FFmpeg's negative number; 0 while there was none.
  int OutputError() const { return mError.Error(); }

 private:
  enum class Header { kNone, kWritten, kRefused };

  // The muxer's way to open files, for reading what it has written at another path than it knows.
  static int OpenForMuxer(AVFormatContext* context, AVIOContext** file, const char* url, int flags,
                          AVDictionary** options);
  void RedirectMuxer(const std::string& writePath);

  int WriteNow(AVPacket* packet, AVRational encoderTimeBase, OutputTrack* track);
  void RaisePriming(AVPacket* packet, OutputTrack* track) const;
  void KeepStampsIncreasing(AVPacket* packet, OutputTrack* track) const;

  std::string mPath;
  std::string mWriteUrl;
  decltype(AVFormatContext::io_open) mUsualOpen = nullptr;
  ffmpeg::UniqueOutput mContext;
  Header mHeader = Header::kNone;
  bool mKeepsSlotsEven = false;
  but::FirstError mError;
  PendingPackets* mPending = nullptr;
  AVRational mPendingTimeBase = {0, 1};
  OutputTrack* mPendingTrack = nullptr;
};

}  // namespace codec
