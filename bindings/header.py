"""Reads include/orn32.h into a list of declarations. Strict: what it does not understand ends the program."""

import re
from dataclasses import dataclass, field


@dataclass
class Section:
    title: str


@dataclass
class Constant:
    name: str
    value: int | str
    comment: str


@dataclass
class BitShift:
    """A macro NAME(n) that is n << bits."""

    name: str
    parameter: str
    bits: int


@dataclass
class Type:
    base: str  # "UINT", "imgdes" ...
    pointers: int = 0
    const: bool = False
    count: int = 0  # elements of an array, 0 if it is none


@dataclass
class Variable:
    name: str
    type: Type


@dataclass
class Callback:
    name: str
    result: Type
    parameters: list[Variable]


@dataclass
class Record:
    name: str
    fields: list[Variable]


@dataclass
class Function:
    name: str
    result: Type
    parameters: list[Variable]


# How the Windows headers lay out the simple types that the interface uses, in bytes.
SIMPLE_TYPES = {
    "void": 0, "char": 1, "unsigned char": 1, "BYTE": 1, "WCHAR": 2, "WORD": 2,
    "int": 4, "long": 4, "UINT": 4, "HWND": 4, "HDC": 4, "HPALETTE": 4, "HBITMAP": 4,
}  # fmt: skip


def _windows_record(name, fields):
    return Record(name, [Variable(words[-1], Type(" ".join(words[:-1]))) for words in map(str.split, fields)])


# The records of the Windows headers that the interface uses.
WINDOWS_RECORDS = [
    _windows_record("RGBQUAD", ["BYTE rgbBlue", "BYTE rgbGreen", "BYTE rgbRed", "BYTE rgbReserved"]),
    _windows_record("RECT", ["int left", "int top", "int right", "int bottom"]),
    _windows_record("BITMAPINFOHEADER", [
        "UINT biSize", "int biWidth", "int biHeight", "WORD biPlanes", "WORD biBitCount", "UINT biCompression",
        "UINT biSizeImage", "int biXPelsPerMeter", "int biYPelsPerMeter", "UINT biClrUsed", "UINT biClrImportant",
    ]),
]  # fmt: skip

# Text around the declarations, each exactly as it stands in the header.
FRAME = [
    "#ifndef ORN32_H\n#define ORN32_H\n",
    "#include <windows.h>\n",
    '#ifdef __cplusplus\nextern "C" {\n#endif\n',
    "#define ORNAPI __stdcall\n",
    "#ifdef __cplusplus\n}\n#endif\n",
    "#endif /* ORN32_H */\n",
]

COMMENT = r"/\*(?:(?!\*/).)*\*/"


@dataclass
class Header:
    declarations: list = field(default_factory=list)

    def of(self, kind):
        return [one for one in self.declarations if isinstance(one, kind)]


class Reader:
    def __init__(self, text):
        self.text = text
        self.position = 0
        self.header = Header()
        self.records = {record.name for record in WINDOWS_RECORDS}
        self.callbacks = set()
        self.patterns = [
            (r"\s+", lambda match: None),
            (r"/\* ---- (.+?) -+ \*/", lambda match: self.add(Section(match[1]))),
            (COMMENT, lambda match: None),
            (r"#define (\w+)[ \t]+(\(-?\d+\)|0x[0-9A-Fa-f]+|\d+|\"[^\"\\\n]*\")[ \t]*(" + COMMENT + r")?(?=\s)", self.constant),
            (r"#define (\w+)\((\w+)\) \(\((\w+)\) << (\d+)\)(?=\s)", self.bit_shift),
            (r"typedef ([\w ]+\**) ?\(__cdecl \*(\w+)\)\(([^()]*)\);", self.callback),
            (r"typedef struct (\w+) \{([^{}]*)\} (\w+);", self.record),
            (r"([A-Za-z][\w ]*?\**) ?\bORNAPI (\w+)\(([^()]*)\);", self.function),
        ]

    def fail(self, words):
        line = self.text.count("\n", 0, self.position) + 1
        raise SystemExit(f"orn32.h:{line}: {words}")

    def read(self):
        frame = list(FRAME)
        while self.position < len(self.text):
            if frame and self.text.startswith(frame[0], self.position):
                self.position += len(frame.pop(0))
            else:
                self.one()
        if frame:
            self.fail(f"expected {frame[0]!r}")
        return self.header

    def one(self):
        for pattern, action in self.patterns:
            match = re.compile(pattern, re.DOTALL).match(self.text, self.position)
            if match:
                action(match)
                self.position = match.end()
                return
        self.fail("cannot read " + repr(self.text[self.position : self.position + 60]))

    def add(self, declaration):
        name = getattr(declaration, "name", None)
        if name and name in {getattr(one, "name", None) for one in self.header.declarations}:
            self.fail(f"{name} is declared twice")
        self.header.declarations.append(declaration)

    def constant(self, match):
        value = match[2]
        value = value[1:-1] if value[0] == '"' else int(value.strip("()"), 0)
        comment = re.sub(r"\s+", " ", (match[3] or "").strip("/*")).strip()
        self.add(Constant(match[1], value, comment))

    def bit_shift(self, match):
        if match[2] != match[3]:
            self.fail(f"{match[1]} is not a shift of its parameter")
        self.add(BitShift(match[1], match[2], int(match[4])))

    def callback(self, match):
        self.add(Callback(match[2], self.type(match[1]), self.parameters(match[3])))
        self.callbacks.add(match[2])

    def record(self, match):
        if match[1] != match[3]:
            self.fail(f"struct {match[1]} is named {match[3]}")
        body = re.sub(COMMENT, "", match[2], flags=re.DOTALL)
        *fields, rest = body.split(";")
        if rest.strip():
            self.fail(f"cannot read the field {rest.strip()!r}")
        self.add(Record(match[1], [self.variable(one) for one in fields]))
        self.records.add(match[1])

    def function(self, match):
        self.add(Function(match[2], self.type(match[1]), self.parameters(match[3])))

    def parameters(self, text):
        text = re.sub(COMMENT, "", text, flags=re.DOTALL)
        return [] if text.strip() == "void" else [self.variable(one) for one in text.split(",")]

    def variable(self, text):
        match = re.fullmatch(r"\s*([\w\s]+?[\s*]+)(\w+)(?:\[(\d+)\])?\s*", text)
        if not match:
            self.fail(f"cannot read the variable {text.strip()!r}")
        type_ = self.type(match[1])
        if type_.base == "void" and not type_.pointers:
            self.fail(f"{match[2]} is void")
        type_.count = int(match[3] or 0)
        return Variable(match[2], type_)

    def type(self, text):
        words = text.replace("*", " ").split()
        const = words[:1] == ["const"]
        base = " ".join(words[const:])
        if base not in SIMPLE_TYPES and base not in self.records and base not in self.callbacks:
            self.fail(f"unknown type {base!r}")
        return Type(base, text.count("*"), const)


def read_header(path):
    with open(path, encoding="ascii") as file:
        return Reader(file.read()).read()
