#!/usr/bin/env bash
# Runs the fuzz targets in parallel with the address and undefined-behaviour sanitizers.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
# shellcheck source=scripts/common.sh
. scripts/common.sh

usage() {
    cat <<'USAGE'
Usage: tests/fuzz/run.sh MINUTES [TARGET...]

Installs missing packages (Debian 12), builds the fuzz targets with clang and runs all of them, or the named ones (Log,
Workbook, ...), for MINUTES each, one per processor in parallel. The corpus in build/fuzz/corpus/TARGET starts with the
committed seeds. MapFiles is the file reading of the map page: a generator in JavaScript, in a browser. Findings are
written to build/fuzz/findings/TARGET. After fixing a finding, commit its file as a seed in tests/fuzz/seeds. Returns
status 1 if there is a finding.
USAGE
}

case ${1:-} in
[1-9]*) ;;
*)
    usage
    [ "${1:-}" = -h ] || [ "${1:-}" = --help ] || exit 2
    exit 0
    ;;
esac
seconds=$(($1 * 60))
shift

# Sufficient input length of each target in bytes; longer inputs only make runs slower.
declare -A length=([CApi]=4096 [Config]=3000 [Database]=8192 [Log]=3000 [MapFiles]=0 [Request]=9000 [Route]=3000
    [Tiles]=8192 [Workbook]=20000)
targets=("$@")
[ ${#targets[@]} -gt 0 ] || mapfile -t targets < <(printf '%s\n' "${!length[@]}" | sort)
for target in "${targets[@]}"; do
    [ -n "${length[$target]:-}" ] || fail "There is no fuzz target $target." "Names are: ${!length[*]}"
done

install_packages "${packages_build[@]}" "${packages_test[@]}" "${packages_deeper[@]}"
configure fuzz
programs=("${targets[@]/#/Fuzz}")
build fuzz "${programs[@]/#FuzzMapFiles/ostravel_map_page}"

export LSAN_OPTIONS=suppressions=$root/tests/sanitizers/leaks.txt:print_suppressions=0
run() {
    local target=$1 corpus=build/fuzz/corpus/$1 findings=build/fuzz/findings/$1
    mkdir -p "$corpus" "$findings"
    if [ "$target" = MapFiles ]; then
        /usr/bin/python3 -B tests/fuzz/map/mapfiles.py --page build/fuzz/bin/Leaflet/demo.html \
            --minutes $((seconds / 60)) --findings "$findings" >"build/fuzz/$target.log" 2>&1
        return
    fi
    # More than 25 s or more than 2 GB of memory is a finding.
    build/fuzz/bin/Fuzz"$target" -max_total_time="$seconds" -max_len="${length[$target]}" -timeout=25 -rss_limit_mb=2048 \
        -artifact_prefix="$findings/" "$corpus" "tests/fuzz/seeds/${target,,}" >"build/fuzz/$target.log" 2>&1
}

say "Fuzzing ${targets[*]}, ${seconds} s each"
status=0
declare -A target_of
for target in "${targets[@]}"; do
    while [ "$(jobs -rp | wc -l)" -ge "$(nproc)" ]; do
        sleep 1
    done
    run "$target" &
    target_of[$!]=$target
done
for job in "${!target_of[@]}"; do
    target=${target_of[$job]}
    if wait "$job"; then
        say "$target: no finding, $(sed -n 's/^Done \([0-9]* runs\).*/\1/p' "build/fuzz/$target.log")"
    else
        say "$target: a finding, see build/fuzz/$target.log and build/fuzz/findings/$target"
        status=1
    fi
done
exit $status
