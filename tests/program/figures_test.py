# SPDX-License-Identifier: MIT
"""Tests scripts/figures in a small repository whose measuring scripts are stand-ins that note each call.

Usage: figures_test.py SOURCE_DIRECTORY
"""
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

SOURCE = pathlib.Path(sys.argv.pop(1)).resolve()
TABLES = {"docs/performance.md": ("bench", "aims", "memory"), "README.md": ("readme",), "docs/containers.md": ("codecs",),
          "docs/reliability.md": ("peers", "mutations", "fuzzers", "releases")}
BENCH_ROWS = ("| clip | seconds | against `reverse` | against forward | MB | MB of `reverse` | decodes a frame | cores busy |\n"
              "|---|---|---|---|---|---|---|---|\n")
STAND_INS = {
    "bench": f"""echo '{BENCH_ROWS}'"| $2 | 5 | 0.61 | 0.90 | 330 | 900 | 1.04 | - |" """,
    "bench-memory": """echo "| clip | 96 MB |
|---|---|
| ${2}p, h264 | 43, 3.28x |" """,
    "soak": """if [[ $2 == --only ]]; then echo "| Fuzzer, $5 s | runs |
|---|---|
| ${3#fuzz } | 1 |"
else echo "soak: seed 77
| Input | tried |
|---|---|
| hostile | 74 |"; fi""",
    "test-releases": """echo "suite      FFmpeg   compiler   tests
$1   5.1.6    g++ 12.2       310" """,
}


class Tree:
    def __init__(self, folder):
        self.root = pathlib.Path(folder) / "a tree"
        (self.root / "docs").mkdir(parents=True)
        (self.root / "scripts").mkdir()
        shutil.copytree(SOURCE / "benchmarks", self.root / "benchmarks")
        shutil.copy(SOURCE / "scripts/figures", self.root / "scripts/figures")
        for name, body in STAND_INS.items():
            script = self.root / "scripts" / name
            script.write_text(f'#!/bin/bash\nset -e\necho "{name} $*" >>build/notes\n{body}\n')
            script.chmod(0o755)
        for page, tables in TABLES.items():
            (self.root / page).write_text("".join(f"Before {name}.\n<!-- table: {name} none -->\n<!-- end of table -->\n"
                                                  f"After {name}.\n" for name in tables))
        (self.root / "source.cpp").write_text("int a;\n")
        (self.root / ".gitignore").write_text("/build/\n")
        (self.root / "build").mkdir()
        self.git("init", "-q")
        self.commit("first")

    def git(self, *words):
        return subprocess.run(["git", "-c", "user.name=x", "-c", "user.email=x@real.org", *words], cwd=self.root,
                              check=True, capture_output=True, text=True).stdout.strip()

    def commit(self, subject):
        self.git("add", ".")
        self.git("commit", "-qm", subject)

    def head(self):
        return self.git("rev-parse", "--short=9", "HEAD")

    def figures(self, *words, **environment):
        return subprocess.run([self.root / "scripts/figures", *words], cwd="/", capture_output=True, text=True,
                              env={**os.environ, **environment})

    def calls(self):
        notes = self.root / "build/notes"
        lines = notes.read_text().splitlines() if notes.exists() else []
        notes.unlink(missing_ok=True)
        return lines

    def page(self, name):
        return (self.root / name).read_text()

    def change(self, name, text):
        (self.root / name).write_text(text)


