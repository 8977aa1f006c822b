#!/usr/bin/env bash
# Runs the converter as a user does: what it writes, what it says, and what it leaves behind.
# Usage: ornconvert_test.sh ORNCONVERT.EXE CORPUS [EMULATOR]
# Pictures of other origin are compared with ImageMagick's reading of the same file, where both are at hand.
source "$(dirname "$0")/support.sh"

# 3 x 2 pixels, 4 x 3 pixels of 3 colours, 3 x 3 greys.
make_bmp true.bmp 3 2 24 0 '0a0b0c 1a1b1c 2a2b2c 000000  3a3b3c 4a4b4c 5a5b5c 000000'
palette='10203000 40506000 70809000'
make_bmp indexed.bmp 4 3 8 3 "$palette 00000000 01010102 00010200"
make_bmp levels.bmp 3 3 24 0 '000000 808080 ffffff 000000  7f7f7f 101010 202020 000000  404040 505050 606060 000000'

# ---- Each option, to the byte ------------------------------------------------------------------------------------

# made ARGUMENTS... HEX: converts into made.bmp, which ends in these bytes.
made() {
    succeeds "${@:1:$#-1}" made.bmp
    ends_in made.bmp "${@: -1}"
}
mono='00000000 ffffff00 '

made true.bmp '0a0b0c 1a1b1c 2a2b2c 000000  3a3b3c 4a4b4c 5a5b5c 000000'
made --area 1,0,2,0 true.bmp '4a4b4c 5a5b5c 0000'
made --area 1,0,2,1 --area=1,1,1,1 true.bmp '2a2b2c 00'
made --rle indexed.bmp "$palette 0400 0000  0301 0102 0000  0004 00010200 0000  0001"
run --info made.bmp true.bmp
prints 'made.bmp: BMP' 'run lengths, 8 bits' '3 colours' '3 x 2 pixels' '3937 x 3937 pixels per metre (100 x 100 per inch)'
made made.bmp "$palette 00000000 01010102 00010200"
made --gray true.bmp 'ffffff00  0b1b2b00 3b4b5b00'
made --gray indexed.bmp '23232323 53535383 23538323'
made --colors 2 true.bmp '4a4a4a00 18181800  01010100 00000000'
made --match octree --colors 2 --area 0,1,2,1 true.bmp '4a4a4a00 18181800  01010100'
made --reduce 2 indexed.bmp '10203000 70809000  00000000 00000001 00000100'
made --reduce 3 indexed.bmp "$palette 00000000 01010102 00010200" # has no more
made --mono threshold levels.bmp "$mono 60000000 00000000 00000000"
made --mono ordered levels.bmp "$mono 20000000 80000000 a0000000" # the top row against 0, 190, 45
succeeds --mono diffuse levels.bmp mono.bmp
made --gray --mono diffuse --mono threshold levels.bmp "$(tail -c 20 mono.bmp | od -An -v -tx1 | tr -d ' \n')"
made --dither 8 levels.bmp '00000f00 00000000 0f000f00' # columns count from the right: 45, 190, 0 in the top row
succeeds --scatter cube true.bmp made.bmp
succeeds --dither cube mono.bmp made.bmp
for option in '--median 3' '--median 4' --denoise; do
    # shellcheck disable=SC2086
    made --gray $option levels.bmp '107f8000 40506000 40505000'
done
made --gray --dilate 255 levels.bmp '00001000 00001000 10101000'
made --gray --erode 255 levels.bmp '80ffff00 80ffff00 7f7f6000'
made --mono threshold --erode 255 levels.bmp "$mono e0000000 e0000000 00000000"
made --pixellize 2 levels.bmp \
    '000000 808080 ffffff 000000  474747 474747 202020 000000  474747 474747 606060 000000'

succeeds --area 0,0,1,0 --histogram true.bmp made.bmp
prints 'level       red     green      blue' '
        58         0         0         1
        59         0         1         0
        60         1         0         0
        74         0         0         1'
succeeds --gray --histogram true.bmp made.bmp
prints 'level    pixels
        11         1
        27         1'
succeeds --help
prints '  --area ' '  --rle ' '  --info ' '  --to ' '  --version '
succeeds --version
[[ $output =~ ^ornconvert\ ([0-9]+\.[0-9]+)\.[0-9]+\.[0-9]+\ with\ orn32\ ([0-9]+\.[0-9]+)\ build\ [0-9]{4}$ &&
    ${BASH_REMATCH[1]} == "${BASH_REMATCH[2]}" ]] || fail "version: $output"

# ---- Names, folders, and the output in the input's place ------------------------------------------------------

# same FILE: it has the pixels of true.bmp.
same() { cmp -s -i54 true.bmp "$1" || fail "$1 has not become the picture"; }

