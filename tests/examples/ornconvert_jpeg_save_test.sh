#!/usr/bin/env bash
# Has the converter write JPEG files as a user does, and has them judged by cjpeg, djpeg and ImageMagick.
# Usage: ornconvert_jpeg_save_test.sh ORNCONVERT.EXE CORPUS [EMULATOR]
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


if ! [[ -d $corpus/photo ]]; then
    echo "skipped: the picture corpus is not at hand ($corpus)"
    exit 0
fi
if ! command -v djpeg >/dev/null || ! command -v cjpeg >/dev/null; then
    echo 'skipped: judging our files needs djpeg and cjpeg (package libjpeg-turbo-progs)'
    exit 0
fi
judge=$(imagemagick) || echo 'skipped: comparing pixels needs ImageMagick (package imagemagick)'

colour=$corpus/photo/hibiscus.regular.bmp
grey=$corpus/photo/bricks-gray.bmp
palette=$corpus/photo/bricks-nodither.bmp

# ---- The same bytes as cjpeg behind the JFIF segment, for pictures of whole MCUs --------------------------------
# (For others the edges are repeated in another way; at quality 1 values of the tables are limited in another way.)

# like_cjpeg BMP OUR-OPTION ITS-OPTION
like_cjpeg() {
    local quality
    for quality in 2 25 75 100; do
        succeeds --quality $quality $2 "$1" ours.jpg
        cjpeg -dct int -quality $quality $3 "$1" >theirs.jpg 2>/dev/null
        cmp -s <(tail -c +21 ours.jpg) <(tail -c +21 theirs.jpg) || fail "$1 $2 at quality $quality differs from cjpeg"
    done
}

succeeds --area 20,30,307,269 "$colour" colour.bmp
succeeds --area 7,8,134,119 "$grey" grey.bmp
for picture in colour.bmp grey.bmp; do
    like_cjpeg $picture '' ''
    like_cjpeg $picture --optimize -optimize
    like_cjpeg $picture --progressive -progressive
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
    [[ $("$judge" "$1" -format '%m %wx%h' info:) == "JPEG $("$judge" "$2" -format '%wx%h' info:)" ]] ||
        fail "ImageMagick does not read $1"
}

for area in 0,0,0,0 5,5,5,60 3,7,49,7 10,20,26,36 1,2,100,90 0,0,110,63; do
    for input in "$colour" "$grey" "$palette"; do
        for option in '' --optimize --progressive; do
            succeeds --area $area "$input" area.bmp
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
    local file=$1 words report
    checks=$((checks + 1))
    shift
    report=$(djpeg -verbose -verbose -outfile theirs.pnm "$file" 2>&1)
    for words; do
        [[ $report == *"$words"* ]] || fail "'$words' is missing in: $report"
    done
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

refuses 2 '--quality: N is 1 to 100, not 0' x.jpg --quality 0 "$colour" x.jpg
refuses 2 '--quality: N is 1 to 100, not 101' x.jpg --quality 101 "$colour" x.jpg
refuses 2 '--thumbnail: SIZE is 1 to 255, not 256' x.jpg --thumbnail=256 "$colour" x.jpg
refuses 2 '--resolution: X and Y are 1 to 65535' x.jpg --resolution 0,1 "$colour" x.jpg
refuses 2 '--resolution: UNITS is 0 (none), 1 (inch) or 2 (cm)' x.jpg --resolution 1,1,3 "$colour" x.jpg
refuses 1 'ERR_THUMB_SIZE' x.jpg --thumbnail=255 "$colour" x.jpg
if [[ -n $emulator ]]; then
    # A limit on the size of files stands for a full disk.
    trap '' XFSZ
    large=$(ulimit -f 16; refuses 1 'not all of it could be written' full.jpg --quality 100 "$colour" full.jpg)
    trap - XFSZ
    [[ -z $large ]] || fail "a full disk: $large"
fi

echo "$checks checks, $failures failures"
exit $((failures > 0))
