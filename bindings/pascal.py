"""The unit for Delphi and Free Pascal."""

from header import BitShift, Callback, Constant, Function, Record, Section

RESERVED = {
    "result", "end", "begin", "type", "unit", "uses", "var", "const", "function", "procedure", "to", "of", "in", "string",
    "record", "set", "label", "file", "array", "object", "class", "property", "program", "repeat", "until", "with", "then",
}  # fmt: skip
SIMPLE = {
    "char": "AnsiChar", "unsigned char": "Byte", "BYTE": "Byte", "WCHAR": "WideChar", "WORD": "Word", "int": "Integer",
    "long": "Longint", "UINT": "Cardinal", "HWND": "HWND", "HDC": "HDC", "HPALETTE": "HPALETTE", "HBITMAP": "HBITMAP",
    "RGBQUAD": "TRGBQuad", "RECT": "TRect", "BITMAPINFOHEADER": "TBitmapInfoHeader",
}  # fmt: skip
POINTERS = {"void": "Pointer", "char": "PAnsiChar", "WCHAR": "PWideChar", "HPALETTE": "POrnPalette"}


def type_name(type_):
    name = SIMPLE.get(type_.base) or "T" + type_.base
    if type_.pointers:
        name = POINTERS.get(type_.base) or "P" + name.removeprefix("T")
    return "P" + name if type_.pointers == 2 else name


def variable(one, in_record):
    name = one.name + "_" if one.name.lower() in RESERVED else one.name
    if not one.type.count:
        return f"{name}: {type_name(one.type)}"
    if in_record:
        return f"{name}: array [0..{one.type.count - 1}] of {type_name(one.type)}"
    return f"{name}: P{type_name(one.type)}"


def parameters(function):
    return "(" + "; ".join(variable(one, False) for one in function.parameters) + ")" if function.parameters else ""


def routine(name, function):
    if function.result.base == "void" and not function.result.pointers:
        return f"procedure{name}{parameters(function)}"
    return f"function{name}{parameters(function)}: {type_name(function.result)}"


def declaration(one):
    match one:
        case Section():
            return f"\n{{ ---- {one.title} ---- }}\n"
        case Constant():
            value = f"'{one.value}'" if isinstance(one.value, str) else one.value
            return f"const {one.name} = {value};" + (f" {{ {one.comment} }}" if one.comment else "")
        case BitShift():
            return f"function {one.name}({one.parameter}: Cardinal): Cardinal;"
        case Callback():
            return f"type T{one.name} = {routine('', one)}; cdecl;"
        case Record():
            fields = "".join(f"  {variable(each, True)};\n" for each in one.fields)
            return f"type T{one.name} = record\n{fields}end;\ntype P{one.name} = ^T{one.name};"
        case Function():
            return f"{routine(' ' + one.name, one)}; stdcall; external 'orn32.dll';"
    raise TypeError(one)


def write(header):
    body = "\n".join(map(declaration, header.declarations))
    functions = "".join(
        f"\nfunction {one.name}({one.parameter}: Cardinal): Cardinal;\nbegin\n"
        f"  {one.name} := {one.parameter} shl {one.bits};\nend;\n"
        for one in header.of(BitShift)
    )
    return f"""{{ orn32 for Delphi and Free Pascal, 32-bit Windows. Made from orn32.h, which describes everything. }}
unit orn32;

{{$IFDEF FPC}}{{$MODE DELPHI}}{{$ENDIF}}
{{$ALIGN 4}}

interface

uses Windows;

type POrnPalette = ^HPALETTE;
{body}

implementation
{functions}
end.
"""