@unittest.skipUnless(shutil.which("git"), "git is not installed")
class FiguresTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.tree = Tree(folder.name)

    def run_well(self, *words):
        result = self.tree.figures(*words)
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)
        return result.stdout

    def faults(self):
        """What the check says of tables; those that were never measured aside."""
        lines = self.tree.figures("--check").stderr.splitlines()
        return [line for line in lines if not line.endswith("has no figures")]

    def test_a_part_is_measured_and_written_with_its_commit(self):
        self.run_well("memory")
        self.assertEqual(self.tree.calls(), [f"bench-memory --sizes {size}" for size in ("360", "720", "1080", "2160")])
        text = self.tree.page("docs/performance.md")
        self.assertIn(f"Before memory.\n<!-- table: memory {self.tree.head()} -->\n| clip | 96 MB |\n|---|---|\n"
                      "| 360p, h264 | 43, 3.28x |\n| 720p, h264 | 43, 3.28x |\n| 1080p, h264 | 43, 3.28x |\n"
                      f"| 2160p, h264 | 43, 3.28x |\n\n*Commit {self.tree.head()}, ", text)
        self.assertIn("<!-- table: bench none -->\n<!-- end of table -->\n", text)
        self.assertEqual(self.faults(), [])

    def test_what_is_measured_is_not_measured_again(self):
        self.run_well("memory")
        self.tree.calls()
        self.tree.commit("the figures themselves")
        self.run_well("memory")
        self.assertEqual(self.tree.calls(), [])
        self.assertRegex(self.run_well("--list"), r"memory +4/4 +0 ")

    def test_goes_on_where_it_was(self):
        self.run_well("memory")
        self.tree.calls()
        next((self.tree.root / "build/figures").glob("*/memory/720")).unlink()
        self.assertRegex(self.run_well("--list"), r"memory +3/4")
        self.run_well("--write", "memory")
        self.assertIn(f"<!-- table: memory {self.tree.head()} partly -->", self.tree.page("docs/performance.md"))
        self.assertEqual(self.faults(), ["figures: docs/performance.md, table memory: rows are missing"])
        self.assertEqual(self.tree.calls(), [])
        self.run_well("memory")
        self.assertEqual(self.tree.calls(), ["bench-memory --sizes 720"])
        self.assertEqual(self.faults(), [])

    def test_a_piece_can_be_named(self):
        self.run_well("memory/1080", "memory/360")
        self.assertEqual(self.tree.calls(), ["bench-memory --sizes 1080", "bench-memory --sizes 360"])
        self.assertIn("|---|---|\n| 360p, h264 | 43, 3.28x |\n| 1080p, h264 | 43, 3.28x |\n\n",
                      self.tree.page("docs/performance.md"))
        left = self.run_well("--list", "memory")
        self.assertRegex(left, r"memory +2/4")
        self.assertIn("memory/720\n", left)
        self.assertNotIn("memory/360\n", left)

    def test_a_change_of_pages_leaves_tables_right_and_one_of_code_does_not(self):
        self.run_well("memory", "soak")
        measured = self.tree.head()
        self.tree.change("docs/program.1", "More.\n")
        self.assertEqual(self.faults(), [])
        self.tree.commit("pages")
        self.assertEqual(self.faults(), [])
        # Tests count for what is made of them, but not for speed.
        self.tree.change("scripts/test", "true\n")
        self.tree.commit("a script")
        stale = f"the code has changed since {measured}"
        self.assertEqual(self.faults(), [f"figures: docs/reliability.md, table {name}: {stale}"
                                         for name in ("mutations", "fuzzers")])
        # As it stands on the disk, committed or not.
        self.tree.change("source.cpp", "int b;\n")
        self.assertEqual(len(self.faults()), 3)
        self.tree.commit("code")
        self.assertEqual(len(self.faults()), 3)
        self.tree.calls()
        self.run_well("memory")
        self.assertEqual(len(self.tree.calls()), 4)
        self.assertIn(f"<!-- table: memory {self.tree.head()} -->", self.tree.page("docs/performance.md"))

    def test_the_check_fails_without_figures_or_places(self):
        result = self.tree.figures("--check")
        self.assertEqual(result.returncode, 1)
        self.assertEqual(len(result.stderr.splitlines()), sum(map(len, TABLES.values())))
        self.tree.change("docs/containers.md", "")
        self.assertEqual(self.faults(), ["figures: no page has the table codecs"])
        self.tree.change("docs/containers.md", "<!-- table: codecs 123abc -->\n<!-- end of table -->\n"
                         "<!-- table: other 123abc -->\n<!-- end of table -->\n")
        self.assertEqual(self.faults(), [
            "figures: docs/containers.md, table codecs: 123abc is no commit that led to this tree",
            "figures: docs/containers.md, table other: nothing measures it"])

    def test_a_tree_with_changes_is_refused(self):
        self.tree.change("source.cpp", "int b;\n")
        result = self.tree.figures("memory")
        self.assertEqual(result.returncode, 1)
        self.assertIn("source.cpp", result.stderr)
        self.assertEqual(self.tree.calls(), [])

    def test_a_piece_is_thrown_away_if_the_code_changed_meanwhile(self):
        script = self.tree.root / "scripts/bench-memory"
        script.write_text(script.read_text() + "echo 'int b;' >source.cpp\n")
        self.tree.commit("a stand-in that changes the code")
        result = self.tree.figures("memory")
        self.assertEqual(result.returncode, 1)
        self.assertIn("changed meanwhile", result.stderr)
        self.assertEqual(len(self.tree.calls()), 1)
        self.assertEqual(list((self.tree.root / "build/figures").glob("*/memory/360")), [])

    def test_a_piece_that_fails_is_no_figure_and_the_others_go_on(self):
        script = self.tree.root / "scripts/bench-memory"
        script.write_text(script.read_text() + "[[ $2 != 360 ]]\n")
        self.tree.commit("a stand-in that fails")
        result = self.tree.figures("memory")
        self.assertEqual(result.returncode, 1)
        self.assertIn("memory 360, about 0.7 minutes: FAILED with status 1", result.stdout)
        self.assertEqual(len(self.tree.calls()), 4)
        self.assertEqual(self.faults(), ["figures: docs/performance.md, table memory: rows are missing"])

    def test_texts_become_tables(self):
        self.run_well("soak", "releases")
        text = self.tree.page("docs/reliability.md")
        self.assertIn("| Input | tried |\n|---|---|\n| hostile | 74 |\n\nSeed 77.\n", text)
        self.assertIn("| Fuzzer, 600 s | runs |\n|---|---|\n| png | 1 |\n| ini | 1 |\n| format | 1 |\n| decoder | 1 |\n",
                      text)
        self.assertIn("| suite | FFmpeg | compiler | tests |\n|---|---|---|---|\n"
                      "| bullseye | 5.1.6 | g++ 12.2 | 310 |\n| bookworm | 5.1.6 | g++ 12.2 | 310 |\n", text)

    def test_a_piece_is_no_failure_if_a_table_needs_others_too(self):
        self.run_well("bench/720p-gop30")
        self.assertEqual(self.tree.calls(), ["bench --clips 720p-gop30"])
        self.assertIn("| 720p-gop30 | 5 |", self.tree.page("docs/performance.md"))
        self.assertEqual(self.tree.page("README.md"),
                         "Before readme.\n<!-- table: readme none -->\n<!-- end of table -->\nAfter readme.\n")
        self.run_well("bench")
        self.assertIn("take 0.61 to 0.61 of the", self.tree.page("README.md"))

    def test_a_table_of_a_whole_part_that_cannot_be_made_is_a_failure(self):
        self.tree.change("scripts/test-releases", "#!/bin/bash\necho 'suite FFmpeg'\necho bookworm not built\n")
        self.tree.commit("a stand-in with a row that is too long")
        self.run_well("releases/bookworm")
        result = self.tree.figures("releases")
        self.assertEqual(result.returncode, 1)
        self.assertIn("releases is not written", result.stderr)

    def test_unknown_words_are_refused(self):
        for words in (["--chekc"], ["memroy"], ["memory/361"], ["--list", "memroy"]):
            result = self.tree.figures(*words)
            self.assertEqual(result.returncode, 1)
            self.assertIn(f"unknown '{words[-1]}'", result.stderr)


