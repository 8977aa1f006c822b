#!/usr/bin/env python3
"""Checks the declarations made for other languages: bindings_test.py SOURCE_FOLDER C_COMPILER

What is read back from their text is compared with cmake/exports.txt, which the DLL is linked by, and with the
record sizes of a C compiler. Compilers of the languages are called where they are installed.
"""

import ctypes
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import types
import unittest

root, compiler = pathlib.Path(sys.argv[1]).resolve(), sys.argv[2]
header = root / "include" / "orn32.h"
scratch = tempfile.TemporaryDirectory()
folder = pathlib.Path(scratch.name)


def generate(source, target):
    command = [sys.executable, "-B", root / "bindings" / "generate.py", source, target]
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)


def run(*command):
    return subprocess.run(command, cwd=folder, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)


def exported():
    lines = re.findall(r"^([A-Za-z]\w*) (\d+)$", (root / "cmake/exports.txt").read_text(), re.MULTILINE)
    return {name: int(size) for name, size in lines}


def record_sizes():
    names = re.findall(r"^\} (\w+);", header.read_text(), re.MULTILINE)
    probe = folder / "sizes.c"
    probe.write_text('#include "orn32.h"\n' + "".join(f"char size_{name}[sizeof({name})];\n" for name in names))
    done = run(compiler, "-fcommon", "-I", header.parent, "-S", probe, "-o", "sizes.s")
    assert done.returncode == 0, done.stdout
    return {name: int(size) for name, size in re.findall(r"\.comm\s+_size_(\w+),\s*(\d+)", (folder / "sizes.s").read_text())}


def read(name):
    return (folder / name).read_text().replace("\r\n", "\n")


