#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Times clip-reverse beside ffmpeg's reverse filters and a plain forward transcode.

usage: scripts/bench [--runs N] [--clips NAME,...] [--keep DIR]

Makes its clips once (in DIR, by default a folder in the temporary directory), runs the three programs
in turn and prints medians: the ratios of the times, peak memory, frames decoded for each frame written,
and how busy the cores were (processor time / (wall time x cores)). Clips of up to five seconds are run at
least five times. The four clips with a dash are the program's alone: a minute and ten of the same pictures, for
flat memory, a clip with one key frame, and a group of pictures far above the budget. The rows that end with
-copy are runs with --copy; ffmpeg, which cannot copy in another order, encodes with the clip's own codec. The
row that ends with -crf20 has "preset=medium" and "crf=20" in all three. scripts/figures writes the table into
docs/performance.md. Needs python3 and ffmpeg, and the release build.
"""
import argparse
import os
import pathlib
import re
import statistics
import subprocess
import sys
import tempfile
import time
import zlib

ROOT = pathlib.Path(__file__).resolve().parent.parent
PROGRAM = ROOT / "build/release/clip-reverse"
X264 = "-c:v libx264 -preset veryfast -sc_threshold 0"
OPEN = " -bf 3 -x264-params open-gop=1"
X265 = "-c:v libx265 -preset ultrafast -x265-params log-level=error"

# name: size, frames per second, seconds, GOP, bit rate of the source, its coding, bit rate of the output
CLIPS = {
    "720p-gop250": ("1280x720", 30, 20, 250, "6M", X264, "5M"),
    "720p-gop30": ("1280x720", 30, 20, 30, "6M", X264, "5M"),
    "1080p-gop250": ("1920x1080", 25, 60, 250, "10M", X264, "8M"),
    "2160p-gop120": ("3840x2160", 30, 6, 120, "35M", X264, "35M"),
    "720p-hevc": ("1280x720", 30, 20, None, "5M", X265, "5M"),
    "720p-open12": ("1280x720", 30, 20, 12, "6M", X264 + OPEN, "5M"),
    "720p-open30": ("1280x720", 30, 20, 30, "6M", X264 + OPEN, "5M"),
    "720p-open250": ("1280x720", 30, 20, 250, "6M", X264 + OPEN, "5M"),
    "720p-mpeg2": ("1280x720", 30, 20, 12, "12M", "-c:v mpeg2video -bf 2 -sc_threshold 1000000000", "5M"),
    "360p-1min": ("640x360", 30, 60, 250, "1500k", X264, "1M"),
    "360p-10min": ("640x360", 30, 600, 250, "1500k", X264, "1M"),
    "720p-one-key-60s": ("1280x720", 30, 60, 100000, "5M", X264, "5M"),
    "2160p-10bit-gop250": ("3840x2160", 30, 9, 250, "30M", X265 + ":keyint=250:scenecut=0", "35M"),
}
# Runs that ask for something else than the usual output. Name: the clip's file, coding and bit rate, what the
# program is asked for, and ffmpeg's words for the same.
PRORES = "-c:v prores_ks -profile:v 2 -pix_fmt yuv422p10le"
MJPEG = "-c:v mjpeg -q:v 4 -pix_fmt yuvj420p"
CRF20 = "-c:v libx264 -preset medium -crf 20 -g 30 -threads 4 -c:a aac -b:a 384k -movflags +faststart"
ASKED = {
    "1080p-prores-copy": (".mov", PRORES + " -c:a pcm_s16le", "--copy", PRORES + " -c:a pcm_s16le"),
    "1080p-mjpeg-copy": (".avi", MJPEG + " -c:a pcm_s16le", "--copy", MJPEG + " -c:a pcm_s16le"),
    "720p-crf20": (".mp4", X264 + " -b:v 6M -g 250 -pix_fmt yuv420p -c:a aac",
                   "--set preset=medium --set crf=20", CRF20),
}
CLIPS |= {
    "1080p-prores-copy": ("1920x1080", 25, 10, None, None, None, None),
    "1080p-mjpeg-copy": ("1920x1080", 25, 10, None, None, None, None),
    "720p-crf20": ("1280x720", 30, 12, None, None, None, None),
}
# Short clips, each without sound and with it. Up to 8 s they are one group of pictures, as encoders make
# them by default, so that nothing can be written before all of it is decoded.
SHORT_SIZES = {"270p": ("480x270", "1200k", "1M"), "720p": ("1280x720", "6M", "5M"),
               "1080p": ("1920x1080", "10M", "8M")}
SHORT = [(f"{height}-{seconds}s{sound}", size, seconds, source, bits)
         for height, (size, source, bits) in SHORT_SIZES.items()
         for seconds in (2, 5, 12) for sound in ("", "-sound")]
CLIPS |= {name: (size, 30, seconds, 250, source, X264, bits) for name, size, seconds, source, bits in SHORT}
SILENT = {name for name, *_ in SHORT if not name.endswith("-sound")}
# Runs of less than three seconds differ more from one to the next.
FEWEST_SHORT_RUNS = 5
LONGEST_SHORT_SECONDS = 5
# Too long for a program that holds the whole clip.
ALONE = ("360p-1min", "360p-10min", "720p-one-key-60s", "2160p-10bit-gop250")


def make_clip(folder, name):
    size, rate, seconds, gop, bits, coding, _ = CLIPS[name]
    # Noise makes bit rates real: a drawn scene alone costs the codecs nothing. And the limit keeps
    # them real from the start: the encoders would spend most of their bits on the first pictures.
    command = ["ffmpeg", "-v", "error", "-y",
               "-f", "lavfi", "-i", f"testsrc2=size={size}:rate={rate},noise=alls=12:allf=t"]
    if name not in SILENT:
        command += ["-f", "lavfi", "-i",
                    "aevalsrc=0.3*sin(2*PI*(220*t+45*t*t))|0.3*sin(2*PI*(330*t+25*t*t)):s=48000:c=stereo"]
    command += ["-t", str(seconds)]
    extension = ".mp4"
    if name in ASKED:
        extension = ASKED[name][0]
        command += ASKED[name][1].split()
    else:
        command += ["-pix_fmt", "yuv420p10" if "10bit" in name else "yuv420p", *coding.split(),
                    "-b:v", bits, "-maxrate", bits, "-bufsize", bits]
        if gop:
            command += ["-g", str(gop), "-keyint_min", str(gop)]
        command += ["-c:a", "aac", "-b:a", "192k"]
    # A clip that was made in another way before is not this one.
    path = folder / f"{name}-{zlib.crc32(' '.join(command).encode()):08x}{extension}"
    if not path.exists():
        unfinished = folder / ("unfinished-" + path.name)
        subprocess.run(command + [str(unfinished)], check=True)
        unfinished.rename(path)
    return path


def commands(clip, name, output):
    ffmpeg = ["ffmpeg", "-v", "error", "-y", "-i", str(clip)]
    if name in ASKED:
        encode = ASKED[name][3].split() + [output]
        return {
            "tool": [str(PROGRAM), "-i", str(clip), "-o", output, *ASKED[name][2].split()],
            "reverse": ffmpeg + ["-vf", "reverse", "-af", "areverse"] + encode,
            "forward": ffmpeg + encode,
        }
    _, rate, _, _, _, _, bits = CLIPS[name]
    buffer = str(5 * int(bits[:-1])) + "M"
    encode = ["-c:v", "libx264", "-preset", "superfast", "-tune", "zerolatency", "-profile:v", "baseline",
              "-level", "4", "-b:v", bits, "-maxrate", bits, "-bufsize", buffer, "-g", str(rate),
              "-keyint_min", str(rate), "-c:a", "aac", "-b:a", "384k", "-movflags", "+faststart", output]
    return {
        "tool": [str(PROGRAM), "-i", str(clip), "-o", output],
        "reverse": ffmpeg + ["-vf", "reverse"] + ([] if name in SILENT else ["-af", "areverse"]) + encode,
        "forward": ffmpeg + encode,
    }


def run(command):
    """Seconds, peak memory in MB, and the share of the cores' time that was used."""
    begin = time.monotonic()
    child = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    _, status, usage = os.wait4(child.pid, 0)
    if status != 0:
        sys.exit(f"{command[0]} failed on {command}")
    took = time.monotonic() - begin
    cores = len(os.sched_getaffinity(0))
    return took, usage.ru_maxrss / 1024, (usage.ru_utime + usage.ru_stime) / (took * cores)


