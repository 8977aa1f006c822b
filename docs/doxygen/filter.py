#!/usr/bin/env python3
"""Turns the header's comments into those that Doxygen reads: filter.py HEADER

Sections become groups; a comment above several declarations is given to each of them; indented lines that begin
with names of parameters, and sentences that begin with "Returns", become what Doxygen calls by these names.
"""

import re
import sys

COMMENT = r"/\*(?:(?!\*/).)*\*/"
DECLARATION = r"(?:[A-Za-z][\w ]*?\**) ?\bORNAPI \w+\([^()]*\);\n"
CONSTANT = r"#define \w+(?:\(\w+\))? [^\n]+\n"


def body(comment):
    """The text of a comment, without its marks."""
    return re.sub(r"^ ?\* ?", "", comment[2:-2].strip("\n"), flags=re.MULTILINE)


def marked(text, parameters):
    """The text with Doxygen's marks, for a function of these parameters."""
    lines = []
    in_parameters = False
    for line in text.split("\n"):
        match = re.match(r"  ((?:\w+, )*\w+)  +(\S.*)", line)
        names = match[1].split(", ") if match else []
        if names and set(names) <= parameters:
            line = f"@param {','.join(names)} {match[2]}"
            in_parameters = True
        elif in_parameters and not line.startswith(" "):
            lines.append("")  # or the text would belong to the parameter
            in_parameters = False
        lines.append(re.sub(r"^Returns? ", "@return ", line))
    text = "\n".join(lines)
    text = re.sub(r"(?<=[.;)]) Returns? (?=0|the |like |what )", "\n@return ", text)
    return re.sub(r"(?<!#)\bERR_(?=[A-Z])", "#ERR_", text)


def documented(match):
    text = body(match[1])
    result = [re.sub(r"\n", " /**< see below */\n", match[2])]  # constants that the comment describes
    for declaration in re.findall(DECLARATION, match[3]):
        parameters = set(re.findall(r"(\w+)(?:\[\d+\])?[,)]", declaration))
        result.append(f"/** {marked(text, parameters)} */\n{declaration}")
    return "".join(result)


def group(title):
    return re.sub(r"\W+", "_", title).lower()


def sections(text):
    """Sections become groups; a comment that stands by itself becomes a part of its group's description."""
    first, *parts = re.split(r"^/\* ---- (.+?) -+ \*/\n", text, flags=re.MULTILINE)
    result = [first]
    for title, part in zip(parts[::2], parts[1::2]):
        part = re.sub(rf"^({COMMENT})\n(?=\n)", lambda match: "/** @} */\n/** @addtogroup " + f"{group(title)}\n{marked(body(match[1]), set())}\n * @{{ */\n", part,
                      flags=re.DOTALL | re.MULTILINE)  # fmt: skip
        result.append(f"/** @defgroup {group(title)} {title}\n * @{{ */\n{part}/** @}} */\n")
    return "".join(result)


def convert(text):
    opening = re.search(COMMENT, text, re.DOTALL)[0]
    text, end = text.replace(opening, "", 1).split("#ifdef __cplusplus\n}")
    text = sections(text)
    text = re.sub(rf"^({COMMENT})\n((?:{CONSTANT})*)((?:{DECLARATION})+)", documented, text, flags=re.DOTALL | re.MULTILINE)
    text = re.sub(r"([;\d)\"]) +/\* ", r"\1 /**< ", text)  # behind a field or a constant
    text = re.sub(r"^(    \w[^;()]*;|typedef [^;{]*;)$", r"\1 /**< &nbsp; */", text, flags=re.MULTILINE)  # the name says all
    text = re.sub(r"^/\*(?=[ \n])", "/**", text, flags=re.MULTILINE)
    return f"/** @file */\n/** @mainpage orn32\n{body(opening)} */\n{text}#ifdef __cplusplus\n}}{end}"


if __name__ == "__main__":
    with open(sys.argv[1], encoding="ascii") as file:
        sys.stdout.write(convert(file.read()))
