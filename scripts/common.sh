# shellcheck shell=bash
# Functions shared by run.sh, test.sh and bench.sh: steps with one line of output and a log file, configure and build.
# Sourced from the top folder of the checkout.

root=$PWD
log_dir=$root/build/logs

# shellcheck source=scripts/packages.sh
. "$root/scripts/packages.sh"

say() {
    printf '%s\n' "$*"
}

# fail WHAT HINT: prints an error and a hint, then exits.
fail() {
    printf '\n%s\nWhat to do: %s\n' "$1" "$2" >&2
    exit 1
}

# step NAME TEXT HINT COMMAND...: prints TEXT and runs the command with its output in build/logs/NAME.log.
# On failure prints the end of the log, its path and HINT, then exits.
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

# same_for_everyone: makes the packages of one commit the same, whoever builds them. Compilers, linkers and packers take
# their date from SOURCE_DATE_EPOCH.
same_for_everyone() {
    export SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct)} TZ=UTC LC_ALL=C.UTF-8
    umask 022
    if [ -n "$(git status --porcelain)" ]; then
        say "Note: the package differs from the last commit, because the tree has changes"
    fi
}

# configure PRESET: configures only when there is no build folder, the presets have changed, or the set of installed
# packages has changed (parts with missing packages are not built). The build detects changes of the CMake files itself.
configure() {
    local preset=$1 dir=$root/build/$1 missing
    # A stamp, because CMake does not touch its cache file when nothing in it changes.
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

# build PRESET TARGET...: builds; prints nothing when everything is up to date.
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
