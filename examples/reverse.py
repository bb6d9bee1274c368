#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Reverses a clip through the library of C, and shows how far it is.

usage: reverse.py INPUT OUTPUT [KEY=VALUE...]

The keys are those of clipreverse_set_option, and "start" and "end" in seconds. The library is
found as the system finds it, or as the variable CLIPREVERSE_LIBRARY says.
"""
import ctypes
import os
import signal
import sys

RUNNING = 1
TEXT = ctypes.c_char_p
ON_PROGRESS = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.c_double)


def load():
    """The library, with the types of what it is called with."""
    library = ctypes.CDLL(os.environ.get("CLIPREVERSE_LIBRARY", "libclipreverse.so.0"))
    job = ctypes.c_void_p
    for name, result, *arguments in (
        ("create", job),
        ("free", None, job),
        ("set_input", ctypes.c_int, job, TEXT),
        ("set_output", ctypes.c_int, job, TEXT),
        ("set_range", ctypes.c_int, job, ctypes.c_double, ctypes.c_double),
        ("set_option", ctypes.c_int, job, TEXT, TEXT),
        ("set_progress", ctypes.c_int, job, ON_PROGRESS, ctypes.c_void_p),
        ("start", ctypes.c_int, job),
        ("wait", ctypes.c_int, job, ctypes.c_int),
        ("cancel", ctypes.c_int, job),
        ("get", ctypes.c_int, job, TEXT, ctypes.POINTER(ctypes.c_double)),
        ("error_text", TEXT, job),
    ):
        function = getattr(library, "clipreverse_" + name)
        function.restype, function.argtypes = result, arguments
    return library


def number(library, job, name):
    """What the library knows of the job under this name."""
    value = ctypes.c_double()
    library.clipreverse_get(job, name.encode(), ctypes.byref(value))
    return value.value


def draw(_user, percent, width=40):
    """The bar, in one line that the next call draws over."""
    filled = int(width * percent / 100)
    bar = "#" * filled + "-" * (width - filled)
    print(f"\r[{bar}] {percent:5.1f} %", end="", file=sys.stderr, flush=True)


def describe(library, job, source, target, options):
    """Says what is to be done; false if the library refuses a part of it."""
    times = {"start": 0.0, "end": 0.0}
    for key, _, value in (option.partition("=") for option in options):
        if key in times:
            try:
                times[key] = float(value)
            except ValueError:
                sys.exit(f"{key} has to be a number of seconds, not {value}")
        elif library.clipreverse_set_option(job, key.encode(), value.encode()) != 0:
            return False
    return (
        library.clipreverse_set_input(job, os.fsencode(source)) == 0
        and library.clipreverse_set_output(job, os.fsencode(target)) == 0
        and library.clipreverse_set_range(job, times["start"], times["end"]) == 0
    )


def main():
    """The exit status: 0 if the clip was reversed."""
    if len(sys.argv) < 3:
        print(__doc__.strip(), file=sys.stderr)
        return 2
    library = load()
    job = library.clipreverse_create()
    on_progress = ON_PROGRESS(draw)  # kept as long as the job may call it
    library.clipreverse_set_progress(job, on_progress, None)
    signal.signal(signal.SIGINT, lambda *_: library.clipreverse_cancel(job))
    end = -1
    if describe(library, job, *sys.argv[1:3], sys.argv[3:]) and library.clipreverse_start(job) == 0:
        # Python looks at signals between two calls.
        while (end := library.clipreverse_wait(job, 200)) == RUNNING:
            pass
        print(file=sys.stderr)
    if end == 0:
        pictures, sound = number(library, job, "pictures"), number(library, job, "sound")
        print(f"{pictures:.0f} pictures and {sound:.3f} s of sound reversed")
    else:
        print(library.clipreverse_error_text(job).decode(errors="replace"), file=sys.stderr)
    library.clipreverse_free(job)
    return 0 if end == 0 else 1


if __name__ == "__main__":
    sys.exit(main())
