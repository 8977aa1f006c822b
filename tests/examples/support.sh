# shellcheck shell=bash
# shellcheck disable=SC2034 # the scripts use what is set here
# What the converter's test scripts share: their arguments, a scratch folder to work in, running the program, pictures
# of our own, judges that are not ours. Sourced with the script's own arguments; the script ends with `finish`.
set -u
export LC_ALL=C.UTF-8 # file names are UTF-8
source "$(dirname "${BASH_SOURCE[0]}")/../../scripts/quiet_wine.sh"

program=$(realpath "$1")
corpus=$(realpath -m "$2")
emulator=${3:-}
scratch=$(mktemp -d "${TMPDIR:-/tmp}/ornconvert test.XXXXXX")
trap 'rm -rf "$scratch"' EXIT
mkdir "$scratch/files" && cd "$scratch/files" || exit 1 # what the converter says goes elsewhere

failures=0
checks=0

fail() {
    echo "FAILED: $*"
    failures=$((failures + 1))
}

finish() {
    local leftovers
    leftovers=$(find . -name '*.tmp')
    [[ -z $leftovers ]] || fail "left behind: $leftovers"
    echo "$checks checks, $failures failures"
    exit $((failures > 0))
}

# ---- Running the converter ---------------------------------------------------------------------------------------

# Leaves $status, $output and $complaints.
run() {
    checks=$((checks + 1))
    $emulator "$program" "$@" >"$scratch/out" 2>"$scratch/err"
    status=$?
    output=$(tr -d '\r' <"$scratch/out")
    complaints=$(tr -d '\r' <"$scratch/err")
}

succeeds() {
    run "$@"
    [[ $status == 0 && -z $complaints ]] || fail "$* gives status $status and says: $complaints"
}

contents() { find . -type f -exec md5sum {} + | sort; find . | sort; }

# refuses STATUS WORDS ARGUMENTS...: that status, those words, and no file anywhere has changed.
refuses() {
    local want=$1 words=$2 before
    shift 2
    before=$(contents)
    run "$@"
    [[ $status == "$want" && $complaints == *"$words"* ]] ||
        fail "$* gives status $status and says '$complaints', not $want and '$words'"
    [[ $(contents) == "$before" ]] || fail "$* has changed the files: $(diff <(echo "$before") <(contents))"
}

# refuses_all <<<LINES of "STATUS|WORDS|ARGUMENTS"; names in arguments have no spaces.
refuses_all() {
    local want words arguments
    while IFS='|' read -r want words arguments <&3; do
        # shellcheck disable=SC2086 # several arguments
        [[ -z $want ]] || refuses "$want" "$words" $arguments
    done 3<&0
}

# disk_full ARGUMENTS...: a limit on the size of files stands for a full disk.
disk_full() {
    local said
    [[ -n $emulator ]] || return 0
    trap '' XFSZ
    said=$(ulimit -f 16; refuses 1 'not all of it could be written' "$@")
    trap - XFSZ
    [[ -z $said ]] || fail "a full disk: $said"
}

# prints WORDS...: each is in what the last run has printed.
prints() {
    local words
    for words; do [[ $output == *"$words"* ]] || fail "'$words' is missing in: $output"; done
}

# ---- Pictures of our own -------------------------------------------------------------------------------------------

word() { printf '%02x%02x' $(($1 & 255)) $(($1 >> 8 & 255)); }
dword() { word $(($1 & 65535)); word $(($1 >> 16 & 65535)); }

# make_bmp FILE WIDTH HEIGHT BITS COLOURS HEX: palette and rows, the bottom one first, as hexadecimal bytes.
make_bmp() {
    local data=${6// /} head
    head=424d$(dword $((54 + ${#data} / 2)); dword 0; dword $((54 + 4 * $5)); dword 40; dword "$2"; dword "$3"
        word 1; word "$4"; dword 0; dword 0; dword 3937; dword 3937; dword "$5"; dword 0)
    printf '%b' "$(sed 's/../\\x&/g' <<<"$head$data")" >"$1"
}

# ends_in FILE HEX: the file's last bytes.
ends_in() {
    local want=${2// /} have
    have=$(tail -c $((${#want} / 2)) "$1" | od -An -v -tx1 | tr -d ' \n')
    [[ $have == "$want" ]] || fail "$1 ends in $have, not $want"
}

# ---- Judges ----------------------------------------------------------------------------------------------------------

imagemagick() {
    local candidate
    for candidate in /usr/bin/convert convert magick; do
        [[ $("$candidate" -version 2>/dev/null) == 'Version: ImageMagick'* ]] && echo "$candidate" && return
    done
    echo 'skipped: comparing with ImageMagick (package imagemagick)' >&2
    return 1
}

# differences FILE FILE: the largest and the smallest difference of their bytes, "0 0" where they are the same.
differences() {
    [[ -s $1 && $(stat -c %s "$1") == $(stat -c %s "$2") ]] || { echo 'of size'; return; }
    cmp -l "$1" "$2" | awk '
        function octal(s) { return int(s / 100) * 64 + int(s / 10) % 10 * 8 + s % 10 }
        { d = octal($2) - octal($3); if (d > most) most = d; if (d < least) least = d }
        END { print most + 0, least + 0 }'
}
