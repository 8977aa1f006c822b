#!/usr/bin/env bash
# Unpacks the package in a scratch folder, and builds and runs programs against what is in it:
# consumers_test.sh ARCHIVE. Wants wine, with a prefix in the environment. Compilers that are missing are told and skipped.
set -euo pipefail

archive=$(readlink -f "$1")
here=$(cd -P "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$(cd -P "$here/../.." && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
source "$root/scripts/quiet_wine.sh"
cd "$scratch"
failures=0

/usr/bin/python3 -m zipfile -e "$archive" .
package=$scratch/$(basename "$archive" .zip)
version=$(basename "$archive" -win32.zip)
version=${version#orn32-}
cp "$here"/*.[ch] "$here/CMakeLists.txt" .
cp "$package/bin/orn32.dll" .
sed -n 's/^ *\([A-Za-z]\w*\)@[0-9]*\r\?$/"\1",/p' "$package/lib/orn32.def" >names.h

# expect NAME COMMAND...: one check.
expect() {
    local name=$1 status=0
    shift
    "$@" >output.txt 2>&1 || status=$?
    if ((status == 0)); then
        echo "ok      $name"
    else
        echo "FAILED  $name: $* ended with $status"
        cat output.txt
        failures=$((failures + 1))
    fi
}

# program NAME COMPILER...: builds NAME.exe, and runs it.
program() {
    local name=$1
    shift
    expect "$name is built" "$@"
    rm -f t.bmp t.png t.jpg t.gif
    [[ ! -e $name.exe ]] || expect "$name runs" wine "$name.exe"
}

have() {
    command -v "$1" >/dev/null || {
        echo "skipped: $1 is not installed"
        return 1
    }
}

contains() { grep -aqF -- "$2" "$1"; }

gcc=i686-w64-mingw32-gcc
warnings=(-Wall -Wextra -Werror)
folders=(-I "$package/include" -L "$package/lib")

expect "the version stands in the header" contains "$package/include/orn32.h" "\"$version\""
expect "the version stands in the CMake package" contains "$package/lib/cmake/orn32/orn32ConfigVersion.cmake" "\"$version\""
expect "the version stands in the pkg-config file" contains "$package/lib/pkgconfig/orn32.pc" "Version: $version"
wine "$package/bin/ornconvert.exe" --version >version.txt 2>/dev/null || true
expect "the converter tells the version" contains version.txt "ornconvert $version "
# shellcheck disable=SC2016 # expanded by the inner shell
expect "no folder of this machine is told" bash -c '! grep -raF -- "$1" "$2"' - "$root" "$package"

program gcc "$gcc" "${warnings[@]}" -O2 plain.c "${folders[@]}" -lorn32 -o gcc.exe
program c89 "$gcc" "${warnings[@]}" -std=c89 -pedantic plain.c "${folders[@]}" -lorn32 -o c89.exe
program loader "$gcc" "${warnings[@]}" -I "$package/include" -I . loader.c -o loader.exe
program misaligned "$gcc" "${warnings[@]}" -O2 -mpreferred-stack-boundary=2 misaligned.c "${folders[@]}" -lorn32 -o misaligned.exe

expect "CMake finds the package" cmake -S . -B by_cmake -DCMAKE_SYSTEM_NAME=Windows -DCMAKE_C_COMPILER=$gcc \
    "-DCMAKE_PREFIX_PATH=$package" -DCMAKE_RUNTIME_OUTPUT_DIRECTORY="$scratch"
program by_cmake cmake --build by_cmake

if have clang; then
    library_folder=$(dirname "$($gcc -print-libgcc-file-name)")
    program clang clang --target=i686-w64-windows-gnu "${warnings[@]}" -O2 plain.c "${folders[@]}" "-L$library_folder" \
        --ld-path="$(command -v i686-w64-mingw32-ld)" -lorn32 -o clang.exe
    if have lld-link; then
        expect "start.c is compiled" clang --target=i686-w64-windows-gnu "${warnings[@]}" -O2 -c start.c -I "$package/include" -o start.obj
        program lld lld-link /nologo /subsystem:console /entry:start /nodefaultlib /safeseh:no /out:lld.exe start.obj \
            "$package/lib/orn32.lib" "$($gcc -print-file-name=libkernel32.a)"
    fi
fi
if have pkg-config; then
    flags=$(PKG_CONFIG_PATH=$package/lib/pkgconfig pkg-config --cflags --libs orn32 || true)
    # shellcheck disable=SC2086 # the flags are words
    program by_pkgconfig "$gcc" plain.c $flags -o by_pkgconfig.exe
fi

((failures == 0)) || {
    echo "$failures checks failed"
    exit 1
}