def layout(fields):
    """The size of (bytes, count) fields under natural alignment."""
    offset, alignment = 0, 1
    for size, count in fields:
        offset = -(-offset // size) * size + size * count
        alignment = max(alignment, size)
    return -(-offset // alignment) * alignment


def split(text, separator):
    return [one.strip() for one in text.split(separator) if one.strip()]


class Declarations:
    """Every language's class tells functions() and records(), both {name: bytes}."""

    def test_every_export_is_declared_with_its_bytes_of_arguments(self):
        self.maxDiff = None
        self.assertEqual(len(exported()), 147)
        self.assertEqual(self.functions(), exported())

    def test_every_record_has_the_size_that_c_gives_it(self):
        expected = record_sizes()
        self.assertEqual(len(expected), 8)
        found = self.records()
        self.assertEqual({name: found.get(name) for name in expected}, expected)

    def test_result_codes_have_the_values_of_the_header(self):
        expected = {name: int(value) for name, value in re.findall(r"#define (ERR_\w+) \((-\d+)\)", header.read_text())}
        self.assertGreater(len(expected), 20)
        found = {name: int(value) for name, value in re.findall(r"\b(ERR_\w+) = (-\d+)", read(self.file))}
        self.assertEqual(found, expected)


class Pascal(Declarations, unittest.TestCase):
    file = "orn32.pas"
    simple = {"Byte": 1, "Word": 2, "Integer": 4, "Longint": 4, "Cardinal": 4, "Pointer": 4,
              "HWND": 4, "HDC": 4, "HPALETTE": 4, "HBITMAP": 4}  # fmt: skip

    def size(self, type_):
        if type_ in self.simple:
            return self.simple[type_]
        assert re.match(r"P[A-Z]\w+|Torn(c?alloc|free)$|PRGB|P\w+", type_), type_
        return 4

    def functions(self):
        found = re.findall(r"^(?:function|procedure) (\w+)(?:\((.*?)\))?(?:: \w+)?; stdcall; external 'orn32\.dll';$", read(self.file), re.MULTILINE)
        return {name: sum(self.size(one.split(": ")[1]) for one in split(parameters, ";")) for name, parameters in found}

    def records(self):
        found = re.findall(r"^type T(\w+) = record\n(.*?)^end;", read(self.file), re.MULTILINE | re.DOTALL)
        return {name: layout(self.field(one) for one in split(fields, ";")) for name, fields in found}

    def field(self, text):
        match = re.fullmatch(r"\w+: (?:array \[0\.\.(\d+)\] of )?(\w+)", text)
        return self.size(match[2]), int(match[1] or 0) + 1

    @unittest.skipUnless(shutil.which("fpc"), "Free Pascal is not installed")
    def test_free_pascal_compiles_the_unit(self):
        shutil.copy(root / "tests/bindings/windows.pas", folder)
        done = run("fpc", "-Sew", "-Cn", "-vw", "orn32.pas")
        self.assertEqual(done.returncode, 0, done.stdout)


class Basic(Declarations, unittest.TestCase):
    file = "orn32.bas"
    simple = {"Byte": 1, "Integer": 2, "Long": 4}

    def functions(self):
        found = re.findall(r'^Public Declare (?:Sub|Function) (\w+) Lib "orn32\.dll" Alias "(\w+)" \((.*?)\)(?: As \w+)?$', read(self.file), re.MULTILINE)
        self.assertEqual([name for name, alias, _ in found if name != alias], [])
        return {name: sum(self.size(one) for one in split(parameters, ",")) for name, _, parameters in found}

    def size(self, text):
        match = re.fullmatch(r"(ByVal|ByRef) \w+ As (\w+)", text)
        return 4 if match[1] == "ByRef" or match[2] == "String" else self.simple[match[2]]

    def records(self):
        found = re.findall(r"^Public Type T(\w+)\n(.*?)^End Type", read(self.file), re.MULTILINE | re.DOTALL)
        return {name: layout(self.field(one) for one in split(fields, "\n")) for name, fields in found}

    def field(self, text):
        match = re.fullmatch(r"\w+(?:\(0 To (\d+)\))? As (\w+)", text)
        return self.simple[match[2]], int(match[1] or 0) + 1

    def test_names_differ_by_more_than_their_case(self):
        names = re.findall(r"^Public (?:Declare (?:Sub|Function)|Type|Const|Function) (\w+)", read(self.file), re.MULTILINE)
        lower = [name.lower() for name in names]
        self.assertEqual([name for name in lower if lower.count(name) > 1], [])


class CSharp(Declarations, unittest.TestCase):
    file = "Orn32.cs"
    simple = {"byte": 1, "char": 2, "ushort": 2, "int": 4, "uint": 4, "IntPtr": 4}
    records_by_reference = r"imgdes|Png\w+|Gif\w+|Jpeg\w+|RECT|BITMAPINFOHEADER"

    def functions(self):
        found = re.findall(
            r'\[DllImport\("orn32\.dll", CallingConvention = CallingConvention\.StdCall, ExactSpelling = true\)\]\n'
            r"    public static extern \w+ (\w+)\((.*)\);$", read(self.file), re.MULTILINE)  # fmt: skip
        return {name: self.bytes(parameters) for name, parameters in found}

    def bytes(self, parameters):
        parameters = re.sub(r"\[[^\[\]]*\w[^\[\]]*\] ", "", parameters)  # attributes
        return sum(self.size(one) for one in split(parameters, ","))

    def size(self, text):
        *kind, type_, _ = text.split()
        if kind or type_ == "string" or type_.endswith("[]"):
            return 4
        return 4 if re.fullmatch(r"ornc?alloc|ornfree", type_) else self.simple[type_]

    def records(self):
        found = re.findall(r"LayoutKind\.Sequential\)\]\n    public struct (\w+)\n    \{\n(.*?)^    \}", read(self.file), re.MULTILINE | re.DOTALL)
        return {name: layout(self.field(one) for one in split(fields, ";")) for name, fields in found}

    def field(self, text):
        match = re.fullmatch(r"(?:\[MarshalAs\(UnmanagedType\.ByValArray, SizeConst = (\d+)\)\]\s+)?public (\w+)(\[\])? @?\w+", text)
        self.assertEqual(bool(match[1]), bool(match[3]), text)
        return self.simple[match[2]], int(match[1] or 1)

    @unittest.skipUnless(shutil.which("mcs"), "mcs is not installed")
    def test_mcs_compiles_the_class(self):
        done = run("mcs", "-warnaserror", "-target:library", "-platform:x86", "Orn32.cs")
        self.assertEqual(done.returncode, 0, done.stdout)


class Python(Declarations, unittest.TestCase):
    file = "orn32.py"

    def module(self):
        """The module, run with pointers of the 32-bit programs that it is for."""
        narrow = types.ModuleType("ctypes")
        narrow.__dict__.update(ctypes.__dict__)
        narrow.POINTER = narrow.CFUNCTYPE = lambda *_: ctypes.c_uint32
        narrow.c_void_p = narrow.c_char_p = narrow.c_wchar_p = ctypes.c_uint32
        module = types.ModuleType("orn32")
        sys.modules["ctypes"] = narrow
        try:
            exec(compile(read(self.file), self.file, "exec"), module.__dict__)
        finally:
            sys.modules["ctypes"] = ctypes
        return module

    def functions(self):
        functions = self.module().FUNCTIONS
        for name, (parameters, _, kinds) in functions.items():
            self.assertEqual(len(parameters), len(kinds), name)
        return {name: sum(-(-ctypes.sizeof(one) // 4) * 4 for one in kinds) for name, (_, _, kinds) in functions.items()}

    def records(self):
        module = self.module()
        return {name: ctypes.sizeof(getattr(module, name)) for name in record_sizes()}

    def test_the_module_can_be_imported_with_the_real_ctypes(self):
        done = run(sys.executable, "-B", "-c", "import orn32; print(orn32.GIF_BITS(3), len(orn32.FUNCTIONS))")
        self.assertEqual(done.stdout, "196608 147\n")


class Generator(unittest.TestCase):
    def test_what_it_cannot_read_is_an_error(self):
        text = header.read_text()
        cases = [
            ("#define ERR_RANGE (-1)", "#define ERR_RANGE (-1 + 0)"),
            ("#define ERR_RANGE (-1)", "#undef ERR_RANGE"),
            ("int ORNAPI loadbmp(", "int loadbmp("),
            ("int ORNAPI loadbmp(", "size_t ORNAPI loadbmp("),
            ("int ORNAPI loadgif(const char *name, imgdes *image);", "int ORNAPI loadgif(const char *name, ...);"),
            ("int ORNAPI loadgif(const char *name, imgdes *image);", "int ORNAPI loadgif(const char *name, imgdes *);"),
            ("int ORNAPI loadgif(const char *name, imgdes *image);", "int ORNAPI loadgifW(const char *name, imgdes *image);"),
            ("    UINT left; ", "    UINT left : 3; "),
            ("    UINT left; ", "    double left; "),
            ("#include <windows.h>", "#include <wtypes.h>"),
            ('#ifdef __cplusplus\n}\n#endif\n', ""),
        ]  # fmt: skip
        for old, new in cases:
            with self.subTest(new):
                self.assertEqual(text.count(old), 1)
                (folder / "changed.h").write_text(text.replace(old, new))
                done = generate(folder / "changed.h", folder / "changed")
                self.assertNotEqual(done.returncode, 0)
                self.assertIn("orn32.h:", done.stdout)


if __name__ == "__main__":
    done = generate(header, folder)
    if done.returncode != 0:
        raise SystemExit(done.stdout)
    unittest.main(argv=sys.argv[:1])
