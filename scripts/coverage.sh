#!/usr/bin/env bash
# Measures which lines and branches of core/ and Src/ the tests run, without the end-to-end tests. Prints a row for each
# folder and fails when less than 93 % of all lines run. build/coverage/coverage.html shows each line.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/common.sh
. scripts/common.sh

install_packages "${packages_build[@]}" "${packages_test[@]}" "${packages_deeper[@]}"
configure coverage
build coverage tests/all

# The counts of an earlier run would add up. Tests as another user write their counts, too.
find build/coverage -name '*.gcda' -delete
umask 0
step coverage-test "Running the tests" "Run the failing test by itself: ctest --test-dir build/coverage -R NAME" \
    env LC_ALL=C.UTF-8 ctest --preset coverage --parallel "$(nproc)" --timeout 900 --no-tests=error \
    -E '^(e2e_|python_|project_|windows_seam_|api_docs|build_date|format|tidy|TestCanvasKeys$)'
# One of its tests measures a time, which only optimised code keeps.
ctest --preset coverage -R '^TestCanvasKeys$' >"$log_dir/coverage-keys.log" 2>&1 || true

# Branches to the handlers of exceptions, which the compiler adds to nearly every call, do not count.
counts=build/coverage/coverage.json
gcovr --object-directory build/coverage --filter core/ --filter Src/ --exclude-throw-branches --exclude-unreachable-branches \
    -j "$(nproc)" --json "$counts" --html-details build/coverage/coverage.html

# gcovr replaces its output file, so that as root it would replace /dev/null.
table=build/coverage/table.txt
# row NAME FILTER: prints the figures of the sources under FILTER.
row() {
    local lines branches
    lines=$(gcovr -a "$counts" --filter "$2" --print-summary -o "$table" | sed -n 's/^lines: //p')
    branches=$(gcovr -a "$counts" --filter "$2" --print-summary -o "$table" | sed -n 's/^branches: //p')
    printf '%-20s lines %-28s branches %s\n' "$1" "$lines" "$branches"
}
for folder in core/*/ Src/*/; do
    row "${folder%/}" "$folder"
done
row all .
gcovr -a "$counts" --fail-under-line 93 -o "$table"
