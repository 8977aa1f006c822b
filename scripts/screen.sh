# shellcheck shell=bash
# shellcheck disable=SC2154 # $own and $logs are set by setup.sh
# A screen in memory (Xvfb) and a Wine that draws on it. Sourced after setup.sh.
#
# Programs of one Wine prefix share a desktop, and with it the display of whoever came first. So what draws has
# prefixes of its own: wine/ beside them stays without a display.

# use_screen_wine: the prefix for screens in memory; callers take turns, by screen_lock (8).
use_screen_wine() {
    use_own_wine
    export WINEPREFIX=$own/wine-screen
    mkdir -p "$logs"
    exec 8>"$own/screen-lock"
    flock 8
    wine_is_ready || create_wine_prefix
}

# start_screen DEPTH SIZE: a screen of that many bits per pixel and WIDTHxHEIGHT, until the program ends.
start_screen() {
    local number=
    screen_folder=$(mktemp -d)
    : >"$screen_folder/number"
    trap stop_screen EXIT
    Xvfb -displayfd 7 -screen 0 "$2x$1" -nolisten tcp 7>"$screen_folder/number" >"$screen_folder/log" 2>&1 8>&- 9>&- &
    screen_process=$!
    for ((i = 0; i < 100; i++)); do
        number=$(<"$screen_folder/number")
        [[ -z $number ]] || break
        kill -0 "$screen_process" 2>/dev/null || break
        sleep 0.1
    done
    if [[ -z $number ]]; then
        cat "$screen_folder/log" >&2
        fail "Xvfb does not start."
    fi
    export DISPLAY=:$number
    set_up_drawing "$1"
}

# No window manager is there: Wine draws the frames. At 8 bits per pixel Wine has a palette that programs can realise
# only if it owns the colour map and leaves drawing to the X server.
set_up_drawing() {
    local own=N
    ((8 != $1)) || own=Y
    {
        wine reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /d N /f
        wine reg add 'HKCU\Software\Wine\X11 Driver' /v PrivateColorMap /d "$own" /f
        wine reg add 'HKCU\Software\Wine\X11 Driver' /v ClientSideGraphics /d "$([[ $own == Y ]] && echo N || echo Y)" /f
        wineserver -k || true # its desktop reads them when it starts
        wineserver -w
    } </dev/null >>"$logs/wine-screen.log" 2>&1 8>&- 9>&-
}

stop_screen() {
    wineserver -k >/dev/null 2>&1 || true
    [[ -z ${screen_process-} ]] || kill "$screen_process" 2>/dev/null || true
    wait "${screen_process-}" 2>/dev/null || true
    screen_process=
    [[ -z ${screen_folder-} ]] || rm -rf "$screen_folder"
}
