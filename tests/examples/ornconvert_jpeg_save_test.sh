#!/usr/bin/env bash
# Has the converter write JPEG files as a user does, and has them judged by cjpeg, djpeg and ImageMagick.
# Usage: ornconvert_jpeg_save_test.sh ORNCONVERT.EXE CORPUS [EMULATOR]
source "$(dirname "$0")/support.sh"

if ! [[ -d $corpus/photo ]]; then
    echo "skipped: the picture corpus is not at hand ($corpus)"
    finish
fi
if ! command -v djpeg >/dev/null || ! command -v cjpeg >/dev/null; then
    echo 'skipped: judging our files needs djpeg and cjpeg (package libjpeg-turbo-progs)'
    finish
fi
judge=$(imagemagick)
colour=$corpus/photo/hibiscus.regular.bmp
grey=$corpus/photo/bricks-gray.bmp
palette=$corpus/photo/bricks-nodither.bmp

# ---- The same bytes as cjpeg behind the JFIF segment, for pictures of whole MCUs --------------------------------
# (For others the edges are repeated in another way; at quality 1 values of the tables are limited in another way.)

succeeds --area 20,30,307,269 "$colour" colour.bmp
succeeds --area 7,8,134,119 "$grey" grey.bmp
for picture in colour.bmp grey.bmp; do
    for option in '' optimize progressive; do
        for quality in 2 25 75 100; do
            succeeds --quality $quality ${option:+--$option} $picture ours.jpg
            cjpeg -dct int -quality $quality ${option:+-$option} $picture >theirs.jpg 2>/dev/null
            cmp -s <(tail -c +21 ours.jpg) <(tail -c +21 theirs.jpg) ||
                fail "$picture $option at quality $quality differs from cjpeg"
        done
    done
done

# ---- Areas of any size: sound, of the right size, and near the original -----------------------------------------

# near FILE BMP DECIBELS: djpeg reads the file without a word, and it looks like the bitmap.
near() {
    local words psnr
    checks=$((checks + 1))
    words=$(djpeg -dct int -nosmooth -outfile theirs.pnm "$1" 2>&1) && [[ -z $words ]] || fail "djpeg says of $1: $words"
    [[ -n $judge ]] || return 0
    [[ $("$judge" theirs.pnm -format '%wx%h' info:) == $("$judge" "$2" -format '%wx%h' info:) ]] ||
        fail "$1 has another size than $2"
    psnr=$("${judge%convert}compare" -metric PSNR theirs.pnm "$2" null: 2>&1)
    [[ $psnr == inf || ${psnr%%.*} -ge $3 ]] || fail "$1 is $psnr dB from $2, not $3"
}

for area in 0,0,0,0 5,5,5,60 3,7,49,7 10,20,26,36 1,2,100,90 0,0,110,63; do
    for input in "$colour" "$grey" "$palette"; do
        succeeds --area $area "$input" area.bmp
        for option in --optimize --progressive; do
            succeeds --area $area --quality 90 $option "$input" area.jpg
            near area.jpg area.bmp 24
        done
    done
done
succeeds --quality 1 "$colour" lowest.jpg
near lowest.jpg "$colour" 13
succeeds "$colour" usual.jpg
near usual.jpg "$colour" 28
succeeds --quality 75 "$colour" given.jpg
cmp -s usual.jpg given.jpg || fail 'the usual quality is not 75'

# ---- What a file says of itself ---------------------------------------------------------------------------------

# says FILE WORDS...: djpeg's account of the headers has all of them.
says() {
    checks=$((checks + 1))
    output=$(djpeg -verbose -verbose -outfile theirs.pnm "$1" 2>&1)
    shift
    prints "$@"
}

says usual.jpg 'Start Of Frame 0xc0' 'JFIF APP0 marker: version 1.02, density 72x72  1' 'components=3'
says lowest.jpg 'Start Of Frame 0xc1'
succeeds --progressive --thumbnail --resolution 300,150 "$colour" rich.jpg
says rich.jpg 'Start Of Frame 0xc2' 'density 300x150  1' 'JFIF extension marker: RGB thumbnail image'
succeeds --thumbnail=40 --resolution 120,90,2 "$grey" rich.jpg
says rich.jpg 'density 120x90  2' 'JFIF extension marker: palette thumbnail image' 'components=1'
succeeds --resolution 2,1,0 "$palette" shape.jpg
says shape.jpg 'density 2x1  0' 'components=3'
succeeds --optimize "$colour" small.jpg
(($(stat -c %s small.jpg) < $(stat -c %s usual.jpg))) || fail 'optimised tables do not make a smaller file'

# ---- What cannot be done ----------------------------------------------------------------------------------------

refuses_all <<END
2|--quality: '0' is not a number from 1 to 100|--quality 0 $colour x.jpg
2|--quality: '101' is not a number from 1 to 100|--quality 101 $colour x.jpg
2|--thumbnail: '256' is not a number from 1 to 255|--thumbnail=256 $colour x.jpg
2|--resolution: X and Y are 1 to 65535|--resolution 0,1 $colour x.jpg
2|--resolution: UNITS is 0 (none), 1 (inch) or 2 (cm)|--resolution 1,1,3 $colour x.jpg
1|ERR_THUMB_SIZE|--thumbnail=255 $colour x.jpg
END
disk_full --quality 100 "$colour" full.jpg
finish
