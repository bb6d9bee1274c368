// SPDX-License-Identifier: MIT
#include "tests/robustness/output_check.h"

#include <algorithm>
#include <cstring>
#include <map>

#include "base/log.h"
#include "codec/ffmpeg/compat_decoding.h"
#include "codec/ffmpeg/owned.h"
#include "tests/robustness/sandbox.h"
#include "tests/support/picture_count.h"

namespace test_support {
namespace {

// Whether the first picture that this stream's packets hold comes out of its decoder.
class FirstPicture {
 public:
  explicit FirstPicture(const AVStream* stream) {
    const AVCodec* const codec = avcodec_find_decoder(stream->codecpar->codec_id);
    if (codec == nullptr) return;
    mDecoder = codec::ffmpeg::NewDecoder(stream, codec);
    if (mDecoder != nullptr && avcodec_open2(mDecoder.get(), codec, nullptr) < 0) mDecoder.reset();
  }

  // Null at the end of the stream.
  void Send(const AVPacket* packet) {
    if (mDecoder == nullptr || mFound) return;
    avcodec_send_packet(mDecoder.get(), packet);
    mFound = avcodec_receive_frame(mDecoder.get(), mFrame.get()) >= 0;
  }
  bool Found() const { return mFound; }

 private:
  codec::ffmpeg::UniqueCodecContext mDecoder;
  codec::ffmpeg::UniqueFrame mFrame{av_frame_alloc()};
  bool mFound = false;
};

// How many packets the file says that each stream has. Only MP4 and MOV say so for certain, and not
// of PCM, which is read many samples at once.
std::map<int, int64_t> IndexedPackets(const AVFormatContext* input) {
  std::map<int, int64_t> counts;
  if (std::strstr(input->iformat->name, "mov") == nullptr) return counts;
  for (unsigned i = 0; i < input->nb_streams; ++i) {
    const AVStream* const stream = input->streams[i];
    const bool isPcm = av_get_exact_bits_per_sample(stream->codecpar->codec_id) > 0;
    if (!isPcm) counts[static_cast<int>(i)] = stream->nb_frames;
  }
  return counts;
}

bool IsWholeRange(const app::CommandLine& line) {
  return !line.startText.has_value() && !line.endText.has_value();
}

// The packets of pictures as they were written. A parser would join a copied picture whose end is
// damaged with the next one.
int64_t CountCopies(const std::string& path) {
  AVFormatContext* context = nullptr;
  if (avformat_open_input(&context, path.c_str(), nullptr, nullptr) < 0) return 0;
  const codec::ffmpeg::UniqueInput input(context);
  context->flags |= AVFMT_FLAG_NOPARSE;
  const codec::ffmpeg::UniquePacket packet(av_packet_alloc());
  int64_t count = 0;
  while (av_read_frame(context, packet.get()) >= 0) {
    const codec::ffmpeg::PacketGuard guard(packet.get());
    const AVStream* const stream = context->streams[packet->stream_index];
    if (stream->codecpar->codec_type == AVMEDIA_TYPE_VIDEO) ++count;
  }
  return count;
}

// Every picture that FFmpeg decodes is in the output or counted as lost, and a strict run has lost
// nothing.
bool IsCounted(const app::CommandLine& line, const ToldRun& told) {
  const int64_t decodable = IsWholeRange(line) ? CountDecodable(line.input, told.seconds) : 0;
  const int64_t written = line.isCopy ? CountCopies(line.output) : CountPackets(line.output);
  const codec::JobAccount& account = told.account;
  const bool isAllowed = account.IsWhole() || !line.isStrict;
  if (isAllowed && written == account.pictures && written + account.lost.Count() >= decodable) {
    return true;
  }
  log_error("test", "decodable %lld, in the output %lld, written %lld, lost %lld, sound lost %g s",
            static_cast<long long>(decodable), static_cast<long long>(written),
            static_cast<long long>(account.pictures), static_cast<long long>(account.lost.Count()),
            account.sound.lost);
  return false;
}

}  // namespace

bool IsPlayable(const std::string& path, Pictures pictures) {
  AVFormatContext* context = nullptr;
  if (avformat_open_input(&context, path.c_str(), nullptr, nullptr) < 0) return false;
  const codec::ffmpeg::UniqueInput input(context);
  // Some containers have no list of their streams.
  const bool isListed = (context->ctx_flags & AVFMTCTX_NOHEADER) == 0;
  if (!isListed && avformat_find_stream_info(context, nullptr) < 0) return false;
  const int video = av_find_best_stream(context, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  if (video < 0) return false;
  FirstPicture picture(context->streams[video]);
  std::map<int, int64_t> missing = IndexedPackets(context);
  int64_t packets = 0;
  const codec::ffmpeg::UniquePacket packet(av_packet_alloc());
  while (av_read_frame(context, packet.get()) >= 0) {
    const codec::ffmpeg::PacketGuard guard(packet.get());
    if ((packet->flags & AV_PKT_FLAG_CORRUPT) != 0) return false;
    if (missing.count(packet->stream_index) != 0) --missing[packet->stream_index];
    if (packet->stream_index != video) continue;
    ++packets;
    picture.Send(packet.get());
  }
  picture.Send(nullptr);
  const bool shows = pictures == Pictures::kCopied ? packets > 0 : picture.Found();
  return shows && std::all_of(missing.begin(), missing.end(),
                              [](const auto& row) { return row.second == 0; });
}

int StatusOf(const app::CommandLine& line, const ToldRun& told) {
  const Pictures pictures = line.isCopy ? Pictures::kCopied : Pictures::kDecoded;
  if (!IsPlayable(line.output, pictures)) return kUnplayableStatus;
  return IsCounted(line, told) ? kReversedStatus : kUncountedStatus;
}

}  // namespace test_support
