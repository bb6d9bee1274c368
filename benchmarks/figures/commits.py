# SPDX-License-Identifier: MIT
"""Which commits have the same code, so that figures of one are figures of the other."""
import subprocess

# How tables are made of what was measured, but not what is measured, which parts.py says.
_MAKING = tuple(f"benchmarks/figures/{name}.py" for name in ("__main__", "commits", "kept", "pages", "tables"))
# A commit that changes nothing else leaves every figure as it was.
DOCUMENTATION = ("docs", "*.md", "packaging/changelog", "LICENSE", "tests/program/figures_test.py") + _MAKING
# Nor do these change how fast the program is.
NOT_THE_PROGRAM = DOCUMENTATION + ("tests", "scripts", "benchmarks/figures", "completions", "packaging", "examples",
                                   ".ci")


class Commits:
    def __init__(self, root):
        self.root = root

    def _run(self, *words):
        return subprocess.run(["git", "-C", str(self.root), *words], capture_output=True, text=True)

    @staticmethod
    def _but(without):
        return ["--", ".", *(f":(exclude){path}" for path in without)]

    def head(self):
        """The short name of the commit, or an empty text outside of a repository."""
        return self._run("rev-parse", "--short=9", "HEAD").stdout.strip()

    def changed(self):
        """Files that are not as the last commit has them, documentation aside."""
        return self._run("status", "--porcelain", *self._but(DOCUMENTATION)).stdout.splitlines()

    def is_of_tree(self, commit, without):
        """Whether the tree, as it stands on the disk, has the code of a commit."""
        return self._run("diff", "--quiet", commit, *self._but(without)).returncode == 0

    def is_before_head(self, commit):
        return self._run("merge-base", "--is-ancestor", commit, "HEAD").returncode == 0
