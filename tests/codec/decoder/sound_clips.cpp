// SPDX-License-Identifier: MIT
#include "tests/codec/decoder/sound_clips.h"

#include <algorithm>
#include <cctype>

#include "tests/support/clips.h"
#include "tests/support/command.h"

namespace codec {

const std::vector<SoundClip>& SoundClips() {
  // The encoder of AAC may put noise in, which no decoder gives twice.
  static const std::vector<SoundClip> clips = {
      {"sound_aac.mp4", "stereo", 48000, "-c:a aac -aac_pns 0", "", false},
      {"sound_aac_late.mp4", "stereo", 48000, "-af adelay=2000:all=1,atrim=2 -c:a aac -aac_pns 0",
       "", false},
      {"sound_aac_short.mp4", "stereo", 48000, "-af atrim=0:4.2 -c:a aac -aac_pns 0", "", false},
      {"sound_aac_long.mp4", "stereo", 48000, "-c:a aac -aac_pns 0", "-vf trim=0:5", false},
      {"sound_aac_mono.mkv", "mono", 44100, "-c:a aac -aac_pns 0", "", false},
      {"sound_aac_hole.mkv", "stereo", 48000,
       "-af aselect='not(between(t,2,3.5))' -c:a aac -aac_pns 0", "", false},
      {"sound_aac_surround.mp4", "5.1", 48000, "-c:a aac -aac_pns 0 -b:a 384k", "", false},
      {"sound_aac_96.mp4", "stereo", 96000, "-c:a aac -aac_pns 0", "", false},
      {"sound_aac_8.mp4", "mono", 8000, "-c:a aac -aac_pns 0", "", false},
      {"sound_aac_fragmented.mp4", "stereo", 48000, "-c:a aac -aac_pns 0",
       "-movflags +frag_keyframe+empty_moov", false},
      {"sound_aac_44.ts", "stereo", 44100, "-c:a aac -aac_pns 0", "", false},
      {"sound_aac_hours.ts", "stereo", 48000, "-c:a aac -aac_pns 0", "-output_ts_offset 36000",
       false},
      {"sound_aac_wrap.ts", "stereo", 48000, "-c:a aac -aac_pns 0", "-output_ts_offset 95438",
       false},
      {"sound_aac.flv", "stereo", 44100, "-c:a aac -aac_pns 0", "", false},
      {"sound_mp3_320.mkv", "stereo", 48000, "-c:a libmp3lame -b:a 320k", "", false},
      {"sound_mp3_v9.mkv", "stereo", 44100, "-c:a libmp3lame -q:a 9", "", false},
      {"sound_mp3_32.mkv", "mono", 44100, "-c:a libmp3lame -b:a 32k", "", false},
      {"sound_mp3_128.avi", "stereo", 48000, "-c:a libmp3lame -b:a 128k", "", false},
      {"sound_mp3_v4.avi", "stereo", 44100, "-c:a libmp3lame -q:a 4", "", false},
      {"sound_mp3.mp4", "stereo", 44100, "-c:a libmp3lame -b:a 128k", "", false},
      {"sound_mp3.flv", "stereo", 44100, "-c:a libmp3lame -b:a 128k", "", false},
      {"sound_mp2.ts", "stereo", 48000, "-c:a mp2 -b:a 192k", "", false},
      {"sound_mp2.mpg", "stereo", 48000, "-c:a mp2 -b:a 192k", "-c:v mpeg2video", false},
      {"sound_ac3.ts", "stereo", 48000, "-c:a ac3 -b:a 192k", "", false},
      {"sound_ac3.mkv", "5.1", 48000, "-c:a ac3 -b:a 384k", "", false},
      {"sound_ac3.mp4", "stereo", 48000, "-c:a ac3 -b:a 192k", "", false},
      {"sound_eac3.ts", "stereo", 48000, "-c:a eac3 -b:a 192k", "", false},
      {"sound_eac3.mkv", "5.1", 48000, "-c:a eac3 -b:a 256k", "", false},
      {"sound_vorbis.webm", "stereo", 48000, "-c:a libvorbis", "-c:v libvpx -deadline realtime",
       false},
      {"sound_vorbis.ogg", "stereo", 44100, "-c:a libvorbis",
       "-c:v libtheora -vf noise=alls=30:allf=t -page_duration 1500000", false},
      {"sound_opus_20.webm", "stereo", 48000, "-c:a libopus -frame_duration 20",
       "-c:v libvpx -deadline realtime", false},
      {"sound_opus_60.webm", "mono", 48000, "-c:a libopus -frame_duration 60",
       "-c:v libvpx -deadline realtime", false},
      {"sound_opus_live.webm", "stereo", 48000, "-c:a libopus",
       "-c:v libvpx -deadline realtime -live 1", false},
      {"sound_opus_hole.mkv", "stereo", 48000, "-af aselect='not(between(t,2,3.5))' -c:a libopus",
       "", false},
      {"sound_mp3_hole.mkv", "mono", 44100,
       "-af aselect='not(between(t,2,3.5))' -c:a libmp3lame -b:a 32k", "", false},
      {"sound_mp3_damaged.mkv", "stereo", 44100, "-c:a libmp3lame -bsf:a noise=amount=300", "",
       false},
      {"sound_alac_damaged.mkv", "stereo", 44100, "-c:a alac -bsf:a noise=amount=9000", "", true},
      {"sound_wma2.asf", "stereo", 44100, "-c:a wmav2 -b:a 128k", "-c:v msmpeg4", false},
      {"sound_wma1.mkv", "stereo", 44100, "-c:a wmav1 -b:a 128k", "", false},
      {"sound_flac.mkv", "stereo", 44100, "-c:a flac", "", true},
      {"sound_flac_hole.mkv", "stereo", 48000, "-af aselect='not(between(t,2,3.5))' -c:a flac", "",
       true},
      {"sound_alac.mov", "stereo", 44100, "-c:a alac", "", true},
      {"sound_pcm16.avi", "stereo", 44100, "-c:a pcm_s16le", "-c:v mpeg4", true},
      {"sound_pcm16.mov", "mono", 48000, "-c:a pcm_s16le", "", true},
      {"sound_pcm24.mov", "stereo", 48000, "-c:a pcm_s24le", "", true},
      {"sound_pcm24.mkv", "5.1", 96000, "-c:a pcm_s24le", "", true},
      {"sound_pcm_float.mov", "stereo", 48000, "-c:a pcm_f32le", "", true},
      {"sound_pcm_float.mkv", "stereo", 44100, "-c:a pcm_f32le", "", true},
      {"sound_adpcm_ms.avi", "stereo", 44100, "-c:a adpcm_ms", "-c:v mpeg4", true},
      {"sound_adpcm_ima.avi", "mono", 22050, "-c:a adpcm_ima_wav", "-c:v mpeg4", true},
  };
  return clips;
}

std::string PathOf(const SoundClip& clip) {
  const std::string seconds = std::to_string(kSoundClipSeconds);
  std::vector<std::string> words;
  test_support::AppendWords("-f lavfi -i testsrc2=size=64x48:rate=25:duration=" + seconds, &words);
  words.insert(words.end(),
               {"-f", "lavfi", "-i",
                test_support::SweepFilter(clip.sampleRate, clip.layout) + ":d=" + seconds});
  test_support::AppendWords("-c:v libx264 -preset ultrafast -g 50 -pix_fmt yuv420p", &words);
  test_support::AppendWords(clip.container, &words);
  test_support::AppendWords(clip.sound, &words);
  return test_support::CustomClip(clip.name, words);
}

std::string TestNameOf(std::string file) {
  const auto isOther = [](unsigned char letter) { return std::isalnum(letter) == 0; };
  std::replace_if(file.begin(), file.end(), isOther, '_');
  return file;
}

}  // namespace codec
