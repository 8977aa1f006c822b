"""The module for Visual Basic 6 and VBA in 32-bit programs."""

from header import WINDOWS_RECORDS, BitShift, Callback, Constant, Function, Record, Section
from shared import points_to_more

RESERVED = {
    "global", "option", "type", "end", "next", "loop", "public", "private", "static", "sub", "function", "declare", "let",
    "set", "get", "string", "integer", "long", "byte", "date", "in", "is", "to", "as", "select", "case", "with", "mod",
}  # fmt: skip
SIMPLE = {
    "char": "Byte", "unsigned char": "Byte", "BYTE": "Byte", "WCHAR": "Integer", "WORD": "Integer", "int": "Long", "long": "Long",
    "UINT": "Long", "HWND": "Long", "HDC": "Long", "HPALETTE": "Long", "HBITMAP": "Long",
}  # fmt: skip

# "As Any" takes a byte array's first element by reference as well as ByVal 0& or an address.
BUFFERS = {"void", "unsigned char", "char", "WCHAR"}


def name_of(one):
    return one.name + "_" if one.name.lower() in RESERVED else one.name


def value_type(type_):
    return SIMPLE.get(type_.base) or "T" + type_.base


def field(one):
    size = f"(0 To {one.type.count - 1})" if one.type.count else ""
    return f"{name_of(one)}{size} As {'Long' if one.type.pointers else value_type(one.type)}"


def parameter(function, one, callbacks):
    type_, name = one.type, name_of(one)
    if type_.base in callbacks or points_to_more(function, one):
        return f"ByVal {name} As Long"
    if type_.pointers == 2:
        return f"ByRef {name} As Long"
    if type_.pointers and type_.base == "char" and type_.const:
        return f"ByVal {name} As String"
    if type_.pointers and type_.base == "WCHAR" and type_.const:
        return f"ByVal {name} As Long"  # StrPtr(text): a String would be turned into ANSI
    if type_.pointers and type_.base in BUFFERS:
        return f"ByRef {name} As Any"
    if type_.pointers or type_.count:
        return f"ByRef {name} As {value_type(type_)}"
    return f"ByVal {name} As {value_type(type_)}"


def procedure(one, callbacks):
    head = "Sub" if one.result.base == "void" else "Function"
    tail = "" if one.result.base == "void" else f" As {value_type(one.result)}"
    parameters = ", ".join(parameter(one, each, callbacks) for each in one.parameters)
    # The editor changes the case of names to that of variables; Alias keeps the one that the DLL exports.
    return f'Public Declare {head} {one.name} Lib "orn32.dll" Alias "{one.name}" ({parameters}){tail}'


def record(one):
    fields = "".join(f"    {field(each)}\n" for each in one.fields)
    return f"Public Type T{one.name}\n{fields}End Type"


def constant(one):
    value = f'"{one.value}"' if isinstance(one.value, str) else one.value
    return f"Public Const {one.name} = {value}" + (f" ' {one.comment}" if one.comment else "")


def write(header):
    callbacks = {one.name for one in header.of(Callback)}
    lines = []
    for one in header.declarations:
        match one:
            case Section():
                lines.append(f"\n' ---- {one.title} ----\n")
            case Constant():
                lines.append(constant(one))
            case Record():
                lines.append(record(one))
            case Function():
                lines.append(procedure(one, callbacks))
            case Callback() | BitShift():
                pass  # Basic's procedures are not cdecl: addresses, or 0; shifts are functions and stand last
            case _:
                raise TypeError(one)
    functions = [
        f"Public Function {one.name}(ByVal {one.parameter} As Long) As Long\n"
        f"    {one.name} = {one.parameter} * {1 << one.bits}\nEnd Function"
        for one in header.of(BitShift)
    ]
    return "\n".join(
        [
            'Attribute VB_Name = "orn32"',
            "' orn32 for Visual Basic 6 and 32-bit VBA. Made from orn32.h, which describes everything.",
            "'",
            "' Names of functions ending in W take StrPtr(text). Buffers (As Any) take the first element of an array,",
            "' or ByVal and an address, ByVal 0& for none. Tables and palettes take the first element of theirs.",
            "Option Explicit",
            "",
            *(record(one) for one in WINDOWS_RECORDS),
            *lines,
            "",
            *functions,
            "",
        ]
    )
