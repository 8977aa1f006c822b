#!/usr/bin/env bash
# Runs the converter over PNG files as a user does, and has its files judged by pngcheck and ImageMagick.
# Usage: ornconvert_png_test.sh ORNCONVERT.EXE CORPUS [EMULATOR]
source "$(dirname "$0")/support.sh"

if ! [[ -d $corpus/png ]]; then
    echo "skipped: the picture corpus is not at hand ($corpus)"
    finish
fi
judge=$(imagemagick)
checker=$(command -v pngcheck) || echo 'skipped: checking our files needs pngcheck (package pngcheck)'

# The upper bytes of a file's red, green and blue, alpha dropped, as ImageMagick has them. Numbers in a file are
# taken as they are, whatever gamma it claims for them.
pixels() { "$judge" "$1" -alpha off -set colorspace sRGB -depth 16 -endian MSB rgb:- | od -An -v -tx1 -w2 | cut -c2-3; }

# same_pixels IN OUT
same_pixels() {
    [[ -n $judge ]] || return 0
    checks=$((checks + 1))
    pixels "$1" >in.txt
    [[ -s in.txt ]] && cmp -s in.txt <(pixels "$2") || fail "$2 has other pixels than $1"
}

# sound FILE WORDS...: pngcheck finds no fault, and says all the words.
sound() {
    [[ -n $checker ]] || return 0
    checks=$((checks + 1))
    output=$("$checker" -v "$1") || fail "$1 is not sound: $(tail -n 2 <<<"$output")"
    shift
    prints "$@"
}

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
rm -r bitmaps pictures
for file in "$corpus"/png/x*.png; do refuses 1 "${file##*/}: " "$file" refused.bmp; done

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
(($(stat -c%s shape.png) < $(stat -c%s none.png))) || fail 'the best filters do not make a smaller file than none'
succeeds resolution.png again.png
sound again.png '3000x4000 pixels/meter'
for file in "$corpus"/photo/bricks*.bmp; do
    succeeds "$file" bricks.png
    sound bricks.png
    same_pixels "$file" bricks.png
done

# ---- What is known about a file ---------------------------------------------------------------------------------

run --info --png-comment Title --png-comment Nothing "$corpus/png/ct1n0g04.png" "$corpus/png/tbbn3p08.png" resolution.png
prints 'grey, 4 bits per sample' 'Title        PngSuite' 'Nothing      (none)' 'palette entry 0' 'palette entry 245' \
    '3000 x 4000 pixels per metre (76 x 102 per inch)' 'interlaced   yes'

# ---- What cannot be done ----------------------------------------------------------------------------------------

head -c 5000 shape.png >cut.png
refuses_all <<END
1|a checksum is wrong|$corpus/png/xcsn0g01.png refused.bmp
1|too little or too much pixel data|$corpus/png/xdtn0g01.png refused.bmp
2|--filter: 'best' is none of|--filter best $photo x.png
2|--resolution: X and Y are 1 or more|--resolution 0,1 $photo x.png
2|--resolution: UNIT is 0 (none) or 1 (metre)|--resolution 1,1,2 $photo x.png
1|cut.png: the PNG file is damaged or of a kind that is not handled (ERR_PNG, -63): the file ends early|cut.png x.bmp
END
disk_full "$photo" full.png
finish
