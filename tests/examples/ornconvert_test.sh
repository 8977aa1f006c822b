#!/usr/bin/env bash
# Runs the converter as a user does: what it writes, what it says, and what it leaves behind.
# Usage: ornconvert_test.sh ORNCONVERT.EXE CORPUS [EMULATOR]
# Pictures of other origin are compared with ImageMagick's reading of the same file, where both are at hand.
set -u
export LC_ALL=C.UTF-8 # file names are UTF-8

program=$(realpath "$1")
corpus=$(realpath -m "$2")
emulator=${3:-}
scratch=$(mktemp -d "${TMPDIR:-/tmp}/ornconvert test.XXXXXX")
trap 'rm -rf "$scratch"' EXIT
folder=$scratch/files # what the converter says goes elsewhere, so that this holds only what it writes
mkdir "$folder" && cd "$folder" || exit 1

failures=0
checks=0

fail() {
    echo "FAILED: $*"
    failures=$((failures + 1))
}

# Runs the converter; leaves $status, $output and $complaints.
run() {
    checks=$((checks + 1))
    $emulator "$program" "$@" >"$scratch/out" 2>"$scratch/err"
    status=$?
    output=$(tr -d '\r' <"$scratch/out")
    complaints=$(tr -d '\r' <"$scratch/err")
}

contents() { find . -type f -exec md5sum {} + | sort; find . | sort; }

# succeeds ARGUMENTS...: status 0 and no complaint.
succeeds() {
    run "$@"
    [[ $status == 0 && -z $complaints ]] || fail "$* gives status $status and says: $complaints"
}

# refuses STATUS WORDS ARGUMENTS...: that status, those words, and no file anywhere has changed.
refuses() {
    local want=$1 words=$2 before
    shift 2
    before=$(contents)
    run "$@"
    [[ $status == "$want" ]] || fail "$* gives status $status, not $want, and says: $complaints"
    [[ $complaints == *"$words"* ]] || fail "$* says '$complaints', not '$words'"
    [[ $(contents) == "$before" ]] || fail "$* has changed the files: $(diff <(echo "$before") <(contents))"
}

# holds FILE HEX: the bytes of the file from the palette or the pixels on.
holds() {
    local have
    have=$(od -An -v -tx1 -j54 "$1" | tr -d ' \n')
    [[ $have == "${2// /}" ]] || fail "$1 holds $have, not $2"
}

prints() { [[ $output == *"$1"* ]] || fail "'$1' is missing in: $output"; }

# ---- Two pictures of our own --------------------------------------------------------------------------------

word() { printf '\\x%02x\\x%02x' $(($1 & 255)) $(($1 >> 8 & 255)); }
dword() { word $(($1 & 65535)); word $(($1 >> 16 & 65535)); }
hex() { sed 's/ //g; s/../\\x&/g' <<<"$1"; }

# make_bmp FILE WIDTH HEIGHT BITS COLOURS HEX: palette and rows as hexadecimal bytes.
make_bmp() {
    local data=${6// /}
    printf "BM$(dword $((54 + ${#data} / 2)))$(dword 0)$(dword $((54 + 4 * $5)))$(dword 40)$(dword "$2")$(dword "$3")$(
        word 1)$(word "$4")$(dword 0)$(dword 0)$(dword 3937)$(dword 3937)$(dword "$5")$(dword 0)$(hex "$data")" >"$1"
}

# 3 x 2 pixels, and 4 x 3 pixels of 3 colours; bottom row first.
make_bmp true.bmp 3 2 24 0 '0a0b0c 1a1b1c 2a2b2c 000000  3a3b3c 4a4b4c 5a5b5c 000000'
palette='10203000 40506000 70809000'
make_bmp indexed.bmp 4 3 8 3 "$palette 00000000 01010102 00010200"

succeeds true.bmp whole.bmp
cmp -s -i54 true.bmp whole.bmp || fail 'a converted picture has other pixels'
succeeds --area 1,0,2,0 true.bmp part.bmp
holds part.bmp '4a4b4c 5a5b5c 0000'
succeeds --area 1,0,2,1 --area=1,1,1,1 true.bmp part.bmp
holds part.bmp '2a2b2c 00'
succeeds --rle indexed.bmp rle.bmp
holds rle.bmp "$palette 0400 0000  0301 0102 0000  0004 00010200 0000  0001"
succeeds --area 0,0,3,0 --rle indexed.bmp rle.bmp
succeeds rle.bmp plain.bmp
holds plain.bmp "$palette 00010200"

