#!/usr/bin/env python3
"""Packs a folder so that the same files give the same bytes: zip.py FOLDER ARCHIVE SECONDS_SINCE_1970"""

import pathlib
import sys
import time
import zipfile


def pack(folder, archive, seconds):
    moment = time.gmtime(max(seconds, 315532800))[:6]  # archives know no time before 1980
    with zipfile.ZipFile(archive, "w", zipfile.ZIP_DEFLATED, compresslevel=9) as target:
        for path in sorted(one for one in folder.rglob("*") if one.is_file()):
            entry = zipfile.ZipInfo(path.relative_to(folder.parent).as_posix(), moment)
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.create_system = 0  # Windows: no rights of files, which differ from one machine to the next
            target.writestr(entry, path.read_bytes())


if __name__ == "__main__":
    if len(sys.argv) != 4:
        raise SystemExit(__doc__)
    pack(pathlib.Path(sys.argv[1]), sys.argv[2], int(sys.argv[3]))