class TablesTest(unittest.TestCase):
    """What is computed of the rows beside ffmpeg, and of the report of tests."""

    @classmethod
    def setUpClass(cls):
        sys.dont_write_bytecode = True
        sys.path.insert(0, str(SOURCE / "benchmarks/figures"))

    def row(self, name, seconds, reverse, megabytes):
        return {name: BENCH_ROWS + f"| {name} | {seconds} | {reverse} | 0.90 | {megabytes} | 900 | 1.04 | - |\n"}

    def test_aims(self):
        import tables
        texts = {**self.row("720p-gop250", 5.5, 0.61, 660), **self.row("720p-gop30", 5, "0.70", 330),
                 **self.row("1080p-gop250", 30, 0.71, 900), **self.row("360p-1min", 6, "-", 200),
                 **self.row("360p-10min", 60, "-", 230), **self.row("2160p-gop120", 14, 1.01, 1880)}
        self.assertEqual(tables.aims(texts).splitlines()[2:], [
            "| wall time against `reverse`, 20 s and more of 720p and 1080p | 0.7 | 0.61 to 0.71 | missed by 1 of 3 |",
            "| wall time against forward, the same clips | 1.05 | 0.9 |  |",
            "| wall time against forward, 2160p | 1.15 | 0.9 |  |",
            "| decodes a frame if a group fits the budget | 1.05 | 1.04 |  |",
            "| MB at 2160p | 1879 | 1880 | missed |",
            "| seconds of long groups against short ones, same pictures | 1.1 | 1.1 |  |",
            "| MB of ten minutes against one minute | 1.05 | 1.15 | missed |"])

    def test_the_first_page_says_nothing_without_its_rows(self):
        import tables
        with self.assertRaises(ValueError):
            tables.readme(self.row("360p-1min", 6, "-", 200))
        texts = {}
        for name, reverse in (("360p-10min", "-"), ("360p-1min", "-"), ("720p-gop250", 0.61), ("720p-gop30", 0.65),
                              ("1080p-gop250", 0.5), ("720p-hevc", 0.67)):
            texts.update(self.row(name, 6, reverse, 200))
        self.assertIn("take 0.50 to 0.67 of the", tables.readme(texts))

    def test_codecs(self):
        import tables

        def case(encoder, pixels, containers, more=""):
            said = {"encoder": encoder, "format": pixels, "containers": containers}
            return "<testcase name='x'>" + more + "<properties>" + "".join(
                f"<property name='{name}' value='{value}'/>" for name, value in said.items()) + "</properties></testcase>"

        def report(*cases):
            return "<?xml version='1.0'?><testsuites><testsuite>" + "".join(cases) + "</testsuite></testsuites>"

        text = report(case("libx264", "yuv420p", "mp4 mkv "), case("libx264", "yuv422p", "mp4 mkv "),
                      case("aac", "", "ts "))
        self.assertEqual(tables.codecs({"all": text}).splitlines()[2:], [
            "| `libx264` | yuv420p, yuv422p | yes | - | yes | - | - | - | - |",
            "| `aac` | - | - | - | - | - | - | yes | - |"])
        # A test that was skipped has no properties.
        skipped = "<testcase name='x' result='skipped'><skipped message='no such encoder'/></testcase>"
        self.assertEqual(tables.codecs({"all": report(skipped, case("aac", "", "ts "))}).splitlines()[2:],
                         ["| `aac` | - | - | - | - | - | - | yes | - |"])
        with self.assertRaises(ValueError):
            tables.codecs({"all": report(case("aac", "", "ts ", "<failure/>"))})

    def test_a_row_of_the_releases_has_a_cell_for_each_heading(self):
        import tables
        with self.assertRaises(ValueError):
            tables.releases({"bookworm": "suite FFmpeg compiler\nbookworm not built g++ 12.2\n"})


if __name__ == "__main__":
    unittest.main()
