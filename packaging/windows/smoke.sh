#!/usr/bin/env bash
# Smoke test: runs Ostravel from its Windows zip under Wine and checks the files that it writes.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
cd "$here/../.."
# shellcheck source=scripts/common.sh
. scripts/common.sh
# shellcheck source=packaging/windows/wine.sh
. "$here/wine.sh"

usage() {
    cat <<'USAGE'
Usage: packaging/windows/smoke.sh [ZIP]

Unpacks ZIP (default: the zip made by packaging/windows/build.sh) into a folder with a space and Chinese characters in
its name and operates Ostravel.exe under Wine: select, read, fifteen curves, both exports, a route, the calculators,
quit. Saves a screenshot of the curves to docs/windows/curves.png. KEEP=1 keeps the folder.
USAGE
}

case ${1:-} in
-h | --help)
    usage
    exit 0
    ;;
esac
zips=(build/windows/Ostravel-*-windows-x86_64.zip)
zip=$(readlink -f "${1:-${zips[0]}}")
[ -f "$zip" ] || fail "There is no Windows package." "packaging/windows/build.sh makes it."

start_wine
program=$scratch/"程序 目录"
data=$scratch/"试飞 数据"
mkdir "$program" "$data"
step smoke-unpack "Unpacking" "Is there room on the disk?" unzip -q "$zip" -d "$program"
folder=("$program"/*)

demo=build/windows/bin/ostravel-demo.exe
[ -f "$demo" ] || fail "There is no $demo." "packaging/windows/build.sh makes it."
make_demo() {
    # Uses the DLLs of the package.
    WINEPATH=$(winepath -w "${folder[0]}") wine64 "$demo" "$@"
}
step smoke-flight "Making a flight of ten minutes" "See the log." make_demo log "$(winepath -w "$data/flight.txt")" --minutes 10 --seed 7
step smoke-route "Making a route" "See the log." make_demo route "$(winepath -w "$data/route.json")" --waypoints 40

mkdir -p docs/windows
step smoke-drive "Driving Ostravel.exe" "The screen at that moment: run with KEEP=1 and look at failed.png in $data." \
    timeout 1800 /usr/bin/python3 "$here/drive.py" --waypoints 40 --screenshot docs/windows/curves.png "${folder[0]}" "$data"
say "Passed; screenshot: docs/windows/curves.png"
