#!/usr/bin/env python3
"""The rules of the house that a compiler does not check: which folder may include what, and which functions nobody
calls."""

import pathlib
import re
import sys
import unittest

ROOT = pathlib.Path(sys.argv.pop(1)).resolve() if len(sys.argv) > 1 else pathlib.Path(__file__).resolve().parents[2]

# Folder -> folders of src it may include. "names" is names/widgets.h, which holds names only.
MAY_INCLUDE = {
    "base": set(),
    "names": set(),
    "secrets": {"base"},
    "state": {"base"},
    "mime": {"base"},
    "store": {"base", "mime"},
    "net": {"base"},
    "widgets": {"base", "names", "net", "state"},
    "message": {"base", "mime", "widgets", "names"},
    "pop": {"base", "secrets", "state", "mime", "store", "net"},
    "profiles": {"base", "mime", "store", "widgets", "names", "net"},
    "news": {"base", "widgets", "names", "net", "profiles"},
    "compose": {"base", "secrets", "state", "mime", "store", "widgets", "names", "message", "net", "profiles", "news"},
    "app": {"base", "state", "compose", "mime", "store", "widgets", "names", "message", "net", "pop", "profiles", "news"},
    "ui": {"base", "mime", "store", "widgets", "names", "message", "net", "pop", "profiles", "news", "compose", "app"},
    "ways": {"base", "secrets", "state", "mime", "store", "widgets", "names", "message", "net", "pop", "profiles", "news", "compose", "app"},
}
TOOLKIT_FREE = {"base", "secrets", "state", "mime", "store", "net", "pop"}
# Below the windows of a folder that has some.
TOOLKIT_FREE_PARTS = ("compose/send/send.", "compose/send/message_sink.", "compose/send/outbox_copy.", "compose/send/classic/",
                      "compose/send/standard/", "news/session/")
SOCKET_FREE = {"base", "mime", "store", "widgets", "profiles", "ui"}
# Unbounded, or silent about what they could not read.
FORBIDDEN = re.compile(r"(?<![\w.>])(strcpy|strcat|sprintf|vsprintf|atoi|atol|strtok|gets|tmpnam|mktemp)\s*\(|"
                       r"(?<![\w.>])s?scanf\s*\(|(?<![\w.>])\bsystem\s*\(|(?<![\w.>])popen\s*\(")
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]', re.M)
COMMENT = re.compile(r"//[^\n]*|/\*.*?\*/", re.S)
STRING = re.compile(r'"(?:\\.|[^"\\\n])*"')


def sources(*places):
    for place in places:
        for path in sorted((ROOT / place).rglob("*")):
            if path.suffix in (".h", ".cpp"):
                yield path


def includes(path):
    return INCLUDE.findall(path.read_text())


class House(unittest.TestCase):
    def test_there_is_something_to_check(self):
        self.assertGreater(len(list(sources("src", "platform"))), 40)

    def test_arrows_point_one_way(self):
        for path in sources("src"):
            folder = path.relative_to(ROOT / "src").parts[0]
            for _, name in includes(path):
                target = name.split("/")[0]
                if target not in MAY_INCLUDE or target == folder or folder == "main.cpp":
                    continue
                with self.subTest(file=str(path), includes=name):
                    self.assertIn(target, MAY_INCLUDE[folder])

    def test_toolkit_and_sockets_stay_in_their_folders(self):
        for path in sources("src"):
            where = path.relative_to(ROOT / "src").as_posix()
            folder = where.split("/")[0]
            for _, name in includes(path):
                with self.subTest(file=str(path), includes=name):
                    if folder in TOOLKIT_FREE:
                        self.assertNotRegex(name, r"^(Pt|Ap|Pp|Pf|Pg)\.h$|^photon/")
                    if where.startswith(TOOLKIT_FREE_PARTS):
                        self.assertNotRegex(name, r"^(Pt|Ap)\.h$|^(photon|widgets|names)/|compose_(state|window)")
                    if folder in SOCKET_FREE:
                        self.assertNotRegex(name, r"^(sys/socket|netdb|netinet/.*|arpa/.*)\.h$|^(sys/socket|netdb)\.h$")
                    self.assertNotRegex(name, r"^Q[A-Z]")

    def test_only_the_windowing_side_knows_qt(self):
        for path in sources("platform"):
            where = path.relative_to(ROOT / "platform").as_posix()
            if where.startswith(("photon/qt/", "vserver/", "desktop/")):
                continue
            for _, name in includes(path):
                with self.subTest(file=where, includes=name):
                    self.assertNotRegex(name, r"^Q[A-Z]")

    def test_nobody_calls_unbounded_functions(self):
        for path in sources("src", "platform"):
            code = STRING.sub('""', COMMENT.sub("", path.read_text()))
            with self.subTest(file=str(path)):
                self.assertEqual([m.group(0) for m in FORBIDDEN.finditer(code)], [])


if __name__ == "__main__":
    unittest.main()
