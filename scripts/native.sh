# shellcheck shell=bash
# shellcheck disable=SC2154 # $root, $build and $logs are set by setup.sh
# The library as a 32-bit Linux program, for ./check and ./fuzz. Sourced after setup.sh.

# build_native PRESET TARGET: configures tests/native into build/PRESET, and builds the target.
build_native() {
    local preset=$1 target=$2
    : >"$logs/$preset.log"
    say "Building build/$preset ..."
    cd "$root/tests/native" || return
    run_logged "$preset.log" cmake --preset "$preset" ||
        fail_with_log "$preset.log" "CMake could not configure build/$preset."
    run_logged "$preset.log" cmake --build --preset "$preset" --target "$target" ||
        fail_with_log "$preset.log" "The build of build/$preset failed."
}

# Blocks beyond this fail as they would where memory is short, instead of ending the program.
export ASAN_OPTIONS=allocator_may_return_null=1:max_allocation_size_mb=256
export UBSAN_OPTIONS=print_stacktrace=1
