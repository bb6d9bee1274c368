# SPDX-License-Identifier: MIT
"""What is measured, in which pieces, and which tables are made of it.

A piece is a command whose output is kept when it ends with status 0, so that what was stopped goes on with the
next piece.
"""
import pathlib
import sys
from typing import Callable, Dict, List, NamedTuple, Tuple

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent))
import side_by_side  # noqa: E402  (it stands one folder above)
import tables  # noqa: E402
from commits import DOCUMENTATION, NOT_THE_PROGRAM  # noqa: E402

SUITES = ("bullseye", "bookworm", "trixie", "forky")
FUZZERS = ("png", "ini", "format", "decoder")
# For each fuzzer.
FUZZ_MINUTES = 10
# Builds the tests of the program and prints the report of those that write every codec.
CODECS = """scripts/setup test
cmake --preset release -DCLIPREVERSE_BUILD_TESTS=ON >&2
cmake --build --preset release --target program_tests clip-reverse >&2
cd build/release/tests
./program_tests --gtest_filter='Codecs/VideoMatrix.*:Codecs/AudioMatrix.*' --gtest_output=xml:codecs.xml >&2
cat codecs.xml"""
PEERS = """scripts/setup test
scripts/run --version >&2
exec tests/robustness/peers"""


class Part(NamedTuple):
    what: str
    pieces: Dict[str, Tuple[List[str], float]]  # by name: a command, and about how many minutes it takes
    tables: Dict[str, Callable[[Dict[str, str]], str]]
    without: Tuple[str, ...] = DOCUMENTATION  # what may change without making the figures old
    is_alone: bool = False  # nothing else should be at work meanwhile


def minutes_of_clip(name):
    size, rate, seconds, *_ = side_by_side.CLIPS[name]
    width, height = map(int, size.split("x"))
    # Of three programs, or of one.
    return width * height * rate * seconds / 1e6 * (0.001 if name in side_by_side.ALONE else 0.0021)


def table_of(first):
    return lambda texts: tables.markdown(texts, first)


PARTS = {
    "bench": Part("speed and memory beside ffmpeg",
                  {name: (["scripts/bench", "--clips", name], minutes_of_clip(name)) for name in side_by_side.CLIPS},
                  {"bench": table_of("clip"), "aims": tables.aims, "readme": tables.readme}, NOT_THE_PROGRAM, True),
    "memory": Part("memory and speed under limits; takes root",
                   {size: (["scripts/bench-memory", "--sizes", size], minutes)
                    for size, minutes in (("360", 0.7), ("720", 1.7), ("1080", 5), ("2160", 6))},
                   {"memory": table_of("clip")}, NOT_THE_PROGRAM, True),
    "peers": Part("the same faults met by ffmpeg; takes root", {"all": (["bash", "-ec", PEERS], 2)},
                  {"peers": table_of("Fault")}),
    "codecs": Part("which containers take which encoder", {"all": (["bash", "-ec", CODECS], 3)},
                   {"codecs": tables.codecs}),
    "soak": Part("damaged inputs under sanitizers, then every fuzzer for ten minutes",
                 {"mutations": (["scripts/soak", "--markdown", "--fuzz", "0"], 14),
                  **{f"fuzz-{name}": (["scripts/soak", "--markdown", "--only", f"fuzz {name}",
                                       "--fuzz", str(60 * FUZZ_MINUTES)], FUZZ_MINUTES) for name in FUZZERS}},
                 {"mutations": tables.mutations, "fuzzers": table_of("Fuzzer")}),
    "releases": Part("all tests in each release of Debian; takes root",
                     {suite: (["scripts/test-releases", suite], 25) for suite in SUITES},
                     {"releases": tables.releases}),
}
