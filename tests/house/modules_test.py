#!/usr/bin/env python3
"""The window, dialog and menu files: what a person with a keyboard or a screen reader needs, and what the program will
look for by name."""

import pathlib
import re
import sys
import unittest
import xml.etree.ElementTree as ET

ROOT = pathlib.Path(sys.argv.pop(1)).resolve() if len(sys.argv) > 1 else pathlib.Path(__file__).resolve().parents[2]
FOLDER = ROOT / "src/ui"
MODULES = {path.stem: ET.parse(path).getroot() for path in sorted(FOLDER.glob("*.ui"))}
BUTTONS = {"QPushButton", "QToolButton"}
FIELDS = {"QLineEdit", "QSpinBox", "QComboBox", "QPlainTextEdit", "QTreeView", "PtWebClient", "QCheckBox"}
MNEMONIC = re.compile(r"&(\w)")


def value(element, name):
    """The text of a property, None without one."""
    for item in element.findall("property"):
        if item.get("name") == name:
            return "".join(item.itertext()).strip()
    return None


def named(root):
    return [element for element in root.iter() if element.tag in ("widget", "action") and element.get("name")]


def hidden(element):
    return value(element, "visible") == "false"


class Modules(unittest.TestCase):
    def test_every_name_of_the_program_is_in_its_module(self):
        text = (ROOT / "src/names/widgets.h").read_text()
        modules = re.findall(r"X\((\w+), Ap\w+\)", text)
        self.assertEqual(sorted(modules), sorted(MODULES))
        listed = re.findall(r'<file>(\w+)\.ui</file>', (FOLDER / "modules.qrc").read_text())
        self.assertEqual(sorted(listed), sorted(MODULES))
        names = re.search(r"#define CORVANTA_WIDGETS\(X\)(.*?)clang-format on", text, re.S).group(1)
        found = [element.get("name") for root in MODULES.values() for element in named(root)]
        self.assertEqual([name for name in re.findall(r"X\((\w+)\)", names) if found.count(name) != 1], [])

    def test_pictures_exist(self):
        icons = set(re.findall(r"<file>([\w.-]+)</file>", (ROOT / "share/icons/icons.qrc").read_text()))
        for module, root in MODULES.items():
            for element in root.iter():
                if element.text and element.text.startswith(":/"):
                    with self.subTest(module=module, picture=element.text):
                        self.assertIn(element.text.removeprefix(":/icons/"), icons)
                        self.assertTrue((ROOT / "share/icons" / element.text.removeprefix(":/icons/")).is_file())

    def test_buttons_and_fields_can_be_used_without_a_mouse(self):
        for module, root in MODULES.items():
            buddies = {value(label, "buddy") for label in root.iter("widget") if value(label, "buddy")}
            for widget in root.iter("widget"):
                kind, name = widget.get("class"), widget.get("name")
                if hidden(widget) or kind not in BUTTONS | FIELDS:
                    continue
                with self.subTest(module=module, widget=name):
                    self.assertTrue(value(widget, "accessibleName"))
                    if kind in BUTTONS:
                        self.assertRegex(value(widget, "text"), MNEMONIC)
                        self.assertTrue(value(widget, "icon"))
                        self.assertTrue(value(widget, "toolTip"))
                    elif name.startswith(("txt", "num")) and module != "dlgViewSource":
                        self.assertIn(name, buddies)

    def test_no_letter_is_taken_twice(self):
        for module, root in MODULES.items():
            # One window's letters: its buttons, its labels and its menu bar; each menu has letters of its own.
            groups = {"window": []}
            actions = {action.get("name"): value(action, "text") for action in root.iter("action")}
            for widget in root.iter("widget"):
                if widget.get("class") == "QMenu":
                    own = groups.setdefault(widget.get("name"), [])
                    for entry in widget.findall("addaction"):
                        own.append(actions.get(entry.get("name")) or "")
                    if module == "base":
                        groups["window"].append(value(widget, "title"))
                elif value(widget, "text"):
                    groups["window"].append(value(widget, "text"))
            for group, texts in groups.items():
                letters = [letter.lower() for text in texts for letter in MNEMONIC.findall(text)]
                with self.subTest(module=module, group=group):
                    self.assertEqual(sorted(letters), sorted(set(letters)))
            keys = [value(action, "shortcut") for action in root.iter("action") if value(action, "shortcut")]
            self.assertEqual(len(keys), len(set(keys)), module)

    def test_tab_order_names_everything_once(self):
        for module in ("base", "dlgAccounts", "dlgNewsAccounts", "dlgNews", "dlgDownloadNewsPrompt", "winAddressBook",
                       "dlgViewSource", "dlgAbout", "dlgPreferences"):
            root = MODULES[module]
            stops = [stop.text for stop in root.iter("tabstop")]
            wanted = [widget.get("name") for widget in root.iter("widget")
                      if widget.get("class") in BUTTONS | FIELDS and not hidden(widget)]
            self.assertEqual(sorted(stops), sorted(wanted), module)


if __name__ == "__main__":
    unittest.main()
