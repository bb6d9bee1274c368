# SPDX-License-Identifier: MIT
"""The tables of figures in the pages.

Each stands between two marks. The first names the table and the commit that its figures are of:
    <!-- table: NAME COMMIT -->
    <!-- end of table -->
COMMIT is "none" if nothing was measured yet; "partly" after the commit stands for rows that are missing.
"""
import os
import re

TABLE = re.compile(r"<!-- table: (?P<name>\w+) (?P<commit>\w+)(?P<partly> partly)? -->\n"
                   r"(?P<text>.*?)<!-- end of table -->", re.S)


class Pages:
    def __init__(self, root):
        self.paths = sorted(root.glob("*.md")) + sorted(root.glob("docs/*.md"))

    def tables(self):
        """Pairs of a page's path and what TABLE matches there."""
        return [(path, match) for path in self.paths for match in TABLE.finditer(path.read_text())]

    def put(self, name, commit, is_whole, text):
        """Writes a table into each page that has a place for it. Returns whether there is one."""
        mark = f"<!-- table: {name} {commit}{'' if is_whole else ' partly'} -->"
        places = {path for path, match in self.tables() if match["name"] == name}
        for path in places:
            page = TABLE.sub(lambda match: f"{mark}\n{text}\n<!-- end of table -->"
                             if match["name"] == name else match[0], path.read_text())
            unfinished = path.with_name(f".{path.name}.unfinished")
            unfinished.write_text(page)
            os.replace(unfinished, path)
        return bool(places)
