#!/usr/bin/env bash
# Has the converter read JPEG files as a user does, and compares what it makes of them with djpeg.
# Usage: ornconvert_jpeg_load_test.sh ORNCONVERT.EXE CORPUS [EMULATOR]
source "$(dirname "$0")/support.sh"

if ! command -v djpeg >/dev/null || ! command -v cjpeg >/dev/null; then
    echo 'skipped: comparing with djpeg needs package libjpeg-turbo-progs'
    finish
fi

# like_djpeg FILE: grey pixels are the same, coloured ones but for colours that djpeg rounds down where they are
# negative.
like_djpeg() {
    local found
    succeeds "$1" ours.bmp
    djpeg -dct int -nosmooth -bmp "$1" | tail -c +55 >theirs.pixels
    tail -c +55 ours.bmp >ours.pixels
    found=$(differences ours.pixels theirs.pixels)
    [[ $found == '0 0' || ($found == '1 0' && $(od -An -tu2 -j28 -N2 ours.bmp) -eq 24) ]] ||
        fail "$1: differs from djpeg by $found"
}

awk 'BEGIN { srand(7); w = 131; h = 77; print "P3", w, h, 255
    for (y = 0; y < h; y++) for (x = 0; x < w; x++) for (c = 1; c <= 3; c++) {
        v = int(128 + 90 * sin(x / 9 + c) + 60 * cos(y * c / 7) + 30 * rand()); print (v < 0 ? 0 : v > 255 ? 255 : v) } }' >picture.ppm
for sampling in 1x1 2x1 2x2 1x2 4x1 4x2 2x2,2x1,1x1 1x1,1x2,2x1; do
    for coding in '' '-progressive' '-restart 3B -optimize' '-quality 100' '-quality 5'; do
        # shellcheck disable=SC2086
        cjpeg -sample $sampling $coding picture.ppm >made.jpg 2>/dev/null || continue
        like_djpeg made.jpg
    done
done
printf '%s\n' '0;' '1;' '2;' >scans.txt
for coding in '-grayscale' '-grayscale -progressive' '-grayscale -restart 1' '-rgb' '-sample 2x2 -scans scans.txt'; do
    # shellcheck disable=SC2086
    cjpeg $coding picture.ppm >made.jpg
    like_djpeg made.jpg
done
for file in "$corpus"/jpeg/*.jpeg "$corpus"/photo/*.jpeg; do
    [[ -e $file && $file != *truncated* ]] || continue
    like_djpeg "$file"
done

succeeds --info made.jpg
prints '131 x 77 pixels' 'baseline' '3 (colour)' '2x2, 1x1, 1x1'
succeeds --load-thumbnail 40x40 made.jpg small.bmp
succeeds --info small.bmp
prints '40 x 23 pixels'
succeeds --load-thumbnail 1000x1000 made.jpg whole.bmp
succeeds made.jpg same.bmp
cmp -s whole.bmp same.bmp || fail 'a picture reduced to its own size is another one'
head -c 2000 made.jpg >cut.jpg
run cut.jpg cut.bmp
[[ $status == 1 && $complaints == *'as far as it goes'* && -s cut.bmp ]] || fail "a cut file: $status $complaints"
printf '\xff\xd8\xff no jpeg' >not.jpg
refuses 2 WxH --load-thumbnail 40 made.jpg x.bmp
refuses 1 'not.jpg: ' not.jpg x.bmp
finish
