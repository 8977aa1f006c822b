#!/usr/bin/env bash
# The converter's GIF side: what it reads is compared with ImageMagick's reading, what it writes is read by giflib's
# tools and by ImageMagick, down to every pixel and palette entry.
# Usage: ornconvert_gif_test.sh ORNCONVERT.EXE CORPUS [EMULATOR]
source "$(dirname "$0")/support.sh"

# refuses STATUS WORDS ARGUMENTS...: and no file has changed.
refuses() {
    local want=$1 words=$2 before
    shift 2
    before=$(find . -type f -exec md5sum {} + | sort)
    run "$@"
    [[ $status == "$want" ]] || fail "$* gives status $status, not $want, and says: $complaints"
    [[ $complaints == *"$words"* ]] || fail "$* says '$complaints', not '$words'"
    [[ $(find . -type f -exec md5sum {} + | sort) == "$before" ]] || fail "$* has changed files"
}

# same WHAT HAVE WANT
same() {
    checks=$((checks + 1))
    [[ $2 == "$3" ]] || fail "$1: ${2:0:200} instead of ${3:0:200}"
}

judge=$(imagemagick) || echo 'skipped: comparing with ImageMagick (package imagemagick)'
giflib=$(command -v gifbuild && command -v giftext) || echo "skipped: reading with giflib's tools (package giflib-tools)"

# ---- Pictures of our own: palettes and pixels as hexadecimal digits -----------------------------------------------

