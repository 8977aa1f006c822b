"""The Python module."""

from header import WINDOWS_RECORDS, BitShift, Callback, Constant, Function, Record, Section

SIMPLE = {
    "char": "c_char", "unsigned char": "c_ubyte", "BYTE": "c_ubyte", "WCHAR": "c_wchar", "WORD": "c_uint16",
    "int": "c_int32", "long": "c_int32", "UINT": "c_uint32", "HWND": "c_void_p", "HDC": "c_void_p",
    "HPALETTE": "c_void_p", "HBITMAP": "c_void_p",
}  # fmt: skip


def type_name(type_, array=False):
    if type_.base == "void":
        return ["None", "c_void_p", "POINTER(c_void_p)"][type_.pointers]
    if type_.pointers and type_.base in ("char", "WCHAR"):
        return "c_char_p" if type_.base == "char" else "c_wchar_p"
    name = SIMPLE.get(type_.base) or type_.base
    if type_.pointers:
        return f"POINTER({name})"
    if type_.count:
        return f"{name} * {type_.count}" if array else f"POINTER({name})"
    return name


def parameter_type(type_):
    if type_.pointers and type_.base == "unsigned char":
        return "c_void_p"  # takes bytes as well as arrays
    return type_name(type_)


def types(parameters):
    return "".join(", " + parameter_type(one.type) for one in parameters)


def declaration(one):
    match one:
        case Section():
            return f"\n# ---- {one.title} ----\n"
        case Constant():
            return f"{one.name} = {one.value!r}" + (f"  # {one.comment}" if one.comment else "")
        case BitShift():
            return f"\ndef {one.name}({one.parameter}):\n    return {one.parameter} << {one.bits}\n"
        case Callback():
            return f"{one.name} = CFUNCTYPE({type_name(one.result)}{types(one.parameters)})"
        case Record():
            fields = "".join(f'        ("{each.name}", {type_name(each.type, True)}),\n' for each in one.fields)
            return f"\nclass {one.name}(Structure):\n    _fields_ = [\n{fields}    ]\n"
        case Function():
            names = ", ".join(each.name for each in one.parameters)
            return f'_declare("{one.name}", "{names}", {type_name(one.result)}{types(one.parameters)})'
    raise TypeError(one)


def write(header):
    body = "\n".join(map(declaration, WINDOWS_RECORDS + header.declarations))
    return f'''"""orn32 for Python, in 32-bit processes. Made from orn32.h, which describes everything.

    import orn32
    orn32.load()  # or with the path of orn32.dll
    image = orn32.imgdes()
    orn32.loadbmpW("in.bmp", image)  # records are passed as they are

Names ending in W take str, the others and all comments bytes.
"""

from ctypes import (
    CFUNCTYPE, POINTER, Structure, c_char, c_char_p, c_int32, c_ubyte, c_uint16, c_uint32, c_void_p, c_wchar, c_wchar_p,
)

# Name: names of the parameters, type of the result, types of the parameters.
FUNCTIONS = {{}}


def _declare(name, parameters, result, *types):
    FUNCTIONS[name] = (tuple(parameters.split(", ")) if parameters else (), result, types)


def load(path="orn32.dll"):
    """Loads the DLL; its functions are attributes of this module from then on."""
    from ctypes import WinDLL

    dll = WinDLL(path)
    for name, (_, result, types) in FUNCTIONS.items():
        function = getattr(dll, name)
        function.restype = result
        function.argtypes = types
        globals()[name] = function

{body}
'''
