#!/usr/bin/env bash
# The pages in docs say what is so: their pictures are there and come out of the calls beside them.
# Usage: pictures_test.sh DOCS PROGRAMS [EMULATOR]
set -uo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/../../scripts/quiet_wine.sh"

docs=$1
programs=$2
emulator=${3:-}
scratch=$(mktemp -d "${TMPDIR:-/tmp}/docs test.XXXXXX")
trap 'rm -rf "$scratch"' EXIT

failures=0
fail() {
    echo "FAILED: $*"
    failures=$((failures + 1))
}
convert() { $emulator "$programs/ornconvert.exe" "$@" </dev/null | tr -d '\r'; }

# Files made by another version of the compression library may differ, their pixels may not.
same_picture() {
    cmp -s "$1" "$2" && return
    convert "$1" "$scratch/1.bmp" && convert "$2" "$scratch/2.bmp" && cmp "$scratch/1.bmp" "$scratch/2.bmp"
}

# ---- What the pages name is there, and no picture that none names ----

grep -oh ']([^)]*\.png)' "$docs"/*.md | sed 's|](||; s|)||' | sort -u >"$scratch/named"
(cd "$docs" && printf '%s\n' */*.png) | sort >"$scratch/there"
diff "$scratch/named" "$scratch/there" || fail 'the pages name other pictures (<) than there are (>)'

# ---- The calls ----

# The tables have a row of pictures, and below it a row of calls: "8: `call`" for MAKE("picture", 8, call).
awk -F ' *[|] *' '
    /pictures\// { for (i = 2; i < NF; i++) { picture[i] = $i; gsub(/.*\/|\.png\)/, "", picture[i]) } }
    /[0-9]: `/ { for (i = 2; i < NF; i++) if ($i != "") {
        split($i, part, /: `|`/)
        printf "MAKE(\"%s\", %s, %s);\n", picture[i], part[1], part[2] } }' "$docs/operations.md" >"$scratch/calls"
calls=$(wc -l <"$scratch/calls")
((calls > 20)) || fail "only $calls calls of functions are in the page"
while IFS= read -r call; do
    grep -qF "$call" "$docs/operations.c" || fail "operations.c has no $call"
done <"$scratch/calls"

# ---- Making the pictures again ----

"$docs/make-pictures" "$scratch/made" "$programs" "$emulator" || {
    echo 'FAILED: the pictures cannot be made'
    exit 1
}
while IFS= read -r picture; do
    same_picture "$docs/$picture" "$scratch/made/${picture#*/}" || fail "$picture has other pixels when made again"
done < <(grep '^pictures/' "$scratch/there")

# ---- The counts in the page ----

convert --histogram "$docs/pictures/original.png" "$scratch/copy.png" | sort >"$scratch/counts"
sed -n 's/^    \(  *[0-9][0-9 ]*\)$/\1/p' "$docs/operations.md" | sort >"$scratch/quoted"
[[ -s $scratch/quoted && -z $(comm -23 "$scratch/quoted" "$scratch/counts") ]] ||
    fail "the page quotes other counts than are printed: $(comm -23 "$scratch/quoted" "$scratch/counts")"

((failures == 0)) && echo "$calls calls, $(wc -l <"$scratch/there") pictures"
exit $((failures != 0))
