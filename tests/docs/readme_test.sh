#!/usr/bin/env bash
# A new user's first quarter of an hour: the README's program, built by the README's own command in a folder laid out
# like the package, run on pictures of several sizes and kinds, its files judged by programs that are not ours.
# Usage: readme_test.sh SOURCES LIBRARIES PROGRAMS [EMULATOR]
# SOURCES has README.md, include and docs; LIBRARIES and PROGRAMS are folders with the import library and the DLL.
set -uo pipefail

sources=$(realpath "$1")
libraries=$(realpath "$2")
programs=$(realpath "$3")
emulator=${4:-}
scratch=$(mktemp -d "${TMPDIR:-/tmp}/readme test.XXXXXX")
trap 'rm -rf "$scratch"' EXIT
cd "$scratch" || exit 1

failures=0
fail() {
    echo "FAILED: $*"
    failures=$((failures + 1))
}
run() { $emulator "$@" </dev/null >/dev/null 2>&1; }
# want WHAT HAVE WANT
want() { [[ $2 == "$3" ]] || fail "$1: have '$2', want '$3'"; }

mkdir include lib bin
cp "$sources/include/orn32.h" include
cp "$libraries/liborn32.dll.a" lib
cp "$programs/orn32.dll" "$programs/ornconvert.exe" bin
awk '/^```c$/ { on = 1; next } /^```$/ { exit } on' "$sources/README.md" >halve.c
command=$(sed -n 's/^    \(i686-w64-mingw32-gcc halve\.c .*\)/\1/p' "$sources/README.md")
read -ra words <<<"$command"
"${words[@]}" -O2 -Wall -Wextra -Werror || {
    echo "FAILED: the README's program cannot be built by: $command"
    exit 1
}

# halves NAME WIDTH HEIGHT MOST_COLOURS FEWEST_COLOURS OPTION...: in.jpg is made by the converter with the options.
halves() {
    local name=$1 width=$2 height=$3 most=$4 fewest=$5
    shift 5
    rm -f in.jpg out.gif
    run bin/ornconvert.exe "$@" "$sources/docs/pictures/original.png" in.jpg
    run bin/halve.exe
    want "$name: it ends with" $? 0
    [[ -e out.gif ]] || {
        fail "$name: there is no out.gif"
        return
    }
    if command -v identify >/dev/null && command -v compare >/dev/null; then
        local format w h colours likeness
        read -r format w h colours < <(identify -format '%m %w %h %k' out.gif)
        want "$name: identify" "$format $w $h" "GIF $width $height"
        ((colours <= most && colours >= fewest)) || fail "$name: $colours colours, not $fewest to $most"
        likeness=$(compare -metric PSNR in.jpg out.gif null: 2>&1)
        ((${likeness%%.*} >= 28)) || fail "$name: the picture has become another one, $likeness dB"
        judged=yes
    fi
    if command -v giftext >/dev/null; then
        giftext out.gif >text || fail "$name: giftext does not read it"
        grep -q "Width = $width, Height = $height" text || fail "$name: giftext tells another size"
        grep -q 'GIF file terminated normally' text || fail "$name: giftext finds no end"
        judged=yes
    fi
}
judged=

halves 'a photograph' 256 192 128 100
halves 'a grey one' 256 192 128 16 --gray
halves 'one of odd size' 61 37 128 50 --area 100,70,160,106
halves 'a progressive one' 256 192 128 100 --progressive
[[ -n $judged ]] || echo 'without ImageMagick and giftext nobody has judged the files'

# Of a result code, the eight bits that a shell is told.
rm -f in.jpg out.gif
run bin/halve.exe
want 'without a picture it ends with' $? $((-4 & 255))
printf 'not a JPEG at all, but a hundred bytes and more of something else, so that there is something to be read\n' >in.jpg
run bin/halve.exe
want 'with a text it ends with' $? $((-43 & 255))
[[ ! -e out.gif ]] || fail 'there is an out.gif of nothing'

exit $((failures != 0))
