#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Runs clip-reverse in control groups with little memory, and prints peak and speed.

usage: scripts/bench-memory [--sizes 360,720,...] [--keep DIR]

For each size, codec, length of groups and limit: the most that the group took, in MB of 2^20 bytes, and the
speed as a multiple of playing; or that the run was refused, with what it says that it needs. A run that the
kernel kills, or that loses a picture, is printed as such and makes the script fail. Speeds are of two seconds
that end eight seconds into a group of 250 pictures (2160p: of one that ends at three), start and end of the
program included. scripts/figures writes the table into docs/performance.md. Needs root, python3 and ffmpeg, and
the release build.
"""
import argparse
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import time
import zlib

ROOT = pathlib.Path(__file__).resolve().parent.parent
PROGRAM = ROOT / "build/release/clip-reverse"
LIMITS = (96, 128, 200, 300, 512, 1024)
SIZES = {"360": "640x360", "720": "1280x720", "1080": "1920x1080", "2160": "3840x2160"}
RATE = 30
# The range that is reversed, in seconds, and where its clip ends. Large pictures deep in a group take minutes.
RANGES = {"360": (6, 8), "720": (6, 8), "1080": (6, 8), "2160": (2, 3)}


def make_clip(folder, size, codec, group):
    coding = {
        "h264": f"-c:v libx264 -preset superfast -bf 3 -refs 4 -sc_threshold 0 -g {group} -keyint_min {group}",
        "hevc": "-c:v libx265 -preset ultrafast -tag:v hvc1 -x265-params "
                f"log-level=error:scenecut=0:bframes=3:ref=4:keyint={group}:min-keyint={group}",
    }[codec]
    command = ["ffmpeg", "-v", "error", "-y",
               "-f", "lavfi", "-i", f"testsrc2=size={SIZES[size]}:rate={RATE}",
               "-f", "lavfi", "-i", "sine=frequency=440:sample_rate=48000",
               "-t", str(RANGES[size][1]), "-pix_fmt", "yuv420p", *coding.split(), "-c:a", "aac", "-ac", "2"]
    # A clip that was made in another way before is not this one.
    path = folder / f"{codec}-{size}-{group}-{zlib.crc32(' '.join(command).encode()):08x}.mp4"
    if not path.exists():
        unfinished = folder / ("unfinished-" + path.name)
        subprocess.run(command + [str(unfinished)], check=True)
        unfinished.rename(path)
    return path


class Group:
    """A control group with a limit of memory, in either version."""

    def __init__(self, megabytes):
        separate = pathlib.Path("/sys/fs/cgroup/memory")
        unified = pathlib.Path("/sys/fs/cgroup")
        self.is_separate = (separate / "memory.limit_in_bytes").exists()
        self.folder = (separate if self.is_separate else unified) / f"clip-reverse-bench-{os.getpid()}"
        if not self.is_separate:
            (unified / "cgroup.subtree_control").write_text("+memory")
        self.folder.mkdir()
        limit = "memory.limit_in_bytes" if self.is_separate else "memory.max"
        (self.folder / limit).write_text(str(megabytes << 20))

    def enter(self):
        (self.folder / "cgroup.procs").write_text(str(os.getpid()))

    def peak(self):
        name = "memory.max_usage_in_bytes" if self.is_separate else "memory.peak"
        return int((self.folder / name).read_text()) >> 20

    def kills(self):
        name = "memory.oom_control" if self.is_separate else "memory.events"
        return int(re.search(r"oom_kill (\d+)", (self.folder / name).read_text()).group(1))

    def remove(self):
        for _ in range(100):
            try:
                return self.folder.rmdir()
            except OSError:
                time.sleep(0.01)


def pictures_of(path):
    count = subprocess.run(["ffprobe", "-v", "error", "-select_streams", "v", "-count_packets",
                            "-show_entries", "stream=nb_read_packets", "-of", "csv=p=0", str(path)],
                           check=True, capture_output=True, text=True).stdout
    return int(count)


def run(clip, output, start, end, megabytes):
    """What the table says, and whether it is as it should be."""
    group = Group(megabytes)
    try:
        began = time.monotonic()
        # A little earlier than a whole second: the picture there shall count.
        result = subprocess.run([str(PROGRAM), "-i", str(clip), "-o", str(output), "-s", str(start - 0.01)],
                                preexec_fn=group.enter, capture_output=True, text=True)
        took = time.monotonic() - began
        if group.kills() or result.returncode < 0:
            return "**killed**", False
        if result.returncode != 0:
            need = re.search(r"need (\d+) MB of memory", result.stderr)
            return (f"needs {need.group(1)}", True) if need else ("**failed**", False)
        if pictures_of(output) != (end - start) * RATE:
            return "**lost pictures**", False
        return f"{group.peak()}, {(end - start) / took:.2f}x", True
    finally:
        group.remove()


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--sizes", default=",".join(SIZES))
    parser.add_argument("--keep", type=pathlib.Path)
    arguments = parser.parse_args()
    folder = arguments.keep or pathlib.Path(tempfile.gettempdir()) / "clip-reverse-bench-memory"
    folder.mkdir(parents=True, exist_ok=True)

    print("| clip | " + " | ".join(f"{limit} MB" for limit in LIMITS) + " |\n" + "|---" * (len(LIMITS) + 1) + "|")
    all_well = True
    for size in arguments.sizes.split(","):
        for codec in ("h264", "hevc"):
            for group in (30, 250):
                clip = make_clip(folder, size, codec, group)
                cells = []
                for limit in LIMITS:
                    text, is_well = run(clip, folder / "output.mp4", *RANGES[size], limit)
                    cells.append(text)
                    all_well &= is_well
                print(f"| {size}p, {codec}, groups of {group} | " + " | ".join(cells) + " |", flush=True)
    return 0 if all_well else 1


if __name__ == "__main__":
    # Stopped in this way, too, the control group is removed.
    signal.signal(signal.SIGTERM, signal.default_int_handler)
    sys.exit(main())
