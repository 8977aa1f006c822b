#!/usr/bin/env bash
# Runs the tests that need a screen: drawing on a true-colour display and on one with a palette, and the viewer.
# Usage: screens_test.sh DISPLAY_TEST.EXE VIEWER_TEST.EXE ORNVIEW.EXE
# Ends with 77, skipped, where Xvfb is absent.
set -euo pipefail
source "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/../../scripts/setup.sh"
source "$root/scripts/screen.sh"

if ! command -v Xvfb >/dev/null; then
    echo "Skipped: Xvfb is not installed, so there is no screen to draw on."
    exit 77
fi
display_test=$(realpath "$1") viewer_test=$(realpath "$2")
ORNVIEW=Z:$(realpath "$3") # Wine takes either slash
export ORNVIEW

# on_screen DEPTH PROGRAM [ARGUMENTS]
on_screen() {
    local depth=$1 status=0
    shift
    echo "On a display of $depth bits per pixel:"
    start_screen "$depth" 800x600
    ORN32_SCREEN_DEPTH=$depth timeout 100 wine "$@" 8>&- || status=$?
    stop_screen
    ((status == 0)) || exit "$status"
}

use_screen_wine
on_screen 24 "$display_test" --gtest_filter='Screen.*'
on_screen 8 "$display_test" --gtest_filter='Screen.*'
on_screen 24 "$viewer_test" --gtest_filter='Viewer*'
