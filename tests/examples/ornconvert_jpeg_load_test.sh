#!/usr/bin/env bash
# Has the converter read JPEG files as a user does, and compares what it makes of them with djpeg.
# Usage: ornconvert_jpeg_load_test.sh ORNCONVERT.EXE CORPUS [EMULATOR]
source "$(dirname "$0")/support.sh"

# The pixels of a BMP file of ours, red, green and blue or grey, rows from the top: as djpeg writes them behind its
# header. Rows are padded to four bytes and come from the bottom.
bmp_pixels() {
    perl -e '
        local $/; open F, "<:raw", $ARGV[0] or die; my $b = <F>;
        my ($at, $w, $h, $bits) = (unpack("V", substr $b, 10, 4), unpack("VVxxv", substr $b, 18, 12));
        my $n = $bits / 8; my $step = int(($w * $n + 3) / 4) * 4;
        binmode STDOUT;
        for my $y (reverse 0 .. $h - 1) {
            my $row = substr $b, $at + $y * $step, $w * $n;
            $row =~ s/(.)(.)(.)/$3$2$1/gs if $n == 3;
            print $row;
        }' "$1"
}

# The largest and the smallest difference of bytes between two files of the same size, "1 0" being exact but for
# colours that djpeg rounds down where they are negative.
differences() {
    cmp -l "$1" "$2" | perl -ne '
        my (undef, $a, $b) = split; my $d = oct($a) - oct($b); $most = $d if $d > $most; $least = $d if $d < $least;
        END { print $most + 0, " ", $least + 0 }'
}

# like_djpeg FILE: converts it, and the pixels may differ by that rounding only; grey ones not at all.
like_djpeg() {
    local file=$1 most
    succeeds "$file" ours.bmp
    djpeg -dct int -nosmooth -pnm "$file" >theirs.pnm
    most=$(head -c 2 theirs.pnm)
    bmp_pixels ours.bmp >ours.raw
    tail -c "$(stat -c %s ours.raw)" theirs.pnm >theirs.raw
    (($(stat -c %s ours.raw) < $(stat -c %s theirs.pnm))) || fail "$file: sizes differ"
    [[ $(differences ours.raw theirs.raw) == '0 0' || ($most == P6 && $(differences ours.raw theirs.raw) == '1 0') ]] ||
        fail "$file: differs from djpeg by $(differences ours.raw theirs.raw)"
    rm -f ours.* theirs.*
}

if ! command -v djpeg >/dev/null || ! command -v cjpeg >/dev/null || ! command -v perl >/dev/null; then
    echo 'skipped: comparing with djpeg needs packages libjpeg-turbo-progs and perl'
else
    perl -e 'srand 7; my ($w, $h) = (131, 77); print "P6\n$w $h\n255\n";
        for my $y (0 .. $h - 1) { for my $x (0 .. $w - 1) {
            print pack "C3", map { my $v = 128 + 90 * sin($x / 9 + $_) + 60 * cos($y * $_ / 7) + rand 30;
                                   $v < 0 ? 0 : $v > 255 ? 255 : $v } 1 .. 3 } }' >picture.ppm
    for sampling in 1x1 2x1 2x2 1x2 4x1 4x2 2x2,2x1,1x1 1x1,1x2,2x1; do
        for coding in '' '-progressive' '-restart 3B -optimize' '-quality 100' '-quality 5'; do
            # shellcheck disable=SC2086
            cjpeg -sample $sampling $coding picture.ppm >made.jpg 2>/dev/null || continue
            like_djpeg made.jpg
        done
    done
    for coding in '' '-progressive' '-restart 1'; do
        # shellcheck disable=SC2086
        cjpeg -grayscale $coding picture.ppm >grey.jpg
        like_djpeg grey.jpg
    done
    printf '%s\n' '0;' '1;' '2;' >scans.txt
    cjpeg -sample 2x2 -scans scans.txt picture.ppm >separate.jpg
    like_djpeg separate.jpg
    cjpeg -rgb picture.ppm >rgb.jpg && like_djpeg rgb.jpg

    for file in "$corpus"/jpeg/*.jpeg "$corpus"/photo/*.jpeg; do
        [[ -e $file && $file != *truncated* ]] || continue
        like_djpeg "$file"
    done

    succeeds --info made.jpg grey.jpg
    prints '131 x 77 pixels'
    prints 'baseline'
    prints '1 (grey)'
    succeeds --load-thumbnail 40x40 separate.jpg small.bmp
    succeeds --info small.bmp
    prints '40 x 23 pixels'
    succeeds --load-thumbnail 1000x1000 separate.jpg whole.bmp
    succeeds separate.jpg same.bmp
    cmp -s whole.bmp same.bmp || fail 'a picture reduced to its own size is another one'
    run --load-thumbnail 40 separate.jpg bad.bmp
    [[ $status != 0 && $complaints == *WxH* && ! -e bad.bmp ]] || fail "WxH: $complaints"

    head -c 2000 separate.jpg >cut.jpg
    run cut.jpg cut.bmp
    [[ $status == 1 && $complaints == *'as far as it goes'* ]] || fail "a cut file: $status $complaints"
    printf 'P5 9 9 255 no jpeg' >not.jpg
    run not.jpg not.bmp
    [[ $status == 1 && ! -e not.bmp ]] || fail "not a JPEG: $status $complaints"
fi

[[ -d $corpus/jpeg ]] || echo 'skipped: no corpus beside the checkout'
echo "$checks runs, $failures failures"
((failures == 0))
