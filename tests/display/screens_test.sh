#!/usr/bin/env bash
# Runs the tests that draw on a screen, once on a true-colour display and once on one with a palette.
# Usage: screens_test.sh DISPLAY_TEST.EXE
# Ends with 77, skipped, where Xvfb is absent.
set -euo pipefail
source "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/../../scripts/setup.sh"
source "$root/scripts/screen.sh"

program=$(realpath "$1")
if ! command -v Xvfb >/dev/null; then
    echo "Skipped: Xvfb is not installed, so there is no screen to draw on."
    exit 77
fi

use_screen_wine
for depth in 24 8; do
    echo "On a display of $depth bits per pixel:"
    start_screen "$depth" 640x480
    status=0
    ORN32_SCREEN_DEPTH=$depth timeout 100 wine "$program" --gtest_filter='Screen.*' 8>&- || status=$?
    stop_screen
    ((status == 0)) || exit "$status"
done
