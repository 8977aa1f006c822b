# shellcheck shell=bash
# shellcheck disable=SC2154 # $root, $build and $logs are set by setup.sh
# The library as a 32-bit Linux program, for ./check and ./fuzz. Sourced after setup.sh.

# build_native FOLDER TARGET NAME=VALUE...: configures tests/native into build/FOLDER with the settings, and builds the
# target.
build_native() {
    local folder=$1 target=$2
    shift 2
    : >"$logs/$folder.log"
    say "Building build/$folder ..."
    run_logged "$folder.log" cmake -S "$root/tests/native" -B "$build/$folder" -G Ninja "${@/#/-D}" ||
        fail_with_log "$folder.log" "CMake could not configure build/$folder."
    run_logged "$folder.log" cmake --build "$build/$folder" --target "$target" ||
        fail_with_log "$folder.log" "The build of build/$folder failed."
}

# Blocks beyond this fail as they would where memory is short, instead of ending the program.
export ASAN_OPTIONS=allocator_may_return_null=1:max_allocation_size_mb=256
export UBSAN_OPTIONS=print_stacktrace=1