# make_picture NAME WIDTH HEIGHT COLOURS SEED: NAME.bmp (8 bits), and the variables pixels and palette: rows from the
# top, "rgb red green blue" lines.
make_picture() {
    local name=$1 width=$2 height=$3 colours=$4 seed=$5 line rows=() entries='' y padding
    mapfile -t rows < <(awk -v w="$width" -v h="$height" -v n="$colours" -v s="$seed" 'BEGIN {
        for (y = 0; y < h; y++) {
            row = ""
            for (x = 0; x < w; x++) row = row sprintf("%02x", (x * x + y * (s + 3) + (x * y) % 7 * s) % n)
            print row
        }
    }')
    palette=$(awk -v n="$colours" -v s="$seed" 'BEGIN {
        for (i = 0; i < n; i++) printf "rgb %03d %03d %03d\n", (i * 7 + s) % 256, (i * 3) % 256, (255 - i) % 256 }')
    while read -r _ red green blue; do
        entries+=$(printf '%02x%02x%02x00' "$((10#$blue))" "$((10#$green))" "$((10#$red))")
    done <<<"$palette"
    pixels=$(printf '%s\n' "${rows[@]}")
    padding=$(printf '%*s' $(((4 - width % 4) % 4 * 2)) '')
    line=$entries
    for ((y = height - 1; y >= 0; y--)); do line+=${rows[y]}${padding// /0}; done
    bmp_file "$name.bmp" "$width" "$height" 8 "$colours" "$line"
}

word() { printf '%02x%02x' $(($1 & 255)) $(($1 >> 8 & 255)); }
dword() { word $(($1 & 65535)); word $(($1 >> 16 & 65535)); }

# bmp_file FILE WIDTH HEIGHT BITS COLOURS HEX
bmp_file() {
    local head
    head=424d$(dword $((54 + ${#6} / 2)); dword 0; dword $((54 + 4 * $5)); dword 40; dword "$2"; dword "$3"
        word 1; word "$4"; dword 0; dword 0; dword 0; dword 0; dword "$5"; dword 0)
    printf '%b' "$(sed 's/../\\x&/g' <<<"$head$6")" >"$1"
}

# What giflib reads in a file: the pixels of all frames, and the palettes in order.
giflib_pixels() { gifbuild -d "$1" | grep -E '^[0-9a-f]+$'; }
giflib_palette() { gifbuild -d "$1" | grep rgb | sed 's/^[[:space:]]*//'; }

# reads_well FILE: giflib's tools find nothing wrong with it.
reads_well() {
    checks=$((checks + 1))
    giftext "$1" >"$scratch/giftext" 2>&1 || fail "giftext: $(tail -n 1 "$scratch/giftext")"
    grep -q 'GIF file terminated normally' "$scratch/giftext" || fail "$1 does not end normally for giftext"
}

# The colours of a file as ImageMagick reads them, frame after frame. It takes GIFs of greys for linear light.
colours() { "$judge" "$1" +repage -set colorspace sRGB -alpha off -depth 8 rgb:- 2>/dev/null | md5sum; }

make_picture one 37 23 200 1
one=$pixels one_palette=$palette
make_picture two 11 31 200 9
two=$pixels two_palette=$palette
make_picture few 9 9 5 2
bmp_file bits.bmp 10 3 1 2 00ff00000000ff00aa800000ff40000001c00000

# ---- Writing single pictures -----------------------------------------------------------------------------------

for options in '' '--interlace' '--transparent 7' '--interlace --transparent 199 --comment words'; do
    # shellcheck disable=SC2086 # several options
    succeeds $options one.bmp one.gif
    if [[ -n $giflib ]]; then
        reads_well one.gif
        same "giflib's pixels $options" "$(giflib_pixels one.gif)" "$one"
        same "giflib's palette $options" "$(giflib_palette one.gif | head -n 200)" "$one_palette"
    fi
    [[ -z $judge ]] || same "ImageMagick's colours $options" "$(colours one.gif)" "$(colours one.bmp)"
    succeeds one.gif back.bmp
    same "pixels back from GIF $options" "$(tail -c 920 back.bmp | md5sum)" "$(tail -c 920 one.bmp | md5sum)"
done
if [[ -n $giflib ]]; then
    same 'the comment' "$(gifbuild -d one.gif | grep -A 1 '^comment' | tail -n 1)" words
    grep -q 'Image is Interlaced' "$scratch/giftext" || fail 'the rows are not interlaced'
    grep -q 'Transparent Index: 199' "$scratch/giftext" || fail 'the transparent colour is not 199'
fi
for name in few bits; do
    succeeds $name.bmp $name.gif
    [[ -z $giflib ]] || reads_well $name.gif
    [[ -z $judge ]] || same "$name: ImageMagick's colours" "$(colours $name.gif)" "$(colours $name.bmp)"
done
(($(stat -c%s few.gif) < 150)) || fail 'few colours do not take fewer bits'

# ---- Writing animations ----------------------------------------------------------------------------------------

succeeds --delay 12 --loop 3 --comment 'grüße' one.bmp two.bmp one.bmp all.gif
if [[ -n $giflib ]]; then
    reads_well all.gif
    same "giflib's pixels of three frames" "$(giflib_pixels all.gif)" "$one"$'\n'"$two"$'\n'"$one"
    same "giflib's palette of the last frame" "$(giflib_palette all.gif | tail -n 256 | head -n 200)" "$one_palette"
    same "giflib's palette of the second frame" "$(giflib_palette all.gif | tail -n 512 | head -n 200)" "$two_palette"
fi
if [[ -n $judge ]]; then
    same 'delays and sizes' "$("$judge" all.gif -format '%T %wx%h %Wx%H,' info:)" \
        '12 37x23 37x31,12 11x31 37x31,12 37x23 37x31,'
    for k in 0 1 2; do
        same "frame $k" "$(colours "all.gif[$k]")" "$(colours "$([[ $k == 1 ]] && echo two || echo one).bmp")"
    done
fi
run --info all.gif
for words in 'frames' '3' '3 times' 'grüße' 'frame 0' 'frame 2' '11 x 31 pixels' '12 hundredths'; do prints "$words"; done
succeeds --all-frames all.gif frames.bmp
same 'one file for each frame' "$(echo frames-*.bmp)" 'frames-1.bmp frames-2.bmp frames-3.bmp'
cmp -s <(tail -c $((12 * 31)) frames-2.bmp) <(tail -c $((12 * 31)) two.bmp) || fail 'frame 1 is not the second picture'
succeeds --frame 1 all.gif second.bmp
cmp -s second.bmp frames-2.bmp || fail '--frame 1 is not the second frame'
succeeds --all-frames all.gif again.gif
[[ -z $giflib ]] || same 'an animation rewritten' "$(giflib_pixels again.gif)" "$(giflib_pixels all.gif)"
[[ -z $judge ]] || same 'its delays' "$("$judge" again.gif -format '%T,' info:)" '12,12,12,'

# ---- What cannot be done ------------------------------------------------------------------------------------

refuses 1 'there is no frame 3; the last one is 2' --frame 3 all.gif x.bmp
refuses 2 "--frame: 'x' is not of the form N" --frame x all.gif x.bmp
refuses 2 "--delay: '65536' is not a number from 0 to 65535" --delay 65536 one.bmp x.gif
refuses 2 "--transparent: '-1' is not a number from 0 to 255" --transparent -1 one.bmp x.gif
refuses 1 'the palette has 200 colours' --transparent 200 one.bmp x.gif
refuses 1 '--frame has no meaning' --frame 0 one.bmp x.gif
refuses 1 '--interlace has no meaning' --interlace one.bmp x.bmp
refuses 1 'missing.bmp: cannot be opened' one.bmp missing.bmp all.gif
refuses 1 'missing.bmp: cannot be opened' one.bmp missing.bmp new.gif
printf 'GIF89a' >short.gif
refuses 1 'short.gif: ' short.gif x.bmp
head -c 900 one.gif >cut.gif
run cut.gif cut.bmp
[[ $status == 1 && $complaints == *'cut.gif: '* && -s cut.bmp ]] || fail "a cut file: $status, $complaints"
head -c 6000 all.gif >cut.gif
run --info cut.gif
[[ $status == 0 ]] || fail "--info of a cut file: $status, $complaints"
rm -f cut.gif cut.bmp

# ---- The corpus --------------------------------------------------------------------------------------------------

if ! [[ -d $corpus/gif ]]; then
    echo "skipped: the picture corpus is not at hand ($corpus)"
else
    for file in "$corpus"/gif/*.gif "$corpus"/photo/*.gif; do
        name=${file##*/}
        if [[ $name == *truncated* ]]; then
            # The rows that are there are those of the whole file: row 0 and every eighth.
            run "$file" truncated.bmp
            [[ $status == 1 && $complaints == *'the file ends early'* ]] || fail "$name: status $status, $complaints"
            succeeds "$corpus/gif/hippopotamus.interlaced.gif" whole.bmp
            for row in 0 8 16 24; do
                at=$((36 * (27 - row) + 1))
                same "$name, row $row" "$(tail -c $((36 * 28)) truncated.bmp | tail -c +$at | head -c 36 | md5sum)" \
                    "$(tail -c $((36 * 28)) whole.bmp | tail -c +$at | head -c 36 | md5sum)"
            done
            continue
        fi
        succeeds --all-frames "$file" frame.bmp
        frames=(frame-*.bmp)
        [[ -e ${frames[0]} ]] || frames=(frame.bmp)
        for ((k = 0; k < ${#frames[@]}; k++)); do
            [[ ${#frames[@]} == 1 ]] && frame=frame.bmp || frame=frame-$((k + 1)).bmp
            [[ -z $judge ]] || same "$name, frame $k" "$(colours "$frame")" "$(colours "$file[$k]")"
        done
        succeeds --all-frames "$file" rewritten.gif
        if [[ -n $giflib ]]; then
            reads_well rewritten.gif
            same "$name rewritten: giflib's pixels" "$(giflib_pixels rewritten.gif | md5sum)" "$(giflib_pixels "$file" | md5sum)"
        fi
        [[ -z $judge ]] || same "$name rewritten: ImageMagick's colours" "$(colours rewritten.gif)" "$(colours "$file")"
        rm -f frame.bmp frame-*.bmp
    done
fi

leftovers=$(find . -name '*.tmp')
[[ -z $leftovers ]] || fail "left behind: $leftovers"
echo "$checks checks, $failures failures"
exit $((failures > 0))
