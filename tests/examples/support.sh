# shellcheck shell=bash
# shellcheck disable=SC2034 # the scripts use what is set here
# What the converter's test scripts share: their arguments, a scratch folder to work in, running the program and
# counting failures. Sourced with the script's own arguments.
set -u
export LC_ALL=C.UTF-8
source "$(dirname "${BASH_SOURCE[0]}")/../../scripts/quiet_wine.sh"

program=$(realpath "$1")
corpus=$(realpath -m "$2")
emulator=${3:-}
scratch=$(mktemp -d "${TMPDIR:-/tmp}/ornconvert test.XXXXXX")
trap 'rm -rf "$scratch"' EXIT
mkdir "$scratch/files" && cd "$scratch/files" || exit 1

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

succeeds() {
    run "$@"
    [[ $status == 0 && -z $complaints ]] || fail "$* gives status $status and says: $complaints"
}

prints() { [[ $output == *"$1"* ]] || fail "'$1' is missing in: $output"; }

imagemagick() {
    local candidate
    for candidate in /usr/bin/convert convert magick; do
        [[ $("$candidate" -version 2>/dev/null) == 'Version: ImageMagick'* ]] && echo "$candidate" && return
    done
    return 1
}
