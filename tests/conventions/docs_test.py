"""What docs/ names exists: files, symbols and events.

usage: docs_test.py SOURCE_DIR
"""

import os
import re
import sys
import unittest

ROOT = sys.argv[1]
CODE_FOLDERS = ("src", "host", "tests", "examples", "cmake", "bench")
FENCE = re.compile(r"^ *```.*?^ *```$", re.DOTALL | re.MULTILINE)
SPAN = re.compile(r"`([^`]+)`")
LINK = re.compile(r"\]\(([^)#]+)\)")
SYMBOL = re.compile(r"^[\w:]+(\(\))?$")
# Words of the command line, of scenarios and of tools outside the tree.
FOREIGN = re.compile(r"^(--\w|expect \w|in this font$|QT_|%\{|gdb |thread )")
DERIVED_ROW = re.compile(r"^\| (\w+) \| `(\w+)` \| (\d) \| (\d) \| (\w+) \|$", re.MULTILINE)
DERIVED_RULE = re.compile(r'\{OrderKind::(\w+), PriceType::(\w+), "(\d)", "(\d)", MinQty::(\w+)\}')
STATE = re.compile(r'^ *state "(\S+) (\S+)" as (\w+)$', re.MULTILINE)
ARROW = re.compile(r"^ *(\w+) --> (\w+|\[\*\])$", re.MULTILINE)
EVENT_ROW = re.compile(r"^\| `(\w+)` \| (0x[0-9A-F]+) \|", re.MULTILINE)


def read(path):
    with open(os.path.join(ROOT, path), encoding="utf-8") as file:
        return file.read()


def code_files():
    for folder in CODE_FOLDERS:
        for directory, _, names in os.walk(os.path.join(ROOT, folder)):
            for name in names:
                if name.endswith((".h", ".cpp", ".py", ".txt", ".cmake")):
                    yield os.path.relpath(os.path.join(directory, name), ROOT)


