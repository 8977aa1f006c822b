# shellcheck shell=bash
# shellcheck disable=SC2034 # the callers use $release
# What ./ornconvert, ./test, .ci/run and bench/run share: talking to the user, the project's own Wine, the build.
# Sourced, never run. The caller has `set -euo pipefail`.

root=$(cd -P "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=$root/build
release=$build/release
# What is written besides the build: Wine's folders, logs, locks. Wine runs for its folder's owner only, so where build/
# is another user's or read-only, they are in the caller's cache, and what is built can be run all the same.
own=$build
if [[ -e $build && ! (-O $build && -w $build) ]]; then
    own=${XDG_CACHE_HOME:-~/.cache}/orn32
fi
logs=$own/log

# shellcheck source=scripts/packages.sh
source "$root/scripts/packages.sh"
# shellcheck source=scripts/quiet_wine.sh
source "$root/scripts/quiet_wine.sh"

# --- talking -----------------------------------------------------------------------------------------------------

# All of it goes to standard error: standard output belongs to the programs.
say() { printf 'orn32: %s\n' "$*" >&2; }

fail() {
    say "$@"
    exit 1
}

# Shows the latest line of a long step in place; without a terminal it is told now and then.
show_latest_line() {
    local line width told=$SECONDS
    if [[ ! -t 2 ]]; then
        while IFS= read -r line; do
            ((SECONDS >= told + 20)) || continue
            say "... $line"
            told=$SECONDS
        done
        return
    fi
    width=$(stty size <&2) # rows and columns
    width=${width#* }
    ((width > 3)) || width=80 # a terminal that does not know
    while IFS= read -r line; do
        line=${line//[[:cntrl:]]/ }
        printf '\r\e[K  %s' "${line:0:width - 3}" >&2
    done
    printf '\r\e[K' >&2
}

# run_logged LOG COMMAND...: runs the command with its output in build/log/LOG, and returns its status.
# Nothing it starts may read the user's input or keep the set-up's lock (9) after it has ended.
run_logged() {
    local log=$logs/$1
    shift
    printf '+ %s\n' "$*" >>"$log"
    "$@" </dev/null 2>&1 9>&- | tee -a "$log" | show_latest_line
}

# fail_with_log LOG SENTENCE...: ends with the tail of the log and the sentence that sums it up.
fail_with_log() {
    local log=$logs/$1
    shift
    tail -n 25 "$log" >&2
    fail "$* All of the output is in ${log#"$root/"}."
}

# with_lock COMMAND...: runs the command while no other call of this user is setting things up.
with_lock() {
    mkdir -p "$logs" 2>/dev/null || fail "The folder $own cannot be made:" \
        "what is built here, and Wine's files, need a place that this user may write to."
    (
        flock --nonblock 9 || {
            say "Waiting for another call, which is setting things up ..."
            flock 9
        }
        "$@"
    ) 9>"$own/lock"
}

# in_turn COMMAND...: the same for a command that installs or builds.
in_turn() {
    [[ $own == "$build" ]] || fail "Something is to be built, but $build is another user's, or read-only." \
        "Use a checkout of your own, or remove that folder first: sudo rm -rf '$build'"
    with_lock "$@"
}

# --- Wine --------------------------------------------------------------------------------------------------------

# A prefix of the project's own; no display, and no desktop menus, .NET or HTML engine to ask for.
# Wine reads file names in the locale's encoding: only UTF-8 can tell them all, whatever the user's locale is.
use_own_wine() {
    export WINEPREFIX=$own/wine WINEARCH=win32
    export WINEDLLOVERRIDES='winemenubuilder.exe=d;mscoree,mshtml='
    export LC_ALL=C.UTF-8
    unset DISPLAY
    # Wine's font list is cached in the home folder; an account without one would be told so at every start.
    [[ -w ${HOME-} ]] || export XDG_CACHE_HOME=$own/cache
}

# The prefix is $WINEPREFIX.
wine_is_ready() { [[ -e $WINEPREFIX/.ready && -O $WINEPREFIX ]] && command -v wine >/dev/null; }

# Wine's server and services stay for some seconds after the last program, and a program that finds them starts six
# times as fast. They keep the standard error of whoever started them, so that a pipe from there would end only with
# them: hence they are started here, with none, before a program of ours can do it.
start_wine() {
    if wineserver -p30 </dev/null >/dev/null 2>&1 9>&-; then
        wine cmd /c exit </dev/null >/dev/null 2>&1 9>&- || true
    fi
}

stop_wine() {
    ! command -v wineserver >/dev/null || wineserver -k || true
}

create_wine_prefix() {
    local folder=${WINEPREFIX#"$root/"}
    wine_is_ready && return
    say "Setting up Wine's own folder, $folder (once, some ten seconds) ..."
    rm -rf "$WINEPREFIX" # an interrupted attempt
    # A crash shall print its backtrace; a dialog that nobody answers would hang the caller.
    if ! {
        wineboot -i &&
            wine reg add 'HKCU\Software\Wine\WineDbg' /v ShowCrashDialog /t REG_DWORD /d 0 /f &&
            wineserver -w # its registry is on the disk when it ends
    } </dev/null >"$logs/wine.log" 2>&1 8>&- 9>&-; then
        fail_with_log wine.log "Wine could not set up $folder."
    fi
    touch "$WINEPREFIX/.ready"
}

# --- the build ---------------------------------------------------------------------------------------------------

# build_release TARGET...: the targets named; `all` is everything.
build_release() {
    local built_for
    cd "$root" || return
    : >"$logs/build.log"
    say "Building ..."
    # CMake refuses a build folder that has moved with its checkout.
    built_for=$(sed -n 's/^CMAKE_HOME_DIRECTORY:INTERNAL=//p' "$release/CMakeCache.txt" 2>/dev/null) || true
    [[ -z $built_for || $built_for -ef $root ]] || rm -rf "$release"
    run_logged build.log cmake --preset release || fail_with_log build.log "CMake could not configure the build."
    run_logged build.log cmake --build --preset release --target "$@" || fail_with_log build.log "The build failed."
}

# program_is_ready NAME: whether it is built, newer than all that it is made of, and Wine is there to run it. No build
# tool is asked, as that would take longer.
program_is_ready() {
    local -a sources=()
    local name stamp=$release/$1-built
    [[ -e $stamp && -e $release/$1.exe && -e $release/orn32.dll ]] || return
    command -v wine >/dev/null || return
    for name in CMakeLists.txt CMakePresets.json cmake include core io process gif png jpeg examples; do
        [[ ! -e $root/$name ]] || sources+=("$root/$name")
    done
    [[ -z $(find "${sources[@]}" -newer "$stamp" -print -quit) ]]
}

# prepare_program NAME: builds it, after installing what that and running it take.
prepare_program() {
    program_is_ready "$1" && return # another call was faster
    install_missing "${building_and_running[@]}"
    touch "$build/$1-build-began" # an edit made while the build runs must count as newer
    build_release orn32 "$1"
    mv "$build/$1-build-began" "$release/$1-built"
}
