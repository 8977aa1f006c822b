# shellcheck shell=bash
# shellcheck disable=SC2034 # the callers use $release
# What ./ornconvert, ./test, .ci/run and bench/run share: talking to the user, the project's own Wine, the build.
# Sourced, never run. The caller has `set -euo pipefail`.

root=$(cd -P "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=$root/build
release=$build/release
logs=$build/log

# shellcheck source=scripts/packages.sh
source "$root/scripts/packages.sh"

# --- talking -----------------------------------------------------------------------------------------------------

# All of it goes to standard error: standard output belongs to the programs.
say() { printf 'orn32: %s\n' "$*" >&2; }

fail() {
    say "$@"
    exit 1
}

# Shows the latest line of a long step in place; without a terminal the step is only announced.
show_latest_line() {
    local line width
    if [[ ! -t 2 ]]; then
        cat >/dev/null
        return
    fi
    width=$(stty size <&2) # rows and columns
    width=${width#* }
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

# in_turn COMMAND...: runs the command while no other call in this checkout is setting things up.
in_turn() {
    mkdir -p "$logs"
    if [[ ! -O $build ]]; then
        fail "$build belongs to another user, and Wine runs for its folder's owner only." \
            "Remove it and call again: sudo rm -rf '$build'"
    fi
    (
        flock 9
        "$@"
    ) 9>"$build/lock"
}

# --- Wine --------------------------------------------------------------------------------------------------------

# A prefix of the project's own; no display, and no desktop menus, .NET or HTML engine to ask for.
# Wine reads file names in the locale's encoding: only UTF-8 can tell them all, whatever the user's locale is.
use_own_wine() {
    export WINEPREFIX=$build/wine WINEARCH=win32 WINEDEBUG=${WINEDEBUG:--all}
    export WINEDLLOVERRIDES='winemenubuilder.exe=d;mscoree,mshtml='
    export LC_ALL=C.UTF-8
    unset DISPLAY
    # Wine's font list is cached in the home folder; an account without one would be told so at every start.
    [[ -w ${HOME-} ]] || export XDG_CACHE_HOME=$build/cache
}

wine_is_ready() { [[ -e $build/wine/.ready && -O $build/wine ]] && command -v wine >/dev/null; }

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
    wine_is_ready && return
    say "Setting up Wine's own folder, build/wine (once, some ten seconds) ..."
    rm -rf "$build/wine" # an interrupted attempt
    # A crash shall print its backtrace; a dialog that nobody answers would hang the caller.
    if ! {
        wineboot -i &&
            wine reg add 'HKCU\Software\Wine\WineDbg' /v ShowCrashDialog /t REG_DWORD /d 0 /f &&
            wineserver -w # its registry is on the disk when it ends
    } </dev/null >"$logs/wine.log" 2>&1 9>&-; then
        fail_with_log wine.log "Wine could not set up build/wine."
    fi
    touch "$build/wine/.ready"
}

# --- the build ---------------------------------------------------------------------------------------------------

# build_release TARGET...: the targets named; `all` is everything.
build_release() { build_preset release "$@"; }

# build_preset PRESET TARGET...: into build/PRESET.
build_preset() {
    local preset=$1
    shift
    cd "$root" || return
    : >"$logs/build.log"
    say "Building ..."
    run_logged build.log cmake --preset "$preset" || fail_with_log build.log "CMake could not configure the build."
    run_logged build.log cmake --build --preset "$preset" --target "$@" || fail_with_log build.log "The build failed."
}