mkdir 'a folder'
cp true.bmp 'a folder/grüße & co.bmp'
succeeds 'a folder/grüße & co.bmp' "$PWD/a folder/ελλάδα.bmp"
same 'a folder/ελλάδα.bmp'
refuses 1 'a folder/grüne.bmp: cannot be opened' 'a folder/grüne.bmp' x.bmp
cp true.bmp ./-dash.bmp
refuses 2 'no option -dash.bmp' -dash.bmp x.bmp
succeeds -- -dash.bmp -out.bmp
same ./-out.bmp
cp true.bmp same.bmp
succeeds --area 0,0,0,0 same.bmp same.bmp
ends_in same.bmp '3a3b3c 00'
succeeds true.bmp indexed.bmp new
same new/true.bmp
succeeds true.bmp 'fresh/'
same fresh/true.bmp
cp true.bmp upper.BMP
cp true.bmp picture.dat
succeeds upper.BMP fresh # keeps the extension
same fresh/upper.BMP
succeeds --to bmp picture.dat fresh # which is known by its content only
same fresh/picture.bmp
succeeds --to gif 'tr?e.*' 'p*.dat' 'matching/'
[[ $(echo matching/*) == 'matching/picture.gif matching/true.gif' ]] || fail "names with * and ?: $(echo matching/*)"
mkdir other
cp true.bmp other
run true.bmp other/true.bmp target/
[[ $status == 1 && $complaints == *'other/true.bmp: cannot become target/true.bmp'*'the input true.bmp'* ]] ||
    fail "two inputs of one name: $status, $complaints"
succeeds --to gif indexed.bmp other/true.gif
succeeds other/true.gif true-gif.bmp
run --to bmp other/true.gif other/true.bmp other # the first may not take the second's place
[[ $status == 1 && $complaints == *'other/true.gif: cannot become other/true.bmp'* ]] || fail "a replaced input: $complaints"
same other/true.bmp
run true.bmp missing.bmp indexed.bmp beside
[[ $status == 1 && -f beside/true.bmp && -f beside/indexed.bmp ]] || fail 'a missing input has stopped the others'

# ---- What cannot be done ------------------------------------------------------------------------------------

printf 'no picture' >text.bmp
printf 'BM' >short.bmp
: >empty.bmp
head -c 60 true.bmp >cut.bmp
refuses_all <<'END'
2|names of a picture to read and one to write are needed|
2|names of a picture to read and one to write are needed|true.bmp
2|no option --nonsense|--nonsense true.bmp x.bmp
2|--area needs a value: L,T,R,B|true.bmp x.bmp --area
2|--rle takes no value|--rle=1 true.bmp x.bmp
2|--area: '1,2,3' is not of the form|--area 1,2,3 true.bmp x.bmp
2|--area: '1,2,3,4,5' is not of the form|--area 1,2,3,4,5 true.bmp x.bmp
2|--area: '1,2,3,x' is not of the form|--area 1,2,3,x true.bmp x.bmp
2|--area: '1,,2,3' is not of the form|--area 1,,2,3 true.bmp x.bmp
2|--area: '' is not of the form|--area= true.bmp x.bmp
2|--area: '0,0,0,99999999999' is not of the form|--area 0,0,0,99999999999 true.bmp x.bmp
1|columns 0 to 3 are not all in the picture, whose columns are 0 to 2|--area 0,0,3,1 true.bmp x.bmp
1|rows -1 to 1 are not all in the picture, whose rows are 0 to 1|--area 0,-1,2,1 true.bmp x.bmp
1|columns 2 to 1 are in the wrong order|--area 2,0,1,1 true.bmp x.bmp
1|columns 0 to 1 are not all in the picture, whose columns are 0 to 0|--area 1,0,1,0 --area 0,0,1,0 true.bmp x.bmp
2|--colors: '257' is not a number from 2 to 256|--colors 257 true.bmp x.bmp
2|--reduce: '1x' is not a number from 2 to 255|--reduce 1x indexed.bmp x.bmp
2|--median: '' is not a number from 3 to 11|--median= true.bmp x.bmp
2|--dilate: '99999999999' is not a number from 0 to 255|--dilate 99999999999 true.bmp x.bmp
2|--match: near is none of|--match near --colors 9 true.bmp x.bmp
2|--mono: grey is none of|--mono grey true.bmp x.bmp
2|--scatter: 216 is neither 8 nor cube|--scatter 216 true.bmp x.bmp
1|true.bmp|--denoise true.bmp x.bmp
2|--to: 'doc' is none of the formats|--to doc true.bmp x
2|its extension names none of the formats|true.bmp x.doc
2|its extension names none of the formats|true.bmp x
2|holds one picture|true.bmp indexed.bmp x.bmp
1|missing.bmp: cannot be opened|missing.bmp true.bmp
1|no*such.bmp: cannot be opened|no*such.bmp true.bmp
1|text.bmp: its content is of none of the formats|text.bmp true.bmp
1|empty.bmp: the file is empty|empty.bmp true.bmp
1|short.bmp: not a file of the format that it seems to be|short.bmp true.bmp
1|other: this is a folder|other true.bmp
1|same.bmp: --rle is for pictures of 8 bits per pixel|--rle true.bmp same.bmp
1|no/x.bmp: no file can be created in its folder|true.bmp no/x.bmp
1|text.bmp: its content|text.bmp not-there-yet/
1|missing.bmp: cannot be opened|--info missing.bmp
2|the name of a file is needed|--info
2|--info tells of files as they are|--info --gray true.bmp
END
refuses 2 'the name of a file is empty' true.bmp ''
run cut.bmp cut-out.bmp
[[ $status == 1 && $complaints == *'cut.bmp: the file ends early'* ]] || fail "a cut file: $status, $complaints"
ends_in cut-out.bmp '000000 000000 000000 000000  000000 000000 000000 000000'

if [[ -n $emulator ]]; then
    mkfifo pipe.bmp
    refuses 1 'pipe.bmp: this is not an ordinary file' true.bmp pipe.bmp
    make_bmp large.bmp 100 100 24 0 "$(printf '%060000d' 0)"
    cp true.bmp old.bmp
    disk_full large.bmp old.bmp

    # Interrupted in the midst of long work: what is there is whole, and the rest is not.
    make_bmp huge.bmp 3000 2000 24 0 ''
    truncate -s $((54 + 9000 * 2000)) huge.bmp
    mkdir many
    for i in {1..60}; do ln huge.bmp "many/$i.bmp"; done
    checks=$((checks + 1))
    $emulator "$program" many/*.bmp stopped 2>"$scratch/err" &
    for ((i = 0; i < 500; i++)); do [[ -n $(ls stopped/*.bmp 2>/dev/null) ]] && break; sleep 0.02; done
    kill -INT $!
    wait $!
    status=$?
    done=$(ls stopped | wc -l)
    ((status == 1 && done > 0 && done < 60)) || fail "interrupted: status $status, $done of 60 files"
    [[ $(<"$scratch/err") == *interrupted* ]] || fail "interrupted: $(<"$scratch/err")"
    for file in stopped/*; do cmp -s -i54 huge.bmp "$file" || fail "interrupted: $file is not whole"; done
    rm -r many stopped huge.bmp
fi

# ---- The corpus, judged by ImageMagick --------------------------------------------------------------------------

# same_pixels TOLERANCE IN OUT: as ImageMagick reads them.
same_pixels() {
    local most least
    checks=$((checks + 1))
    "$judge" "$2" -alpha off -depth 8 rgb:in.rgb 2>/dev/null
    "$judge" "$3" -alpha off -depth 8 rgb:out.rgb 2>/dev/null
    read -r most least < <(differences in.rgb out.rgb)
    [[ $most != of ]] && ((most <= $1 && -least <= $1)) || fail "$3 differs from $2 by $most $least"
}

if ! [[ -d $corpus/bmp ]]; then
    echo "skipped: the picture corpus is not at hand ($corpus)"
    finish
fi
succeeds "$corpus"/bmp/*.bmp "$corpus"/photo/*.bmp converted
if judge=$(imagemagick); then
    for file in "$corpus"/bmp/*.bmp "$corpus"/photo/*.bmp; do
        tolerance=0
        [[ ${file##*/} == rgb16* ]] && tolerance=1
        same_pixels "$tolerance" "$file" "converted/${file##*/}"
    done
    for name in bmp/pal8rle bmp/pal8os2 bmp/pal4 photo/bricks-dither; do
        succeeds --rle "$corpus/$name.bmp" rle.bmp
        same_pixels 0 "$corpus/$name.bmp" rle.bmp
    done
    photo=$corpus/photo/hibiscus.regular.bmp
    succeeds --area 20,30,119,79 "$photo" part.bmp
    "$judge" "$photo" -crop 100x50+20+30 +repage cropped.bmp
    same_pixels 0 cropped.bmp part.bmp
    succeeds --colors 2 "$corpus/bmp/pal1bg.bmp" colors.bmp # through 8 and 24 bits; 5 of them count
    same_pixels 7 "$corpus/bmp/pal1bg.bmp" colors.bmp
fi

# Odd and damaged files: converted, or refused in words without a file; never a crash.
for file in "$corpus"/bmp/{bad,questionable}/*.bmp; do
    rm -f odd.bmp
    run "$file" odd.bmp
    case $status in
        0) [[ -z $complaints && -s odd.bmp ]] ;;
        1) [[ $complaints == "ornconvert: $file: "* && ($complaints == *'ends early'* || ! -e odd.bmp) ]] ;;
        *) false ;;
    esac || fail "$file: status $status, $complaints"
    run --info "$file"
    ((status <= 1)) || fail "--info $file: status $status"
done
finish
