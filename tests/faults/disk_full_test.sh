#!/usr/bin/env bash
# disk_full_test.sh FAULTS_TEST [EMULATOR]: its tests of full disks, in processes whose files are limited to 64 and to
# 100 KB: real writes that are cut short.
# shellcheck disable=SC2086 # $emulator is none, or one word
set -euo pipefail
program=$1
emulator=${2-}

trap '' XFSZ # a write beyond the limit then fails, instead of ending the process
# Wine's server must not be started under the limit: it would cut its registry short.
$emulator "$program" --gtest_filter='DiskFull.*' >/dev/null
for kilobytes in 64 100; do
    (
        export ORN32_FILES_ARE_LIMITED=1
        ulimit -f "$kilobytes"
        exec $emulator "$program" --gtest_filter='DiskFull.*'
    )
done
