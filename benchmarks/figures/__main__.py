# SPDX-License-Identifier: MIT
"""Measures what the pages quote, and writes the tables into them, each with the commit that it is of.

usage: scripts/figures [PART[/PIECE]...]  runs these, by default all, and writes the tables of the parts
       scripts/figures --list [PART...]   the parts, what is done of each, and how long the others take; of
                                          parts that are named each piece that is not done
       scripts/figures --write [PART...]  writes the tables of what has been measured, and runs nothing
       scripts/figures --check            fails if a table in the pages is not of the code of the tree

Each part consists of pieces. The output of a piece is kept in build/figures/COMMIT/PART, so that a run that
was stopped goes on with the next piece; remove a file there to have its piece measured again. A commit that
changes only documentation, or how tables are made, keeps what was measured before it, and tables stay right.
The figures of bench and memory do not depend on tests and scripts, either. Refuses a tree with changes that
are not committed: figures would be of no commit. Nothing else should be at work while bench and memory run.
"""
import os
import pathlib
import signal
import subprocess
import sys
import time

from commits import Commits
from kept import Kept
from pages import Pages
from parts import PARTS

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
# Points of a list; what they were measured on stands at the tables.
WITHOUT_CONDITIONS = ("readme",)
# The table tells more than one release.
WITHOUT_FFMPEG = ("releases",)


def fail(text):
    sys.exit(f"figures: {text}")


def refuse_changes(commits):
    changed = commits.changed()
    if changed:
        fail("these changes are not committed, so that figures would be of no commit:\n" + "\n".join(changed))


def run_piece(kept, name, command):
    """Whether it ended well and was kept."""
    result, log = kept.folder / f"{name}.unfinished", kept.folder / f"{name}.log"
    with open(result, "w") as out, open(log, "w") as err:
        child = subprocess.Popen(command, cwd=ROOT, stdin=subprocess.DEVNULL, stdout=out, stderr=err,
                                 start_new_session=True)
        try:
            status = child.wait()
        except KeyboardInterrupt:
            os.killpg(child.pid, signal.SIGTERM)
            child.wait()
            raise
    if status != 0:
        print(f"FAILED with status {status}, see {result.relative_to(ROOT)} and {log.name} there", flush=True)
        return False
    result.replace(kept.folder / name)
    return True


def run_part(name, only, commits):
    """Runs the pieces that are not done, or one of them."""
    kept = Kept(ROOT, commits, name, PARTS[name])
    is_well = True
    for piece in kept.missing():
        if only and piece != only:
            continue
        command, minutes = kept.part.pieces[piece]
        kept.begin()
        print(f"{name} {piece}, about {minutes:.1f} minutes: ", end="", flush=True)
        began = time.monotonic()
        if not run_piece(kept, piece, command):
            is_well = False
            continue
        # What was built meanwhile may be of another code.
        if commits.changed() or not commits.is_of_tree(kept.folder.parent.name, kept.part.without):
            (kept.folder / piece).unlink()
            fail("the code has changed meanwhile; this piece is thrown away")
        print(f"{(time.monotonic() - began) / 60:.1f}", flush=True)
    return is_well


def write_part(name, commits):
    """Writes the tables for which there is something. Returns whether each had a place, and those of a whole part
    could be made."""
    kept = Kept(ROOT, commits, name, PARTS[name])
    texts = kept.texts()
    is_well = True
    for table, make in kept.part.tables.items() if texts else ():
        try:
            text = make(texts)
        except ValueError as error:
            # Rows that it needs may be in pieces that are still to be measured. Its page keeps its text until then.
            print(f"figures: {table} is not written: {error}", file=sys.stderr)
            is_well = is_well and not kept.is_whole()
            continue
        if table not in WITHOUT_CONDITIONS:
            conditions = kept.said_of_conditions()
            if table in WITHOUT_FFMPEG:
                conditions = conditions.split(", FFmpeg")[0]
            text += f"\n\n*Commit {kept.commit}, {conditions}.*"
        if not Pages(ROOT).put(table, kept.commit, kept.is_whole(), text):
            print(f"figures: no page has a place for {table}", file=sys.stderr)
            is_well = False
    return is_well


def show_list(commits, named):
    row = "{:<9} {:>6} {:>8}  {:<10} {}".format
    print(row("part", "done", "minutes", "commit", "what"))
    total = 0
    for name, part in PARTS.items():
        kept = Kept(ROOT, commits, name, part)
        done = len(part.pieces) - len(kept.missing())
        total += kept.minutes_left()
        print(row(name, f"{done}/{len(part.pieces)}", f"{kept.minutes_left():.0f}", kept.commit if done else "-",
                  part.what + ("; alone" if part.is_alone else "")))
        for piece in kept.missing() if name in named else ():
            print(row("", "", f"{part.pieces[piece][1]:.1f}", "", f"{name}/{piece}"))
    print(f"{total:.0f} minutes are left, by estimate")
    return 0


def check(commits):
    known = {table: part for part in PARTS.values() for table in part.tables}
    faults = []
    found = Pages(ROOT).tables()
    for path, match in found:
        place = f"{path.relative_to(ROOT)}, table {match['name']}: "
        if match["name"] not in known:
            faults.append(place + "nothing measures it")
        elif match["commit"] == "none":
            faults.append(place + "has no figures")
        elif not commits.is_before_head(match["commit"]):
            faults.append(place + f"{match['commit']} is no commit that led to this tree")
        elif not commits.is_of_tree(match["commit"], known[match["name"]].without):
            faults.append(place + f"the code has changed since {match['commit']}")
        elif match["partly"]:
            faults.append(place + "rows are missing")
    faults += [f"no page has the table {name}" for name in known if name not in {match["name"] for _, match in found}]
    for fault in faults:
        print("figures: " + fault, file=sys.stderr)
    return 1 if faults else 0


def is_known(word):
    name, slash, piece = word.partition("/")
    return name in PARTS and (not slash or piece in PARTS[name].pieces)


def main(words):
    action = words.pop(0) if words and words[0].startswith("-") else ""
    if action in ("-h", "--help"):
        print(__doc__.strip())
        return 0
    commits = Commits(ROOT)
    unknown = [word for word in words if not is_known(word)]
    if action not in ("", "--list", "--write", "--check") or unknown:
        fail(f"unknown '{(unknown or [action])[0]}'; one of --list, --write, --check, {', '.join(PARTS)} is expected")
    if not commits.head():
        fail("this is no Git repository, so that figures would be of no commit")
    if action == "--list":
        return show_list(commits, words)
    if action == "--check":
        return check(commits)
    refuse_changes(commits)
    results = []
    for word in words or PARTS:
        name, _, piece = word.partition("/")
        if not action:
            results.append(run_part(name, piece, commits))
        results.append(write_part(name, commits))
    return 0 if all(results) else 1


if __name__ == "__main__":
    # Stopped in either way, the piece at work is stopped, too.
    signal.signal(signal.SIGTERM, signal.default_int_handler)
    try:
        sys.exit(main(sys.argv[1:]))
    except KeyboardInterrupt:
        sys.exit(130)
