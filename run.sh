#!/usr/bin/env bash
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
# shellcheck source=scripts/common.sh
. scripts/common.sh

usage() {
    cat <<'USAGE'
Usage: ./run.sh [--build-only]

Installs missing packages (Debian 12), builds Ostravel, makes a demo flight and starts the program. Without a display
the program runs on a virtual screen, opens the demo flight, shows fifteen curves and saves a screenshot.

  --build-only   stop after the build
USAGE
}

build_only=false
for argument in "$@"; do
    case $argument in
    --build-only) build_only=true ;;
    -h | --help)
        usage
        exit 0
        ;;
    *)
        usage >&2
        exit 2
        ;;
    esac
done

on_screen=true
if [ -z "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
    on_screen=false
fi

packages=("${packages_build[@]}")
if ! $on_screen && ! $build_only; then
    packages+=("${packages_screen[@]}")
fi
install_packages "${packages[@]}"
configure release
build release Ostravel ostravel-demo wmts
if $build_only; then
    exit 0
fi

program=$root/build/release/bin/Ostravel
tiles=$root/build/release/bin/tiles/demo.mbtiles
generator=$root/build/release/bin/ostravel-demo
flights=$root/demo-flights
flight=$flights/demo-flight.txt

make_flight() {
    # Uses a temporary name, so that an interrupted run does not leave a partial flight.
    "$generator" log --minutes 120 --seed 1 "$flights/.unfinished.txt" && mv "$flights/.unfinished.txt" "$flight"
}

mkdir -p "$flights" "${tiles%/*}"
if [ ! -s "$flight" ] || [ "$generator" -nt "$flight" ]; then
    step demo-flight "Making a demo flight of two hours" "Is there room on the disk? 'df -h .' tells." make_flight
fi
if [ ! -s "$tiles" ]; then
    step demo-tiles "Making a demo map" "Is there room on the disk? 'df -h .' tells." "$generator" tiles "$tiles"
fi
say "Demo flight: $flight"

# The program's file dialog opens in the working directory.
cd "$flights"
if $on_screen; then
    say "Starting Ostravel: Ctrl+O selects the flight, Ctrl+R reads it, the boxes at the left show curves"
    exec "$program"
fi

say "There is no display: starting Ostravel on a virtual screen"
screenshot=$flights/screenshot.png
if ! /usr/bin/python3 "$root/scripts/show_flight.py" "$program" "$flight" "$screenshot" >"$log_dir/show.log" 2>&1; then
    tail -n 40 "$log_dir/show.log" >&2
    fail "Driving the program failed. Whole output: $log_dir/show.log, program's own log: $flights/logs/log.txt" \
        "Start it on a real display, or look at $screenshot when it is there."
fi
say "Screenshot: $screenshot"
