#!/usr/bin/env bash
# The frames of animations, as the viewer puts them together, are those that ImageMagick gets.
# Usage: frames_test.sh VIEWER_FRAMES.EXE CORPUS [EMULATOR]; ends with 77, skipped, where ImageMagick is absent.
# shellcheck source-path=SCRIPTDIR source=../examples/support.sh
source "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/../examples/support.sh"

magick=$(imagemagick) || {
    echo 'Skipped: ImageMagick is not installed.'
    exit 77
}

# Shapes of 30 x 20 on a screen of 60 x 40, all with holes, one after each way to make room for the next.
shape() { # COLOUR SHAPE PLACE DISPOSAL: leaves the words that make it in $words
    words+=(\( -size 30x20 xc:none -fill "$1" -draw "$2" -repage "60x40$3" -set dispose "$4" \))
}
words=(+antialias \( -size 60x40 xc:none -fill orange -draw 'rectangle 5,5 54,34' -set dispose none \))
shape red 'circle 15,10 15,2' +10+8 previous
shape blue 'circle 15,10 15,2' +25+15 background
shape green 'line 0,0 29,19' +0+20 previous
shape black 'line 0,0 29,19' +30+0 none
shape white 'rectangle 2,2 8,8' +20+10 none
"$magick" "${words[@]}" disposals.gif

for gif in disposals.gif "$corpus"/gif/{animated-red-blue,muybridge}.gif; do
    [[ -e $gif ]] || continue
    rm -rf have want
    mkdir have want
    run "$gif" have
    [[ $status == 0 ]] || fail "$gif: status $status, $complaints"
    "$magick" "$gif" -coalesce -background '#808080' -alpha remove -alpha off "want/%d.bmp"
    diff <(ls have) <(ls want) || fail "$gif: other frames (<) than there are (>)"
    for frame in want/*; do
        checks=$((checks + 1))
        different=$("$magick" "$frame" "have/${frame#want/}" -metric AE -compare -format '%[distortion]' info: 2>&1)
        [[ $different == 0 ]] || fail "$gif: frame ${frame#want/} differs in $different pixels"
    done
done

echo "$checks checks, $failures failures"
((failures == 0))
