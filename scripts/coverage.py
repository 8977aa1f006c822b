"""Prints the lines and branches of the library that a run of its coverage build has reached, by folder and file.

coverage.py ROOT BUILD GCOV [FILE...]: for the files named, such as gif/walker.cpp, also the lines and branches left out.

A line of a template or an inline function counts once, and is reached if any instance of it is. Of a call that may
throw the compiler knows two ways out; neither counts as a branch.
"""
import json
import os
import subprocess
import sys
from collections import defaultdict

FOLDERS = ("core", "io", "process", "gif", "png", "jpeg")


class File:
    def __init__(self):
        self.lines = defaultdict(int)     # line number: how often
        self.branches = defaultdict(int)  # (line number, ways out of that line, which): how often

    def add(self, line):
        number = line["line_number"]
        self.lines[number] += line["count"]
        ways = branches_of(line)
        for which, count in enumerate(ways):
            self.branches[number, len(ways), which] += count


def branches_of(line):
    """The counts of a line's branches, without the pairs that a call which may throw makes."""
    counts = []
    for branch in line["branches"]:
        if not branch["throw"]:
            counts.append(branch["count"])
        elif counts:
            counts.pop()
    return counts


def read_files(root, build, gcov):
    files = defaultdict(File)
    objects = os.path.join(build, "CMakeFiles", "orn32_objects.dir")
    for folder, _, names in os.walk(objects):
        notes = sorted(os.path.join(folder, name) for name in names if name.endswith(".gcno"))
        if not notes:
            continue
        text = subprocess.run([gcov, "--json-format", "--stdout", "--branch-probabilities", *notes], check=True,
                              capture_output=True, text=True, cwd=build).stdout
        for report in text.splitlines():
            for file in json.loads(report)["files"] if report else ():
                name = os.path.relpath(os.path.join(build, file["file"]), root)
                if name.split(os.sep)[0] in FOLDERS:
                    for line in file["lines"]:
                        files[name].add(line)
    return files


def reached(counts):
    return sum(1 for count in counts.values() if count), len(counts)


def add_up(figures):
    return [tuple(map(sum, zip(*pairs))) for pairs in zip(*figures)]


def row(name, figures):
    cells = (f"{100 * part / max(whole, 1):6.1f} % of {whole:5}" for part, whole in figures)
    print(f"{name:34} lines {'   branches '.join(cells)}")


def print_left_out(name, file):
    for number in sorted(number for number, count in file.lines.items() if not count):
        print(f"{name}:{number}: not reached")
    for number in sorted({key[0] for key, count in file.branches.items() if not count and file.lines[key[0]]}):
        ways = [count for key, count in sorted(file.branches.items()) if key[0] == number]
        print(f"{name}:{number}: branches taken {' '.join(map(str, ways))}")


def main():
    root, build, gcov, *wanted = sys.argv[1:]
    files = read_files(root, build, gcov)
    figures = {name: [reached(file.lines), reached(file.branches)] for name, file in files.items()}
    if not figures:
        sys.exit("coverage.py: nothing was counted")
    for name in sorted(figures):
        row(name, figures[name])
    print()
    for folder in FOLDERS:
        row(folder, add_up([pair for name, pair in figures.items() if name.startswith(folder + os.sep)]))
    row("total", add_up(list(figures.values())))
    for name in wanted:
        print_left_out(name, files[name])


main()
