# SPDX-License-Identifier: MIT
"""What the pages show of what the pieces of a part printed. Each function takes the texts by piece."""
import itertools
import re
import xml.etree.ElementTree as ElementTree

CONTAINERS = ("mp4", "mov", "mkv", "webm", "avi", "ts", "ogg")


def cells(line):
    return [cell.strip() for cell in line.strip().strip("|").split("|")]


def line_of(words):
    return "| " + " | ".join(words) + " |"


def rule(count):
    return "|" + "---|" * count


def markdown(texts, first):
    """The rows of all tables whose first heading begins with `first`, under one heading."""
    table = []
    for text in texts.values():
        lines = itertools.dropwhile(lambda line: not line.startswith(f"| {first}"), text.splitlines())
        rows = list(itertools.takewhile(lambda line: line.startswith("|"), lines))
        table += rows[2:] if table else rows
    if not table:
        raise ValueError(f"no table of {first}")
    return "\n".join(table)


def rows_of(texts):
    """The rows of the table beside ffmpeg, by name and then by heading."""
    heading, _, *rows = markdown(texts, "clip").splitlines()
    return {cells(row)[0]: dict(zip(cells(heading), cells(row))) for row in rows}


LONG = ("720p-gop250", "720p-gop30", "1080p-gop250", "720p-hevc")
SHORT_SILENT = [f"{height}-{seconds}s" for height in ("270p", "720p", "1080p") for seconds in (2, 5, 12)]
SHORT_SOUND = [name + "-sound" for name in SHORT_SILENT]
REVERSE, FORWARD = "against `reverse`", "against forward"


def one(heading):
    return lambda row: float(row[heading])


# What is aimed at, the most that it may be, the clips, and the figure; of two clips the quotient.
AIMS = (
    ("wall time against `reverse`, 20 s and more of 720p and 1080p", 0.70, LONG, one(REVERSE)),
    ("wall time against forward, the same clips", 1.05, LONG, one(FORWARD)),
    ("wall time against forward, 2160p", 1.15, ("2160p-gop120",), one(FORWARD)),
    ("wall time against `reverse`, 2 to 12 s with sound", 0.85, SHORT_SOUND, one(REVERSE)),
    ("wall time against `reverse`, 2 to 12 s without sound", 0.85, SHORT_SILENT, one(REVERSE)),
    ("decodes a frame if a group fits the budget", 1.05, LONG[:3], one("decodes a frame")),
    ("MB at 2160p", 1879, ("2160p-gop120",), one("MB")),
)
QUOTIENTS = (
    ("seconds of long groups against short ones, same pictures", 1.10, "720p-gop250", "720p-gop30", one("seconds")),
    ("MB of ten minutes against one minute", 1.05, "360p-10min", "360p-1min", one("MB")),
)


def aims(texts):
    rows = rows_of(texts)
    lines = [line_of(("figure", "aim, at most", "measured", "")), rule(4)]

    def add(name, most, values):
        low, high = (f"{value:g}" for value in (round(min(values), 2), round(max(values), 2)))
        missed = [value for value in values if round(value, 2) > most]
        verdict = "" if not missed else "missed" if len(missed) == len(values) else f"missed by {len(missed)} of {len(values)}"
        lines.append(line_of((name, f"{most:g}", low if low == high else f"{low} to {high}", verdict)))

    for name, most, clips, figure in AIMS:
        values = [figure(rows[clip]) for clip in clips if clip in rows]
        if values:
            add(name, most, values)
    for name, most, over, under, figure in QUOTIENTS:
        if over in rows and under in rows:
            add(name, most, [figure(rows[over]) / figure(rows[under])])
    return "\n".join(lines)


def readme(texts):
    """Two points of the first page. Without the rows that they quote they say so without figures."""
    rows = rows_of(texts)
    if not {"360p-10min", "360p-1min", *LONG} <= set(rows):
        raise ValueError("the rows that README.md quotes are missing")
    ratios = sorted(float(rows[clip][REVERSE]) for clip in LONG)
    return (f"- **It needs little memory, however long the clip is.** Ten minutes of 360p take {rows['360p-10min']['MB']} "
            f"MB, a minute {rows['360p-1min']['MB']} MB.\n"
            f"  The filters hold the whole decoded clip: {rows['1080p-gop250']['MB of `reverse`']} MB for a minute of "
            f"1080p, for which this program takes {rows['1080p-gop250']['MB']} MB.\n"
            f"- **It is quick:** clips of 20 seconds and more, of 720p and 1080p with sound, take {ratios[0]:.2f} to "
            f"{ratios[-1]:.2f} of the\n  filters' time ([all figures](docs/performance.md)).")


def mutations(texts):
    table = markdown(texts, "Input")
    seeds = re.findall(r"\bseed (\d+)", "\n".join(texts.values()))
    return table + (f"\n\nSeed {seeds[0]}." if seeds else "")


def releases(texts):
    """Columns of a plain text. Compilers are two words in one of them."""
    lines = []
    for text in texts.values():
        heading, *rows = [line.replace("g++ ", "g++\0").split() for line in text.splitlines() if line.strip()]
        if any(len(row) != len(heading) for row in rows):
            raise ValueError("a row of test-releases has more or fewer cells than its heading")
        lines = lines or [line_of(heading), rule(len(heading))]
        lines += [line_of(row).replace("\0", " ") for row in rows]
    return "\n".join(lines)


def codecs(texts):
    """From the report of the tests that write each codec into each container."""
    formats = {}
    for text in texts.values():
        for case in ElementTree.fromstring(text[text.index("<?xml"):]).iter("testcase"):
            if case.find("failure") is not None:
                raise ValueError(f"{case.get('name')} failed")
            # As if FFmpeg has no such encoder.
            if case.find("skipped") is not None:
                continue
            said = {**case.attrib, **{item.get("name"): item.get("value") for item in case.iter("property")}}
            formats.setdefault((said["encoder"], said["containers"]), []).append(said["format"])
    lines = [line_of(("encoder", "pixel formats tried", *CONTAINERS)), rule(2 + len(CONTAINERS))]
    for (encoder, containers), names in formats.items():
        takes = ["yes" if container in containers.split() else "-" for container in CONTAINERS]
        lines.append(line_of((f"`{encoder}`", ", ".join(dict.fromkeys(names)) or "-", *takes)))
    return "\n".join(lines)
