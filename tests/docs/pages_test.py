#!/usr/bin/env python3
"""Checks that README.md and docs/*.md agree with the header, the files and the folders: pages_test.py SOURCE_FOLDER"""

import pathlib
import re
import sys
import unittest

root = pathlib.Path(sys.argv[1]).resolve()
pages = [root / "README.md", root / "examples/README.md", *sorted((root / "docs").glob("*.md"))]
header = (root / "include/orn32.h").read_text()
exports = re.findall(r"^([A-Za-z]\w*) \d+$", (root / "cmake/exports.txt").read_text(), re.MULTILINE)


def text(name):
    return (root / name).read_text()


def anchors(page):
    titles = re.findall(r"^#+ (.*)$", page.read_text(), re.MULTILINE)
    return {re.sub(r"[^\w\- ]", "", one.lower()).replace(" ", "-") for one in titles}


def details(function):
    """The numbers in the comment in front of a function."""
    comment = re.search(r"/\*((?:(?!\*/).)*)\*/\s*int ORNAPI " + function, header, re.DOTALL)[1]
    return {int(one) for one in re.findall(r"-1\d\d\b", comment)}


class Pages(unittest.TestCase):
    def test_the_table_of_codes_is_the_header_s(self):
        expected = {name: int(value) for name, value in re.findall(r"#define (ERR_\w+) \((-\d+)\)", header)}
        self.assertGreater(len(expected), 20)
        rows = re.findall(r"^\| (-\d+) \| `(ERR_\w+)` \| ([^|]+) \| ([^|]+) \|$", text("docs/errors.md"), re.MULTILINE)
        self.assertEqual({name: int(value) for value, name, _, _ in rows}, expected)

    def test_every_detail_of_jpeg_and_png_has_a_cause_and_a_cure(self):
        tables = re.split(r"^\| `(\w+)` \| cause \| cure \|$", text("docs/errors.md"), flags=re.MULTILINE)
        self.assertEqual(tables[1::2], ["jpeggeterror", "pnggeterror"])
        for function, table in zip(tables[1::2], tables[2::2]):
            with self.subTest(function):
                rows = re.findall(r"^\| (-\d+) \| [^|]+ \| [^|]+ \|$", table, re.MULTILINE)
                self.assertGreater(len(rows), 8)
                self.assertEqual({int(one) for one in rows}, details(function))

    def test_what_a_link_names_is_there(self):
        seen = 0
        for page in pages:
            for target in re.findall(r"\]\(([^)\s]+)\)", page.read_text()):
                if re.match(r"\w+://", target):
                    continue
                seen += 1
                path, _, anchor = target.partition("#")
                goal = (page.parent / path).resolve() if path else page
                self.assertTrue(goal.exists(), f"{page.name}: {target}")
                if anchor:
                    self.assertIn(anchor, anchors(goal), f"{page.name}: {target}")
        self.assertGreater(seen, 50)

    def test_a_function_or_code_that_a_page_calls_exists(self):
        # In spans of code, what is written like a call; the system's and the languages' own are listed.
        foreign = {"StrPtr", "malloc", "calloc", "free", "GlobalFree", "GlobalHandle", "GlobalUnlock", "sizeof", "imgdes",
                   "load", "find_package"}  # fmt: skip
        for page in pages:
            prose = re.sub(r"^```.*?^```$", "", page.read_text(), flags=re.DOTALL | re.MULTILINE)
            for span in re.findall(r"`([^`\n]+)`", prose):
                for name in re.findall(r"\b([A-Za-z]\w*)\(", span):
                    self.assertTrue(name in exports or name in foreign, f"{page.name}: {span}")
                for name in re.findall(r"\bERR_\w+", span):
                    self.assertIn(f"#define {name} ", header, page.name)

    def test_sizes_in_the_page_on_choosing_are_those_of_the_pictures(self):
        page, checked = text("docs/choosing.md"), 0
        for heads, cells in re.findall(r"^(\|(?: [^|\n]*`[\w-]+`[^|\n]* \|)+)$(?:\n\|.*){2}\n(\|.* KB \|)$", page, re.MULTILINE):
            names = [re.search(r"`([\w-]+)`", one) for one in heads.split("|")[1:-1]]
            sizes = [re.search(r"([\d.]+) KB", one) for one in cells.split("|")[1:-1]]
            for name, size in zip(names, sizes):
                if name is None:
                    continue
                have = (root / "docs/pictures" / f"{name[1]}.png").stat().st_size / 1024
                self.assertAlmostEqual(float(size[1]), have, delta=0.06, msg=name[1])
                checked += 1
        self.assertGreater(checked, 10)

    def test_the_folder_map_names_every_folder(self):
        rows = re.findall(r"^\| ((?:`\w+/` ?)+) \|", text("README.md").split("| folder |")[1], re.MULTILINE)
        named = {one for row in rows for one in re.findall(r"\w+", row)}
        there = {path.parent.name for path in root.glob("*/*") if not path.parent.name.startswith(".")}
        self.assertEqual(named, there - {"build", "dist"})


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
