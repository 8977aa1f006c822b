#!/usr/bin/env bash
# The converter's GIF side: what it reads is compared with ImageMagick's reading, what it writes is read by giflib's
# tools and by ImageMagick, down to every pixel and palette entry.
# Usage: ornconvert_gif_test.sh ORNCONVERT.EXE CORPUS [EMULATOR]
source "$(dirname "$0")/support.sh"

# same WHAT HAVE WANT
same() {
    checks=$((checks + 1))
    [[ $2 == "$3" ]] || fail "$1: ${2:0:200} instead of ${3:0:200}"
}

judge=$(imagemagick)
giflib=$(command -v gifbuild && command -v giftext) || echo "skipped: reading with giflib's tools (package giflib-tools)"

# make_picture NAME WIDTH HEIGHT COLOURS SEED: NAME.bmp (8 bits), and the variables pixels and palette: rows from the
# top, and "rgb red green blue" lines, as giflib shows them.
make_picture() {
    local name=$1 width=$2 height=$3 colours=$4 seed=$5 padding
    pixels=$(awk -v w="$width" -v h="$height" -v n="$colours" -v s="$seed" 'BEGIN {
        for (y = 0; y < h; y++) {
            for (x = 0; x < w; x++) printf "%02x", (x * x + y * (s + 3) + (x * y) % 7 * s) % n
            print ""
        }
    }')
    palette=$(awk -v n="$colours" -v s="$seed" 'BEGIN {
        for (i = 0; i < n; i++) printf "rgb %03d %03d %03d\n", (i * 7 + s) % 256, (i * 3) % 256, (255 - i) % 256 }')
    padding=$(printf '%*s' $(((4 - width % 4) % 4 * 2)) '')
    make_bmp "$name.bmp" "$width" "$height" 8 "$colours" \
        "$(awk '{ printf "%02x%02x%02x00", $4, $3, $2 }' <<<"$palette")$(tac <<<"$pixels" | sed "s/\$/${padding// /0}/" | tr -d '\n')"
}

# What giflib reads in a file: the pixels of all frames, and the palettes in order.
giflib_pixels() { gifbuild -d "$1" | grep -E '^[0-9a-f]+$'; }
giflib_palette() { gifbuild -d "$1" | grep rgb | sed 's/^[[:space:]]*//'; }

# reads_well FILE: giflib's tools find nothing wrong with it.
reads_well() {
    checks=$((checks + 1))
    output=$(giftext "$1" 2>&1) || fail "giftext: $(tail -n 1 <<<"$output")"
    prints 'GIF file terminated normally'
}

# The colours of a file as ImageMagick reads them, frame after frame. It takes GIFs of greys for linear light.
colours() { "$judge" "$1" +repage -set colorspace sRGB -alpha off -depth 8 rgb:- 2>/dev/null | md5sum; }

make_picture one 37 23 200 1
one=$pixels one_palette=$palette
make_picture two 11 31 200 9
two=$pixels two_palette=$palette
make_picture few 9 9 5 2
make_bmp bits.bmp 10 3 1 2 '00ff0000 0000ff00 aa800000 ff400000 01c00000'

# ---- Writing single pictures -----------------------------------------------------------------------------------

for options in '' '--interlace' '--transparent 7' '--interlace --transparent 199 --comment words'; do
    # shellcheck disable=SC2086 # several options
    succeeds $options one.bmp one.gif
    if [[ -n $giflib ]]; then
        same "giflib's pixels $options" "$(giflib_pixels one.gif)" "$one"
        same "giflib's palette $options" "$(giflib_palette one.gif | head -n 200)" "$one_palette"
        reads_well one.gif
    fi
    [[ -z $judge ]] || same "ImageMagick's colours $options" "$(colours one.gif)" "$(colours one.bmp)"
    succeeds one.gif back.bmp
    same "pixels back from GIF $options" "$(tail -c 920 back.bmp | md5sum)" "$(tail -c 920 one.bmp | md5sum)"
done
if [[ -n $giflib ]]; then
    reads_well one.gif
    prints 'Image is Interlaced' 'Transparent Index: 199'
    same 'the comment' "$(gifbuild -d one.gif | grep -A 1 '^comment' | tail -n 1)" words
fi
for name in few bits; do
    succeeds --comment 'o*' $name.bmp $name.gif # the comment is no name of files
    [[ -z $giflib ]] || reads_well $name.gif
    [[ -z $judge ]] || same "$name: ImageMagick's colours" "$(colours $name.gif)" "$(colours $name.bmp)"
done
(($(stat -c%s few.gif) < 150)) || fail 'few colours do not take fewer bits'

# ---- Writing animations ----------------------------------------------------------------------------------------

succeeds --delay 12 --loop 3 --comment $'gr\e\u00fc\u00dfe' one.bmp two.bmp one.bmp all.gif
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
succeeds --info all.gif few.gif
prints 'frames     3' '3 times' 'gr?üße' 'frame 0' 'frame 2' '11 x 31 pixels' '12 hundredths' 'comment  o*'
succeeds --all-frames all.gif frames.bmp
same 'one file for each frame' "$(echo frames-*.bmp)" 'frames-1.bmp frames-2.bmp frames-3.bmp'
cmp -s <(tail -c $((12 * 31)) frames-2.bmp) <(tail -c $((12 * 31)) two.bmp) || fail 'frame 1 is not the second picture'
succeeds --frame 1 all.gif second.bmp
cmp -s second.bmp frames-2.bmp || fail '--frame 1 is not the second frame'
cp one.bmp all-2.bmp
run --all-frames --to bmp all.gif all-2.bmp . # a frame may not take an input's place
[[ $status == 1 && $complaints == *'all.gif: cannot become ./all-2.bmp'* ]] && cmp -s one.bmp all-2.bmp ||
    fail "a replaced input: $status, $complaints"

# ---- What cannot be done ------------------------------------------------------------------------------------

printf 'GIF89a' >short.gif
refuses_all <<'END'
1|there is no frame 3; the last one is 2|--frame 3 all.gif x.bmp
2|--frame: 'x' is not a number|--frame x all.gif x.bmp
2|--delay: '65536' is not a number from 0 to 65535|--delay 65536 one.bmp x.gif
2|--transparent: '-1' is not a number from 0 to 255|--transparent -1 one.bmp x.gif
1|the palette has 200 colours|--transparent 200 one.bmp x.gif
1|--frame has no meaning|--frame 0 one.bmp x.gif
1|--interlace has no meaning|--interlace one.bmp x.bmp
1|missing.bmp: cannot be opened|one.bmp missing.bmp all.gif
1|missing.bmp: cannot be opened|one.bmp missing.bmp new.gif
1|short.gif: |short.gif x.bmp
END
head -c 900 one.gif >cut.gif
run cut.gif cut.bmp
[[ $status == 1 && $complaints == *'cut.gif: '* && -s cut.bmp ]] || fail "a cut file: $status, $complaints"
head -c 6000 all.gif >cut.gif
succeeds --info cut.gif

# ---- The corpus --------------------------------------------------------------------------------------------------

if ! [[ -d $corpus/gif ]]; then
    echo "skipped: the picture corpus is not at hand ($corpus)"
    finish
fi
for file in "$corpus"/gif/*.gif "$corpus"/photo/*.gif; do
    name=${file##*/}
    [[ $name != *truncated* ]] || continue
    rm -f frame*.bmp
    succeeds --all-frames "$file" frame.bmp
    mapfile -t frames < <(ls -v frame*.bmp)
    for ((k = 0; k < ${#frames[@]}; k++)); do
        [[ -z $judge ]] || same "$name, frame $k" "$(colours "${frames[k]}")" "$(colours "$file[$k]")"
    done
    succeeds --all-frames "$file" rewritten.gif
    if [[ -n $giflib ]]; then
        reads_well rewritten.gif
        same "$name rewritten: giflib's pixels" "$(giflib_pixels rewritten.gif | md5sum)" "$(giflib_pixels "$file" | md5sum)"
    fi
    [[ -z $judge ]] || same "$name rewritten: ImageMagick's colours" "$(colours rewritten.gif)" "$(colours "$file")"
done

# Of a file that breaks off, the rows that are there are those of the whole file: row 0 and every eighth.
run "$corpus/gif/hippopotamus.interlaced.truncated.gif" truncated.bmp
[[ $status == 1 && $complaints == *'the file ends early'* ]] || fail "a truncated file: status $status, $complaints"
succeeds "$corpus/gif/hippopotamus.interlaced.gif" whole.bmp
for row in 0 8 16 24; do
    back=$((36 * (row + 1))) # bytes from the row to the end
    same "truncated, row $row" "$(tail -c $back truncated.bmp | head -c 36 | md5sum)" "$(tail -c $back whole.bmp | head -c 36 | md5sum)"
done
finish
