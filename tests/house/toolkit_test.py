#!/usr/bin/env python3
"""The toolkit offers what the program uses; what it offers beside that is listed with the reason."""

import pathlib
import re
import sys
import unittest

ROOT = pathlib.Path(sys.argv.pop(1)).resolve() if len(sys.argv) > 1 else pathlib.Path(__file__).resolve().parents[2]
HEADERS = ROOT / "platform/photon/include"
COMMENT = re.compile(r"//[^\n]*|/\*.*?\*/", re.S)
OFFERED = re.compile(r"\b((?:Pt|Ap|Pp|Pf|Pg)[A-Z]\w*)\s*\(|\b(Pt_(?:ARG|CB)_\w+)")


def code(*folders):
    for folder in folders:
        for path in sorted(folder.rglob("*")):
            if path.suffix in (".h", ".cpp"):
                yield COMMENT.sub("", path.read_text())


class Toolkit(unittest.TestCase):
    def test_what_no_source_uses_is_listed_with_its_reason(self):
        offered = {name for text in code(HEADERS) for names in OFFERED.findall(text) for name in names if name}
        used = {word for text in code(ROOT / "src") for word in re.findall(r"\w+", text)}
        listed = set()
        for line in (HEADERS / "unused.txt").read_text().splitlines():
            if line.startswith("  "):
                listed.update(line.split())
        self.assertGreater(len(offered), 80)
        self.assertEqual(sorted(offered - used - listed), [], "offered, but neither used nor listed in unused.txt")
        self.assertEqual(sorted(listed - offered), [], "listed in unused.txt, but not offered")
        self.assertEqual(sorted(listed & used), [], "used by now: to be struck from unused.txt")


if __name__ == "__main__":
    unittest.main()
