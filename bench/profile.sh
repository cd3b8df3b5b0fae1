#!/usr/bin/env bash
# Shows where the time goes: the functions with most samples, of each work of an analyst. bench/PROFILE.md has the results.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/common.sh
. scripts/common.sh

usage() {
    cat <<'USAGE'
Usage: bench/profile.sh [WORK...]

Builds the release with debugging information in build/profile, runs each WORK under perf and prints the ten functions
with most samples. Works: read (by the program), core (readFlight), replot, workbook, csv, start. All files go
to build/profile/work; "perf report -i build/profile/work/WORK.data" shows one with its callers.
USAGE
}

works=(read core replot workbook csv start)
case ${1:-} in
-h | --help)
    usage
    exit 0
    ;;
-*)
    usage >&2
    exit 2
    ;;
?*) works=("$@") ;;
esac

install_packages "${packages_build[@]}" "${packages_deeper[@]}"
build=build/profile
bin=$root/$build/bin
bench=$root/$build/bench
step profile-configure "Configuring with debugging information" "Remove $build and try again." \
    cmake -G Ninja -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DOSTRAVEL_LTO=ON -DBUILD_TESTING=OFF \
    -DCMAKE_CXX_FLAGS=-g
step profile-build "Building" "The first error in the log tells the file." \
    cmake --build "$build" --target Ostravel ostravel-convert ostravel-demo bench_plot bench_read bench_start read_flight_bench

work=$root/$build/work
mkdir -p "$work"
[ -s "$work/flight.txt" ] || "$bin/ostravel-demo" log "$work/flight.txt" --minutes 120 --seed 1
# The programs write their logs to the working directory.
cd "$work"
export QT_QPA_PLATFORM=offscreen LC_ALL=C.UTF-8

# profile WORK COMMAND...: the clock of the processor's own counters is missing on many virtual machines.
profile() {
    local name=$1
    shift
    perf record --quiet -e cpu-clock -F 1999 -g -o "$name.data" -- "$@" >"$name.log" 2>&1 ||
        fail "$name failed, see $work/$name.log." "As an ordinary user: sudo sysctl kernel.perf_event_paranoid=1"
    say ""
    say "$name:"
    # The system's libraries are stripped: their inner functions have no names and count together, as the kernel does.
    perf report --stdio --no-children -g none -i "$name.data" -F overhead,dso,symbol -t '|' 2>/dev/null | awk -F'|' '
        /^ *[0-9.]+%/ {
            gsub(/^ +| +$/, "", $2)
            gsub(/^ *\[.\] | +$/, "", $3)
            gsub(/ostravel::|QXlsx::|\(anonymous namespace\)::/, "", $3)
            sub(/<\(unsigned char\)4, .*>/, "<...>", $3)
            sub(/\.so\..*/, "", $2)
            function_name = $2 ~ /^\[kernel/ ? "kernel" : $3 ~ /^0x/ ? $2 ": inner functions" : $2 ": " $3
            part[function_name] += $1
        }
        END { for (name in part) printf "%5.1f %%  %s\n", part[name], name }' | sort -rn | head -n 10
}

for name in "${works[@]}"; do
    case $name in
    read) profile read "$bench/bench_read" --memory flight.txt ;;
    core) profile core bash -c 'yes "" | head -n 20 | "$1" flight.txt' - "$bench/read_flight" ;;
    replot) profile replot "$bench/bench_plot" --replots 200 ;;
    workbook) profile workbook "$bin/ostravel-convert" --overwrite -j 1 -f xlsx -o "$work/out" flight.txt ;;
    csv) profile csv "$bin/ostravel-convert" --overwrite -j 1 -f csv -o "$work/out" flight.txt ;;
    start) profile start bash -c 'for i in 1 2 3 4 5 6 7 8 9 10; do "$1" --program; done' - "$bench/bench_start" ;;
    *) fail "There is no work $name." "Works are: read core replot workbook csv start" ;;
    esac
done
