# shellcheck shell=bash
# What run.sh, test.sh and bench.sh share: one line a step, long output into a log, configure and build.
# Sourced from the top folder of the checkout.

root=$PWD
log_dir=$root/build/logs

# shellcheck source=scripts/packages.sh
. "$root/scripts/packages.sh"

say() {
    printf '%s\n' "$*"
}

# fail WHAT HINT: the last words of a step that went wrong, and what to do about it.
fail() {
    printf '\n%s\nWhat to do: %s\n' "$1" "$2" >&2
    exit 1
}

# step NAME TEXT HINT COMMAND...: says TEXT, runs the command with its output in build/logs/NAME.log.
# On failure the end of the log is shown with its path and HINT, and the script ends.
step() {
    local name=$1 text=$2 hint=$3 log
    shift 3
    log=$log_dir/$name.log
    mkdir -p "$log_dir"
    say "$text"
    if ! "$@" >"$log" 2>&1 </dev/null; then
        tail -n 40 "$log" >&2
        fail "Failed: $text. Whole output: $log" "$hint"
    fi
}

# configure PRESET: only when there is nothing yet, the presets changed, or other packages are installed than the last
# time: what is not installed is left out of the build. Changes of the CMake files themselves are seen by the build.
configure() {
    local preset=$1 dir=$root/build/$1 missing
    # The cache's own time does not move when a configure changes nothing, hence a stamp.
    local stamp=$dir/.configured
    missing=$(missing_packages "${packages_build[@]}" "${packages_test[@]}" "${packages_bench[@]}")
    if [ -f "$dir/CMakeCache.txt" ] && [ -f "$dir/build.ninja" ] && [ "$stamp" -nt CMakePresets.json ] &&
        [ "$(cat "$stamp")" = "$missing" ]; then
        return
    fi
    step "configure-$preset" "Configuring ($preset)" \
        "If a package is named above, install it; else remove build/$preset and try again." \
        cmake --preset "$preset"
    printf '%s\n' "$missing" >"$stamp"
}

# build PRESET TARGET...: silent when everything is up to date.
build() {
    local preset=$1 dir=$root/build/$1 plan first=""
    shift
    plan=$(cmake --build "$dir" --target "$@" -- -n 2>/dev/null || true)
    if [[ $plan == *"no work to do"* ]]; then
        return
    fi
    if [ ! -f "$dir/.ninja_log" ]; then
        first="; the first time takes some minutes"
    fi
    step "build-$preset" "Building ($preset)$first" \
        "The first error in the log tells the file. Short of memory? Try CMAKE_BUILD_PARALLEL_LEVEL=1." \
        cmake --build "$dir" --target "$@"
}
