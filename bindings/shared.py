"""What several languages must know and the C types do not tell."""

# Pointers to more than their type says, or kept by the library after the call: languages that hand over copies
# of values must hand over an address instead.
_ADDRESSES = {("setupimgdes", "header"), ("setgifcomment", "text")}

# Pointers to the first of several elements.
_ARRAYS = {"redtab", "greentab", "bluetab", "frames"}


def points_to_more(function, parameter):
    return (function.name, parameter.name) in _ADDRESSES


def is_array(parameter):
    return parameter.name in _ARRAYS or parameter.type.base == "RGBQUAD" or parameter.type.count > 0


def check(header):
    """The tables name what is in the header."""
    from header import Function

    found = {(function.name, each.name) for function in header.of(Function) for each in function.parameters}
    missing = (_ADDRESSES - found) | (_ARRAYS - {name for _, name in found})
    if missing:
        raise SystemExit(f"not in orn32.h: {missing}")
