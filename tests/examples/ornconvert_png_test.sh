#!/usr/bin/env bash
# Runs the converter over PNG files as a user does, and has its files judged by pngcheck and ImageMagick.
# Usage: ornconvert_png_test.sh ORNCONVERT.EXE CORPUS [EMULATOR]
source "$(dirname "$0")/support.sh"

# refuses STATUS WORDS OUT ARGUMENTS...: that status, those words, and OUT is not there.
refuses() {
    local want=$1 words=$2 out=$3
    shift 3
    run "$@"
    [[ $status == "$want" && $complaints == *"$words"* ]] ||
        fail "$* gives status $status and says '$complaints', not $want and '$words'"
    [[ ! -e $out && -z $(find . -name '*.tmp') ]] || fail "$* has left a file"
}

judge=$(imagemagick) || echo 'skipped: comparing pixels needs ImageMagick (package imagemagick)'
checker=$(command -v pngcheck) || echo 'skipped: checking our files needs pngcheck (package pngcheck)'

# The upper bytes of a file's red, green and blue, alpha dropped, as ImageMagick has them. Numbers in a file are
# taken as they are, whatever gamma it claims for them.
pixels() { "$judge" "$1" -alpha off -set colorspace sRGB -depth 16 -endian MSB rgb:- | od -An -v -tx1 -w2 | cut -c2-3; }

# same_pixels IN OUT
same_pixels() {
    [[ -n $judge ]] || return 0
    checks=$((checks + 1))
    pixels "$1" >in.txt
    pixels "$2" >out.txt
    [[ -s in.txt ]] && cmp -s in.txt out.txt || fail "$2 has other pixels than $1"
}

# sound FILE WORDS...: pngcheck finds no fault, and says all the words.
sound() {
    local file=$1 words report
    [[ -n $checker ]] || return 0
    checks=$((checks + 1))
    shift
    report=$("$checker" -v "$file") || fail "$file is not sound: $(tail -n 2 <<<"$report")"
    for words; do
        [[ $report == *"$words"* ]] || fail "'$words' is missing in: $(head -n 4 <<<"$report")"
    done
}

if ! [[ -d $corpus/png ]]; then
    echo "skipped: the picture corpus is not at hand ($corpus)"
    exit 0
fi

# filters_of FILE: the filters of its rows, each once.
filters_of() { "$checker" -vv "$1" | sed -n 's/^ *\([0-4 ]*\)(.* out of .*/\1/p' | tr -s ' ' '\n' | sort -u | tr -d '\n'; }

# ---- PngSuite: every sound file becomes the same BMP and the same PNG; every damaged one is refused -------------

sound_files=("$corpus"/png/[!x]*.png)
((${#sound_files[@]} == 161)) || fail "${#sound_files[@]} sound files in the corpus, not 161"
succeeds --to bmp "${sound_files[@]}" bitmaps
succeeds --interlace "${sound_files[@]}" pictures
for file in "${sound_files[@]}"; do
    name=${file##*/}
    same_pixels "$file" "bitmaps/${name%.png}.bmp"
    same_pixels "bitmaps/${name%.png}.bmp" "pictures/$name"
    sound "pictures/$name"
done
for file in "$corpus"/png/x*.png; do
    refuses 1 "${file##*/}: " refused.bmp "$file" refused.bmp
done
refuses 1 'a checksum is wrong' refused.bmp "$corpus/png/xcsn0g01.png" refused.bmp
refuses 1 'too little or too much pixel data' refused.bmp "$corpus/png/xdtn0g01.png" refused.bmp

# ---- Photographs, with every option -----------------------------------------------------------------------------

photo=$corpus/photo/hibiscus.regular.bmp
number=0
for filter in none sub up average paeth; do
    succeeds --filter $filter "$photo" $filter.png
    sound $filter.png 'non-interlaced' '2834x2834 pixels/meter'
    [[ -z $checker || $(filters_of $filter.png) == "$number" ]] || fail "$filter.png has rows of filters $(filters_of $filter.png)"
    same_pixels "$photo" $filter.png
    number=$((number + 1))
done
succeeds --interlace --resolution 3000,4000 "$photo" resolution.png
sound resolution.png ', interlaced' '3000x4000 pixels/meter'
same_pixels "$photo" resolution.png
succeeds --filter adaptive --resolution 2,1,0 "$photo" shape.png
sound shape.png '2x1 pixels/unit'
succeeds resolution.png again.png
sound again.png '3000x4000 pixels/meter'
for file in "$corpus"/photo/bricks*.bmp; do
    succeeds "$file" bricks.png
    sound bricks.png
    same_pixels "$file" bricks.png
done
succeeds --area 20,30,119,79 "$photo" part.png
[[ -z $judge ]] || "$judge" "$photo" -crop 100x50+20+30 +repage cropped.bmp
same_pixels cropped.bmp part.png
[[ $(stat -c%s shape.png) -lt $(stat -c%s none.png) ]] || fail 'the best filters do not make a smaller file than none'

# ---- What is known about a file ---------------------------------------------------------------------------------

run --info --png-comment Title --png-comment Nothing "$corpus/png/ct1n0g04.png"
prints 'grey, 4 bits per sample'
prints 'Title        PngSuite'
prints 'Nothing      (none)'
run --info resolution.png
prints '3000 x 4000 pixels per metre (76 x 102 per inch)'
prints 'interlaced   yes'
run --info "$corpus/png/tbbn3p08.png"
prints 'palette entry 0'
prints 'palette entry 245'

# ---- What cannot be done ----------------------------------------------------------------------------------------

refuses 2 "--filter: 'best' is none of" x.png --filter best "$photo" x.png
refuses 2 '--resolution: X and Y are 1 or more' x.png --resolution 0,1 "$photo" x.png
refuses 2 '--resolution: UNIT is 0 (none) or 1 (metre)' x.png --resolution 1,1,2 "$photo" x.png
head -c 5000 shape.png >cut.png
refuses 1 'cut.png: the PNG file is damaged or of a kind that is not handled (ERR_PNG, -63): the file ends early' x.bmp \
    cut.png x.bmp
if [[ -n $emulator ]]; then
    # A limit on the size of files stands for a full disk.
    trap '' XFSZ
    large=$(ulimit -f 16; refuses 1 'not all of it could be written' full.png "$photo" full.png)
    trap - XFSZ
    [[ -z $large ]] || fail "a full disk: $large"
fi

echo "$checks checks, $failures failures"
exit $((failures > 0))