run --info true.bmp rle.bmp
[[ $status == 0 ]] || fail "--info gives $status: $complaints"
prints 'true.bmp: BMP'
prints '3 x 2 pixels'
prints '3937 x 3937 pixels per metre (100 x 100 per inch)'
prints 'run lengths, 8 bits'
prints '3 colours'
run --version
[[ $status == 0 && $output =~ ^ornconvert\ with\ orn32\ [0-9]+\.[0-9]+\ build\ [0-9]{4}$ ]] || fail "version: $output"
run --help
[[ $status == 0 && -z $complaints ]] || fail "--help gives $status: $complaints"
for option in --area --rle --info --to --version; do prints "  $option "; done

# ---- Colours ------------------------------------------------------------------------------------------------

# ends_in FILE HEX: the file's last bytes.
ends_in() {
    local want=${2// /} have
    have=$(tail -c $((${#want} / 2)) "$1" | od -An -v -tx1 | tr -d ' \n')
    [[ $have == "$want" ]] || fail "$1 ends in $have, not $want"
}

succeeds --gray true.bmp gray.bmp
ends_in gray.bmp 'ffffff00  0b1b2b00 3b4b5b00'
succeeds --gray indexed.bmp gray.bmp
ends_in gray.bmp '23232323 53535383 23538323'
succeeds --colors 2 true.bmp colors.bmp
holds colors.bmp '4a4a4a00 18181800  01010100 00000000'
succeeds --match octree --colors 2 --area 0,1,2,1 true.bmp colors.bmp
holds colors.bmp '4a4a4a00 18181800  01010100'
succeeds --reduce 2 indexed.bmp reduced.bmp
holds reduced.bmp '10203000 70809000  00000000 00000001 00000100'
succeeds --reduce 3 indexed.bmp reduced.bmp
cmp -s -i54 indexed.bmp reduced.bmp || fail 'a picture of few colours was reduced'
succeeds --area 0,0,1,0 --histogram true.bmp part.bmp
[[ $output == *'level       red     green      blue'*"
        58         0         0         1
        59         0         1         0
        60         1         0         0
        74         0         0         1"* ]] || fail "--histogram prints $output"
succeeds --gray --histogram true.bmp part.bmp
[[ $output == *"level    pixels
        11         1
        27         1"* ]] || fail "--gray --histogram prints $output"
refuses 2 '--colors: 257 is not between 2 and 256' --colors 257 true.bmp x.bmp
refuses 2 '--reduce: 256 is not between 2 and 255' --reduce 256 indexed.bmp x.bmp
refuses 2 '--match: near is none of' --match near --colors 9 true.bmp x.bmp

# ---- Dithers and filters --------------------------------------------------------------------------------------

make_bmp levels.bmp 3 3 24 0 '000000 808080 ffffff 000000  7f7f7f 101010 202020 000000  404040 505050 606060 000000'
succeeds --mono threshold levels.bmp mono.bmp
holds mono.bmp '00000000 ffffff00  60000000 00000000 00000000'
succeeds --mono ordered levels.bmp mono.bmp # the top row against 0, 190, 45
holds mono.bmp '00000000 ffffff00  20000000 80000000 a0000000'
succeeds --gray --mono diffuse --mono threshold levels.bmp again.bmp # the second finds nothing to do
succeeds --mono diffuse levels.bmp mono.bmp
cmp -s mono.bmp again.bmp || fail 'black and white is changed by --mono'
succeeds --dither 8 levels.bmp dither.bmp # columns count from the right: 45, 190, 0 in the top row
ends_in dither.bmp '00000f00 00000000 0f000f00'
succeeds --scatter cube true.bmp scatter.bmp
succeeds --dither cube mono.bmp dither.bmp
succeeds --gray --median 3 levels.bmp median.bmp
ends_in median.bmp '107f8000 40506000 40505000'
succeeds --gray --median 4 levels.bmp again.bmp
cmp -s median.bmp again.bmp || fail '--median 4 is not --median 3'
succeeds --gray --denoise levels.bmp again.bmp
cmp -s median.bmp again.bmp || fail '--denoise is not --median 3'
succeeds --gray --dilate 255 levels.bmp dark.bmp
ends_in dark.bmp '00001000 00001000 10101000'
succeeds --gray --erode 255 levels.bmp light.bmp
ends_in light.bmp '80ffff00 80ffff00 7f7f6000'
succeeds --mono threshold --erode 255 levels.bmp light.bmp
holds light.bmp '00000000 ffffff00  e0000000 e0000000 00000000'
succeeds --pixellize 2 levels.bmp blocks.bmp
ends_in blocks.bmp '000000 808080 ffffff 000000  474747 474747 202020 000000  474747 474747 606060 000000'
refuses 2 '--median: 2 is not between 3 and 11' --median 2 true.bmp x.bmp
refuses 2 '--dilate: 256 is not between 0 and 255' --dilate 256 true.bmp x.bmp
refuses 2 '--mono: grey is none of' --mono grey true.bmp x.bmp
refuses 2 '--scatter: 216 is neither 8 nor cube' --scatter 216 true.bmp x.bmp
refuses 1 'true.bmp' --denoise true.bmp x.bmp # two rows are too few

# ---- Names, folders, and the output in the input's place ------------------------------------------------------

mkdir 'a folder'
cp true.bmp 'a folder/grüße & co.bmp'
succeeds 'a folder/grüße & co.bmp' "$folder/a folder/ελλάδα.bmp"
cmp -s whole.bmp 'a folder/ελλάδα.bmp' || fail 'a name with Greek letters was not written'
refuses 1 'a folder/grüne.bmp: cannot be opened' 'a folder/grüne.bmp' x.bmp
cp true.bmp ./-dash.bmp
refuses 2 'no option -dash.bmp' -dash.bmp x.bmp
succeeds -- -dash.bmp -out.bmp
cmp -s whole.bmp ./-out.bmp || fail 'a name behind -- was not written'

cp true.bmp same.bmp
succeeds --area 0,0,0,0 same.bmp same.bmp
holds same.bmp '3a3b3c 00'
succeeds true.bmp indexed.bmp new
cmp -s whole.bmp new/true.bmp || fail 'several inputs did not go into a new folder'
succeeds true.bmp 'fresh/'
[[ -f fresh/true.bmp ]] || fail 'a name with a slash was not taken as a folder'
cp true.bmp upper.BMP
succeeds upper.BMP fresh
[[ -f fresh/upper.BMP ]] || fail 'a folder did not keep the extension'
cp true.bmp picture.dat
succeeds --to bmp picture.dat fresh
[[ -f fresh/picture.bmp ]] || fail 'a picture known by its content only got no extension'
mkdir other
cp true.bmp other
run true.bmp other/true.bmp target/
[[ $status == 1 && $complaints == *'other/true.bmp: another input has already become target/true.bmp'* ]] ||
    fail "two inputs of one name: $status, $complaints"
run true.bmp missing.bmp indexed.bmp beside
[[ $status == 1 && -f beside/true.bmp && -f beside/indexed.bmp ]] || fail 'a missing input has stopped the others'

# ---- What cannot be done ------------------------------------------------------------------------------------

printf 'no picture' >text.bmp
printf 'BM' >short.bmp
: >empty.bmp
head -c 60 true.bmp >cut.bmp
refuses 2 'names of a picture to read and one to write are needed'
refuses 2 'names of a picture to read and one to write are needed' true.bmp
refuses 2 'no option --nonsense' --nonsense true.bmp x.bmp
refuses 2 '--area needs a value: L,T,R,B' true.bmp x.bmp --area
refuses 2 '--rle takes no value' --rle=1 true.bmp x.bmp
for area in 1,2,3 1,2,3,4,5 1,2,3,x '' 1,,2,3 0,0,0,99999999999; do
    refuses 2 "--area: '$area' is not of the form" --area "$area" true.bmp x.bmp
done
refuses 1 "columns 0 to 3 are not all in the picture, whose columns are 0 to 2" --area 0,0,3,1 true.bmp x.bmp
refuses 1 "rows -1 to 1 are not all in the picture, whose rows are 0 to 1" --area 0,-1,2,1 true.bmp x.bmp
refuses 1 'columns 2 to 1 are in the wrong order' --area 2,0,1,1 true.bmp x.bmp
refuses 1 'columns 0 to 1 are not all in the picture, whose columns are 0 to 0' \
    --area 1,0,1,0 --area 0,0,1,0 true.bmp x.bmp
refuses 2 "--to: 'doc' is none of the formats" --to doc true.bmp x
refuses 2 'its extension names none of the formats' true.bmp x.doc
refuses 2 'its extension names none of the formats' true.bmp x
refuses 2 'holds one picture' true.bmp indexed.bmp x.bmp
refuses 1 'missing.bmp: cannot be opened' missing.bmp whole.bmp
refuses 1 'text.bmp: its content is of none of the formats' text.bmp whole.bmp
refuses 1 'empty.bmp: the file is empty' empty.bmp whole.bmp
refuses 1 'short.bmp: not a file of the format that it seems to be' short.bmp whole.bmp
refuses 1 'other: this is a folder' other whole.bmp
refuses 1 'whole.bmp: --rle is for pictures of 8 bits per pixel' --rle true.bmp whole.bmp
refuses 1 'no/x.bmp: no file can be created in its folder' true.bmp no/x.bmp
refuses 1 'text.bmp: its content' text.bmp 'not there yet/'
refuses 1 'missing.bmp: cannot be opened' --info missing.bmp
refuses 2 'the name of a file is needed' --info
run cut.bmp cut-out.bmp
[[ $status == 1 && $complaints == *'cut.bmp: the file ends early'* ]] || fail "a cut file: $status, $complaints"
holds cut-out.bmp '000000 000000 000000 000000  000000 000000 000000 000000'

if [[ -n $emulator ]]; then
    mkfifo pipe.bmp
    refuses 1 'pipe.bmp: this is not an ordinary file' true.bmp pipe.bmp
    # A limit on the size of files stands for a full disk.
    make_bmp large.bmp 100 100 24 0 "$(printf '%060000d' 0)"
    cp true.bmp old.bmp
    trap '' XFSZ
    large=$(ulimit -f 16; refuses 1 'old.bmp: not all of it could be written' large.bmp old.bmp)
    trap - XFSZ
    [[ -z $large ]] || fail "a full disk: $large"

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

imagemagick() {
    local candidate
    for candidate in /usr/bin/convert convert magick; do
        [[ $("$candidate" -version 2>/dev/null) == 'Version: ImageMagick'* ]] && echo "$candidate" && return
    done
    return 1
}

# The pixels of a file as ImageMagick reads them.
pixels() { "$judge" "$1" -alpha off -depth 8 rgb:- 2>/dev/null; }

# same_pixels TOLERANCE IN OUT
same_pixels() {
    local worst
    checks=$((checks + 1))
    pixels "$2" >in.rgb
    pixels "$3" >out.rgb
    [[ -s in.rgb && $(stat -c%s in.rgb) == $(stat -c%s out.rgb) ]] || { fail "$2 became another size"; return; }
    worst=$(cmp -l in.rgb out.rgb | awk '
        function octal(s) { return int(s / 100) * 64 + int(s / 10) % 10 * 8 + s % 10 }
        { d = octal($2) - octal($3); if (d < 0) d = -d; if (d > worst) worst = d } END { print worst + 0 }')
    ((worst <= $1)) || fail "$2: a channel differs by $worst"
}

if ! [[ -d $corpus/bmp ]]; then
    echo "skipped: the picture corpus is not at hand ($corpus)"
else
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
        succeeds --area 20,30,119,79 --gray "$photo" gray.bmp
        for filter in '--median 3:-statistic Median 3x3' '--median 9:-statistic Median 9x9' \
            '--dilate 255:-morphology Erode Square:1' '--erode 255:-morphology Dilate Square:1' \
            '--mono threshold:-threshold 50%'; do
            succeeds ${filter%%:*} gray.bmp filtered.bmp
            "$judge" gray.bmp ${filter#*:} judged.bmp
            same_pixels 0 judged.bmp filtered.bmp
        done
    else
        echo 'skipped: comparing pixels needs ImageMagick (package imagemagick)'
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
fi

leftovers=$(find . -name '*.tmp')
[[ -z $leftovers ]] || fail "left behind: $leftovers"
echo "$checks checks, $failures failures"
exit $((failures > 0))
