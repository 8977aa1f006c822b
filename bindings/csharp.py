"""The C# class."""

from header import WINDOWS_RECORDS, BitShift, Callback, Constant, Function, Record, Section
from shared import is_array, points_to_more

RESERVED = {"params", "ref", "out", "in", "string", "object", "checked", "fixed", "base", "event", "class"}
SIMPLE = {
    "char": "byte", "unsigned char": "byte", "BYTE": "byte", "WCHAR": "char", "WORD": "ushort", "int": "int", "long": "int",
    "UINT": "uint", "HWND": "IntPtr", "HDC": "IntPtr", "HPALETTE": "IntPtr", "HBITMAP": "IntPtr",
}  # fmt: skip


def name_of(one):
    return "@" + one.name if one.name in RESERVED else one.name


def value_type(type_):
    if type_.pointers:
        return "IntPtr"
    return SIMPLE.get(type_.base) or type_.base


def parameter(function, one):
    type_, name = one.type, name_of(one)
    value = SIMPLE.get(type_.base) or type_.base
    if not type_.pointers and not type_.count:
        return f"{value} {name}"
    if points_to_more(function, one):
        return f"IntPtr {name}"
    if type_.pointers == 2:
        return f"out IntPtr {name}"
    if type_.base in ("char", "WCHAR") and type_.const:
        return f"[MarshalAs(UnmanagedType.{'LPStr' if type_.base == 'char' else 'LPWStr'})] string {name}"
    if type_.base in ("void", "char", "unsigned char"):
        return f"{'' if type_.const else '[Out] '}byte[] {name}"
    if type_.base == "WCHAR":
        return f"[Out, MarshalAs(UnmanagedType.LPArray, ArraySubType = UnmanagedType.U2)] char[] {name}"
    if is_array(one):
        return f"[In, Out] {value}[] {name}"
    return f"{'out' if type_.base in ('int', 'HPALETTE') else 'ref'} {value} {name}"


def result(one):
    return "void" if one.result.base == "void" and not one.result.pointers else value_type(one.result)


def record(one):
    lines = ["    [StructLayout(LayoutKind.Sequential)]", f"    public struct {one.name}", "    {"]
    for each in one.fields:
        if each.type.count:
            lines.append(f"        [MarshalAs(UnmanagedType.ByValArray, SizeConst = {each.type.count})]")
        lines.append(f"        public {value_type(each.type)}{'[]' if each.type.count else ''} {name_of(each)};")
    return "\n".join(lines + ["    }"])


def declaration(one):
    match one:
        case Section():
            return f"\n    // ---- {one.title} ----\n"
        case Constant():
            kind, value = ("string", f'"{one.value}"') if isinstance(one.value, str) else ("int", one.value)
            return f"    public const {kind} {one.name} = {value};" + (f" // {one.comment}" if one.comment else "")
        case BitShift():
            return f"    public static uint {one.name}(uint {one.parameter}) {{ return {one.parameter} << {one.bits}; }}"
        case Callback():
            parameters = ", ".join(f"{value_type(each.type)} {name_of(each)}" for each in one.parameters)
            return (
                "    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]\n"
                f"    public delegate {result(one)} {one.name}({parameters});"
            )
        case Record():
            return record(one)
        case Function():
            parameters = ", ".join(parameter(one, each) for each in one.parameters)
            return (
                '    [DllImport("orn32.dll", CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]\n'
                f"    public static extern {result(one)} {one.name}({parameters});"
            )
    raise TypeError(one)


def write(header):
    return "\n".join(
        [
            "// orn32 for C#, in 32-bit processes. Made from orn32.h, which describes everything.",
            "using System;",
            "using System.Runtime.InteropServices;",
            "",
            "public static class Orn32",
            "{",
            *map(record, WINDOWS_RECORDS),
            *map(declaration, header.declarations),
            "}",
            "",
        ]
    )
