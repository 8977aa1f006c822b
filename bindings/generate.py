#!/usr/bin/env python3
"""Writes the declarations for other languages: generate.py include/orn32.h FOLDER"""

import pathlib
import sys

import basic
import csharp
import ctypes_module
import pascal
from header import read_header
from shared import check

LANGUAGES = {"orn32.pas": pascal, "orn32.bas": basic, "Orn32.cs": csharp, "orn32.py": ctypes_module}


def main(path, folder):
    header = read_header(path)
    check(header)
    folder = pathlib.Path(folder)
    folder.mkdir(parents=True, exist_ok=True)
    for name, language in LANGUAGES.items():
        # Windows editors, and Visual Basic above all, want their line ends.
        (folder / name).write_text(language.write(header), encoding="ascii", newline="\r\n")


if __name__ == "__main__":
    if len(sys.argv) != 3:
        raise SystemExit(__doc__)
    main(*sys.argv[1:])
