# SPDX-License-Identifier: MIT
"""What was measured before: build/figures/COMMIT/PART/PIECE, the output of each piece that ended well."""
import datetime
import os
import platform
import re
import shutil
import subprocess


def conditions(root):
    """The machine and the day, as a page tells them."""
    version = ""
    if shutil.which("ffmpeg"):
        said = subprocess.run(["ffmpeg", "-version"], capture_output=True, text=True).stdout
        version = ", FFmpeg " + re.match(r"ffmpeg version (?:n)?([0-9.]+|\S+)", said)[1]
    memory = os.sysconf("SC_PAGE_SIZE") * os.sysconf("SC_PHYS_PAGES") / 2**30
    return (f"{datetime.date.today().isoformat()}, {len(os.sched_getaffinity(0))} cores of {platform.machine()}, "
            f"{memory:.0f} GiB{version}")


class Kept:
    """The pieces of one part that the code of the tree has. With none, those of the last commit are begun."""

    def __init__(self, root, commits, name, part):
        folders = sorted((root / "build/figures").glob(f"*/{name}"), key=lambda path: path.stat().st_mtime)
        same = [path for path in folders if commits.is_of_tree(path.parent.name, part.without)]
        self.root = root
        self.part = part
        self.folder = same[-1] if same else root / "build/figures" / commits.head() / name
        measured = self.folder.parent.name
        # The commit that was measured may have been rewritten since.
        self.commit = measured if commits.is_before_head(measured) else commits.head()

    def texts(self):
        """What was printed, by piece, in the order of the pieces."""
        return {name: (self.folder / name).read_text() for name in self.part.pieces if (self.folder / name).exists()}

    def missing(self):
        return [name for name in self.part.pieces if not (self.folder / name).exists()]

    def is_whole(self):
        return not self.missing()

    def minutes_left(self):
        return sum(self.part.pieces[name][1] for name in self.missing())

    def begin(self):
        self.folder.mkdir(parents=True, exist_ok=True)
        if not (self.folder / "conditions").exists():
            (self.folder / "conditions").write_text(conditions(self.root))

    def said_of_conditions(self):
        return (self.folder / "conditions").read_text()
