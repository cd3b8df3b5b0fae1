#!/usr/bin/env bash
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
# shellcheck source=scripts/common.sh
. scripts/common.sh

usage() {
    cat <<'USAGE'
Usage: ./bench.sh [NAME...]

Installs missing packages (Debian 12), builds the release preset, runs all benchmarks or those named (./bench.sh read
plot runs bench_read and bench_plot) and prints one table. Run it on a machine that does nothing else.

A benchmark is a program build/release/bench/bench_*. Lines of its standard output of the form
    name | floor | measured | ratio | target
are rows of the table; all other output goes to build/logs/bench.log. Benchmarks that cannot be built are listed with
the missing package.

Only by name, because it takes minutes and much memory: scale, time and memory of flights of 10,000 to 5,000,000
frames, with columns of its own.
USAGE
}

# Not among the benchmarks that run without a name.
only_by_name=(bench_scale)

case ${1:-} in
-h | --help)
    usage
    exit 0
    ;;
-*)
    usage >&2
    exit 2
    ;;
esac

install_packages "${packages_build[@]}" "${packages_bench[@]}"
configure release
build release Ostravel ostravel-demo bench/all

folder=$root/build/release/bench
programs=()
if [ $# -gt 0 ]; then
    for name in "$@"; do
        programs+=("$folder/bench_${name#bench_}")
    done
else
    for program in "$folder"/bench_*; do
        if [ -f "$program" ] && [ -x "$program" ] && [[ " ${only_by_name[*]} " != *" ${program##*/} "* ]]; then
            programs+=("$program")
        fi
    done
fi
[ "${#programs[@]}" -gt 0 ] || fail "There are no benchmarks in $folder." "Remove build/release and try again."

log=$log_dir/bench.log
mkdir -p "$log_dir"
: >"$log"
rows=()
failed=()
# The measured program writes its log to the working directory.
cd "$folder"
for program in "${programs[@]}"; do
    name=${program##*/}
    [ -x "$program" ] || fail "There is no benchmark $name." "Names are: $(find "$folder" -maxdepth 1 -type f -name 'bench_*' -printf '%f ' | sort)"
    # Only on a terminal, so that redirected output contains just the table.
    [ ! -t 2 ] || printf 'Running %s\n' "$name" >&2
    if ! output=$(QT_QPA_PLATFORM=${QT_QPA_PLATFORM:-offscreen} LC_ALL=C.UTF-8 "$program" 2>>"$log" </dev/null); then
        failed+=("$name")
    fi
    while IFS= read -r line; do
        case $line in
        *\|*\|*\|*\|*) rows+=("$line") ;;
        *) printf '%s: %s\n' "$name" "$line" >>"$log" ;;
        esac
    done <<<"$output"
done

# A benchmark with columns of its own prints their names as its first row.
[[ ${rows[0]:-} == "name |"* ]] || rows=("name | floor | measured | ratio | target" "${rows[@]}")
printf '%s\n' "${rows[@]}" | awk -F'|' '
    {
        for (i = 1; i <= NF; ++i) {
            gsub(/^[ \t]+|[ \t]+$/, "", $i)
            cell[NR, i] = $i
            if (length($i) > width[i])
                width[i] = length($i)
        }
        if (NF > columns)
            columns = NF
    }
    END {
        for (row = 1; row <= NR; ++row) {
            line = ""
            for (i = 1; i <= columns; ++i)
                line = line (i > 1 ? " | " : "") sprintf("%-" width[i] "s", cell[row, i])
            sub(/ +$/, "", line)
            print line
            if (row == 1) {
                gsub(/[^|]/, "-", line)
                print line
            }
        }
    }'

if [ -s "$folder/not-built" ]; then
    sed 's/^/Not built: /' "$folder/not-built"
fi

if [ "${#failed[@]}" -gt 0 ]; then
    tail -n 20 "$log" >&2
    fail "Failed: ${failed[*]}. Whole output: $log" "Run the one that failed by itself: $folder/${failed[0]}"
fi