def decodes_per_frame(command):
    """From the counters that the program logs at its verbose level."""
    log = subprocess.run(command + ["-v"], stderr=subprocess.PIPE, text=True, check=True).stderr
    decoded = int(re.search(r"video frames decoded:(\d+)", log).group(1))
    written = int(re.search(r" (\d+) pictures", log).group(1))
    return decoded / written


def measure(folder, name, runs):
    clip = make_clip(folder, name)
    output = str(folder / ("out" + clip.suffix))
    seconds = {"tool": [], "reverse": [], "forward": []}
    busy = {"tool": [], "reverse": [], "forward": []}
    memory = {}
    is_short = CLIPS[name][2] <= LONGEST_SHORT_SECONDS
    for _ in range(max(runs, FEWEST_SHORT_RUNS) if is_short else runs):
        for program, command in commands(clip, name, output).items():
            if name in ALONE and program != "tool":
                continue
            took, peak, share = run(command)
            seconds[program].append(took)
            busy[program].append(share)
            memory[program] = max(memory.get(program, 0), peak)

    def ratio(other):
        ratios = [a / b for a, b in zip(seconds["tool"], seconds[other])]
        return f"{statistics.median(ratios):.2f}" if ratios else "-"

    shares = " / ".join(f"{statistics.median(share):.2f}" for share in busy.values() if share)
    row = (name, statistics.median(seconds["tool"]), ratio("reverse"), ratio("forward"), memory["tool"],
           f"{memory['reverse']:.0f}" if "reverse" in memory else "-", decodes_per_frame(commands(clip, name, output)["tool"]), shares)
    return "| {} | {:.2f} | {} | {} | {:.0f} | {} | {:.2f} | {} |".format(*row)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawTextHelpFormatter)
    parser.add_argument("--runs", type=int, default=3)
    parser.add_argument("--clips", default=",".join(CLIPS))
    parser.add_argument("--keep", default=os.path.join(tempfile.gettempdir(), "clip-reverse-bench"))
    options = parser.parse_args()
    folder = pathlib.Path(options.keep)
    folder.mkdir(parents=True, exist_ok=True)
    print("| clip | seconds | against `reverse` | against forward | MB | MB of `reverse` | decodes a frame "
          "| cores busy |\n|---|---|---|---|---|---|---|---|", flush=True)
    for name in options.clips.split(","):
        print(measure(folder, name, options.runs), flush=True)


if __name__ == "__main__":
    main()
