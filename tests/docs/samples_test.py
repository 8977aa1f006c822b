#!/usr/bin/env python3
"""Compiles every code sample in README.md and docs/*.md: samples_test.py SOURCE_FOLDER C_COMPILER

C samples are whole functions or programs. In Python samples the names taken from orn32 must exist. A fence
without a language is text; a language that nobody here can check is an error.
"""

import ast
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

root, compiler = pathlib.Path(sys.argv[1]).resolve(), sys.argv[2]
scratch = tempfile.TemporaryDirectory()
folder = pathlib.Path(scratch.name)
sys.dont_write_bytecode = True

PRELUDE = '#include <stdio.h>\n#include <stdlib.h>\n#include <string.h>\n#include "orn32.h"\n'


def run(*command):
    done = subprocess.run(command, cwd=folder, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    return "" if done.returncode == 0 else done.stdout


def check_c(code):
    (folder / "sample.c").write_text(code if code.startswith("#include") else PRELUDE + code)
    return run(compiler, "-Wall", "-Wextra", "-Werror", "-Wno-unused-function", "-I", root / "include", "-c", "sample.c")


def check_python(code):
    try:
        tree = ast.parse(code)
    except SyntaxError as error:
        return str(error)
    used = {one.attr for one in ast.walk(tree) if isinstance(one, ast.Attribute) and getattr(one.value, "id", "") == "orn32"}
    sys.path[:0] = [str(folder)]
    import orn32

    unknown = used - set(orn32.FUNCTIONS) - set(dir(orn32))
    return f"orn32 has no {unknown}" if unknown else ""


def check_pascal(code):
    if not shutil.which("fpc"):
        return ""
    shutil.copy(root / "tests/bindings/windows.pas", folder)
    (folder / "sample.pas").write_text(code)
    return run("fpc", "-Sew", "-Cn", "sample.pas")


def check_csharp(code):
    if not shutil.which("mcs"):
        return ""
    (folder / "sample.cs").write_text(code)
    return run("mcs", "-warnaserror", "-platform:x86", "-target:exe", "Orn32.cs", "sample.cs")


CHECKS = {"c": check_c, "python": check_python, "pascal": check_pascal, "csharp": check_csharp}


def main():
    subprocess.run([sys.executable, "-B", root / "bindings/generate.py", root / "include/orn32.h", folder], check=True)
    checked = failed = 0
    for path in [root / "README.md", *sorted((root / "docs").glob("*.md"))]:
        for match in re.finditer(r"^```(\w+)\n(.*?)^```$", path.read_text(), re.DOTALL | re.MULTILINE):
            language, code = match.groups()
            line = path.read_text().count("\n", 0, match.start()) + 1
            words = CHECKS[language](code) if language in CHECKS else f"no check for {language}"
            checked += 1
            if words:
                failed += 1
                print(f"{path.relative_to(root)}:{line}: {words}")
    print(f"{checked} samples, {failed} failed")
    return failed > 0 or checked == 0


if __name__ == "__main__":
    sys.exit(main())
