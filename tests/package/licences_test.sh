#!/usr/bin/env bash
# The page on licences names the archives that code was linked from, no more and no fewer.
# Usage: licences_test.sh LICENCES_PAGE FOLDER_OF_THE_LINKER'S_MAPS
set -euo pipefail
page=$1
maps=("$2"/{orn32,ornconvert,ornview}.map)

# A map begins with the archives' members that were linked: "/some/where/libz.a(inflate.o)". Our own archives are named by
# paths within the build.
linked=$(for map in "${maps[@]}"; do sed '/^Memory Configuration/,$d' "$map"; done |
    sed -n 's|^/.*/\(lib[^/]*\.a\)(.*|\1|p' | sort -u)
named=$(grep -o '`lib[^`]*\.a`' "$page" | tr -d '`' | sort -u)
[[ $(wc -l <<<"$linked") -gt 5 ]] || {
    echo "FAILED: the maps name no archives"
    exit 1
}
diff <(echo "$named") <(echo "$linked") || {
    echo "FAILED: $page names other archives (<) than are linked in (>)"
    exit 1
}
