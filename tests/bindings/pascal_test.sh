#!/usr/bin/env bash
# The unit for Delphi and Free Pascal, compiled for 32-bit Windows and run: calls.pas, and the program in first-steps.md.
# Debian's Free Pascal compiles for Linux alone, but its sources come with it: the compiler for Windows is made from them
# first, in some ten seconds, and kept.
# Usage: pascal_test.sh SOURCES PROGRAMS EMULATOR...; ends with 77 where there is no Free Pascal, or not its sources.
set -euo pipefail

root=$(realpath "$1")
programs=$(realpath "$2")
shift 2
emulator=("$@")

if ! command -v fpc >/dev/null; then
    echo 'skipped: Free Pascal is not installed'
    exit 77
fi
version=$(fpc -iV)
source_folder=/usr/share/fpcsrc/$version
if [[ ! -d $source_folder/compiler/i386 || ! -d $source_folder/rtl/win32 ]]; then
    echo 'skipped: Free Pascal has not its sources with it (fpc-source)'
    exit 77
fi
scratch=$(mktemp -d "${TMPDIR:-/tmp}/pascal test.XXXXXX")
trap 'rm -rf "$scratch"' EXIT

# quiet COMMAND...: its output is shown only if it fails.
quiet() {
    "$@" >"$scratch/output" 2>&1 || {
        cat "$scratch/output"
        echo "FAILED: $*"
        exit 1
    }
}

# The compiler, and of the run-time library what a small program needs.
make_compiler() {
    local made=$scratch/made texts
    texts=$(find /usr/lib/*/fpc/"$version"/msg -name errore.msg | head -n 1)
    mkdir "$made" "$made/units"
    cp -r "$source_folder/compiler" "$source_folder/rtl" "$scratch"
    cd "$scratch/compiler"
    quiet fpc utils/msg2inc.pp -FE. -o./msg2inc # the messages as source text, which Debian leaves out
    quiet ./msg2inc "$texts" msg msg
    mkdir units
    quiet fpc -O2 -di386 -Fux86 -Fui386 -Fusystems -Fii386 -Fix86 -FUunits -FEunits -Sgic -Mobjfpc pp.pas -o"$made/ppcross386"
    cd "$scratch/rtl/win32"
    for unit in '-Us system.pp' ../inc/fpintres.pp sysinitpas.pp ../objpas/objpas.pp windows.pp; do
        # shellcheck disable=SC2086 # an option and a file
        quiet "$made/ppcross386" -n -Twin32 -Pi386 -O2 -Sc -Sg -Fi../inc -Fi../i386 -Fi../win -Fi../win/wininc -Fi../objpas \
            -Fu../inc -Fu../win -Fu../objpas -FU"$made/units" $unit
    done
    rm -rf "$kept"
    mv "$made" "$kept"
}

# program FILE: compiles and runs it in the scratch folder.
program() {
    cd "$scratch"
    quiet "$kept/ppcross386" -n -Twin32 -Pi386 -Sew -vw -Fu"$kept/units" -Fu"$scratch/units" -XX "$1"
    quiet "${emulator[@]}" "./${1%.pas}.exe"
}

kept=$programs/pascal-$version
[[ -x $kept/ppcross386 && -e $kept/units/windows.ppu ]] || make_compiler

mkdir -p "$scratch/units"
quiet python3 -B "$root/bindings/generate.py" "$root/include/orn32.h" "$scratch/units"
cp "$programs/orn32.dll" "$root/tests/bindings/calls.pas" "$scratch"
awk '/^```pascal$/ { on = 1; next } /^```$/ { on = 0 } on' "$root/docs/first-steps.md" >"$scratch/black.pas"
program calls.pas
program black.pas
file=$(od -An -tx1 -j16 -N8 "$scratch/black.png" | tr -d ' ')
[[ $file == 00000140000000c8 ]] || {
    echo "FAILED: the guide's program leaves no picture of 320 x 200"
    exit 1
}
