#!/usr/bin/env bash
# The page on licences names the archives that code was linked from, no more and no fewer.
# Usage: licences_test.sh LICENCES_PAGE FOLDER_OF_THE_LINKER'S_MAPS
set -euo pipefail
page=$1
maps=("$2"/{orn32,ornconvert,ornview}.map)

# A map begins with the archives' members that were linked: "/some/where/libz.a(inflate.o)". Our own are no such.
# The import library of the DLL itself is ours too, by another name.
linked=$(for map in "${maps[@]}"; do sed '/^Memory Configuration/,$d' "$map"; done |
    sed -n 's|^\(.*/\)\?\(lib[^/]*\.a\)(.*|\2|p' | sed '/^libpicture_files\.a$/d; /^liborn32\.dll\.a$/d' | sort -u)
named=$(grep -o '`lib[^`]*\.a`' "$page" | tr -d '`' | sort -u)
[[ $(wc -l <<<"$linked") -gt 5 ]] || {
    echo "FAILED: the maps name no archives"
    exit 1
}
diff <(echo "$named") <(echo "$linked") || {
    echo "FAILED: $page names other archives (<) than are linked in (>)"
    exit 1
}