class Docs(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.words = set()
        for path in code_files():
            cls.words.add(os.path.splitext(os.path.basename(path))[0])
            cls.words.update(re.findall(r"\w+", read(path)))

    def exists(self, span):
        """Whether the tree has what the span names."""
        if span.startswith("./"):
            return os.path.exists(os.path.join(ROOT, span.split()[0]))
        if "/" in span:
            return os.path.exists(os.path.join(ROOT, span))
        if FOREIGN.match(span):
            return True
        parts = re.findall(r"\w+", span)
        return bool(SYMBOL.match(span)) and all(part in self.words for part in parts)

    def test_how_to_names_what_the_tree_has(self):
        spans = SPAN.findall(FENCE.sub("", read("docs/how-to.md")))
        self.assertGreater(len(spans), 60)
        self.assertEqual([span for span in spans if not self.exists(span)], [])

    def test_check_finds_names_that_the_tree_lacks(self):
        # Put together, so that this file does not contain them.
        for gone in ("src/no_such_file.cpp", "./no_such" + "_program", "noSuch" + "Symbol()",
                     "FacadeReach::noSuch" + "Member", "two words"):
            self.assertFalse(self.exists(gone), gone)

    def test_links_of_the_pages_lead_somewhere(self):
        broken = []
        pages = ["README.md"] + ["docs/" + name for name in sorted(os.listdir(os.path.join(ROOT, "docs")))]
        for page in pages:
            folder = os.path.dirname(page)
            for target in LINK.findall(FENCE.sub("", read(page))):
                if "://" not in target and not os.path.exists(os.path.join(ROOT, folder, target)):
                    broken.append(f"{page}: {target}")
        self.assertEqual(broken, [])

    def test_readme_and_the_index_lead_to_every_page(self):
        index = read("docs/README.md")
        for name in os.listdir(os.path.join(ROOT, "docs")):
            if name != "README.md":
                self.assertIn(f"({name})", index)
        for page in ("docs/how-to.md", "docs/plugin-author.md"):
            self.assertIn(f"({page})", read("README.md"))

    def test_events_of_the_page_have_the_ids_of_the_code(self):
        listed = re.findall(r"&EventMsgName::(\w+)",
                            read("host/platform/libraries/velmarutils/velmar_utils_events.cpp"))
        self.assertGreater(len(listed), 10)
        ids = {name: 0x20000 + at for at, name in enumerate(listed, start=1)}
        rows = EVENT_ROW.findall(read("docs/plugin-author.md"))
        self.assertGreater(len(rows), 2)
        for name, number in rows:
            self.assertEqual(int(number, 16), ids.get(name), name)

    def test_every_published_event_is_on_the_page(self):
        page = [name for name, _ in EVENT_ROW.findall(read("docs/plugin-author.md"))]
        published = set()
        for path in code_files():
            if path.startswith("src/"):
                published.update(re.findall(r"SendEventMsg\([^;]*?EventMsgName::(\w+)", read(path)))
        self.assertGreater(len(published), 1)
        self.assertEqual(sorted(published - set(page)), [])

    def test_each_event_of_the_page_has_one_row(self):
        names = [name for name, _ in EVENT_ROW.findall(read("docs/plugin-author.md"))]
        self.assertEqual(sorted(names), sorted(set(names)))

    def test_gates_of_the_page_have_the_ids_of_the_code(self):
        in_code = re.findall(r"\{+(0x[0-9A-F]+), (NetGateType::\w+)\}",
                             read("host/platform/messaging/gate_events.cpp"))
        on_page = re.findall(r"`(NetGateType::\w+)` \| (0x[0-9A-F]+) \|", read("docs/plugin-author.md"))
        self.assertEqual(sorted((gate, number) for number, gate in in_code), sorted(on_page))

    def test_board_entries_of_the_page_are_those_of_the_code(self):
        in_code = re.findall(r'QStringLiteral\(\s*"(\w+)"', read("src/interface/records/monitor_keys.h"))
        self.assertGreater(len(in_code), 10)
        page = read("docs/monitoring.md")
        self.assertEqual([name for name in in_code if f"`{name}`" not in page and f'"{name}"' not in page], [])

    def test_exported_families_of_the_page_are_those_of_the_code(self):
        code = read("host/shell/commands/monitor/monitor_exports.cpp")
        in_code = set(re.findall(r'\{\w+, "(\w+)", |\{"(gate_\w+)", |to\.add\("(\w+)", ', code))
        in_code = {name for names in in_code for name in names if name}
        self.assertGreater(len(in_code), 15)
        on_page = set(re.findall(r"`velmar_(\w+)`", read("docs/monitoring.md")))
        self.assertEqual(on_page - {""}, in_code)

    def test_derived_fields_of_the_page_are_those_of_the_code(self):
        in_code = DERIVED_RULE.findall(read("src/orders/derived_order_fields.cpp"))
        self.assertGreater(len(in_code), 5)
        self.assertEqual(DERIVED_ROW.findall(read("docs/orders.md")), in_code)

    def test_status_diagram_of_the_page_is_the_status_table(self):
        rows = [line.split(";") for line in read("host/market/rules/data/order_status.csv").splitlines()
                if line and not line.startswith("#")][1:]
        self.assertGreater(len(rows), 5)
        page = read("docs/orders.md")
        states = STATE.findall(page)
        self.assertEqual(sorted((code, name) for code, name, _ in states),
                         sorted((code, name) for code, name, _ in rows))
        code_of = {key: code for code, _, key in states}
        code_of["[*]"] = "the end"
        arrows = [(code_of[old], code_of[new]) for old, new in ARROW.findall(page)]
        changes = [(code, new) for code, _, following in rows
                   for new in (following.split("|") if following else ["the end"])]
        self.assertEqual(sorted(arrows), sorted(changes))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
