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
Usage: packaging/windows/smoke.sh [--picture FILE] [ZIP]

Unpacks ZIP (default: the zip made by packaging/windows/build.sh) into a folder with a space and Chinese characters in
its name, reads flights with ostravel.dll from a C program and operates Ostravel.exe under Wine: select, read, fifteen
curves, both exports, a route, the calculators, quit. Then converts a database and a folder with Chinese names. Saves a
screenshot of the curves to FILE (default: build/windows/curves.png). KEEP=1 keeps the folder.
USAGE
}

picture=$root/build/windows/curves.png
case ${1:-} in
-h | --help)
    usage
    exit 0
    ;;
--picture)
    [ $# -ge 2 ] || fail "--picture needs a file." "README shows docs/windows/curves.png."
    picture=$(realpath -m "$2")
    shift 2
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
# Not in the package: it uses the DLLs of the package, and a copy of the database driver beside itself, where Qt looks.
mkdir "$scratch/demo"
cp -r "$demo" "${folder[0]}/plugins/sqldrivers" "$scratch/demo/"
make_demo() {
    WINEPATH=$(winepath -w "${folder[0]}") wine64 "$scratch/demo/ostravel-demo.exe" "$@"
}
step smoke-flight "Making a flight of ten minutes" "See the log." make_demo log "$(winepath -w "$data/flight.txt")" --minutes 10 --seed 7
step smoke-route "Making a route" "See the log." make_demo route "$(winepath -w "$data/route.json")" --waypoints 40

# A C program that knows the header and the library of the package and nothing else. It stands in a folder of its own, as a
# host does; without arguments it checks every number of a log that it writes.
host=$scratch/host
mkdir "$host"
step smoke-c-build "Building a C program with the package's header and library" "See the log." \
    x86_64-w64-mingw32-gcc-posix -std=c99 -pedantic-errors -Wall -Wextra -Werror -I"${folder[0]}/include" \
    -o "$host/read_flight.exe" tests/capi/read_flight.c "${folder[0]}/ostravel.dll"
step smoke-c-database "Making a database" "See the log." make_demo db "$(winepath -w "$data/tasks.db")" --minutes 2
run_host() (
    cd "$host"
    WINEPATH=$(winepath -w "${folder[0]}") wine64 ./read_flight.exe "$@"
)
step smoke-c "Running it" "See the log." run_host
read_flights() {
    local said
    # A database, too: the driver of Qt lies in the package, and not beside the host. Plain C passes the names on in the
    # code page of the system while the library wants UTF-8, so the copies have names of ASCII.
    cp "$data/flight.txt" "$data/tasks.db" "$host/"
    said=$(run_host flight.txt tasks.db)
    printf '%s\n' "$said"
    [ "$(grep -c 'lines, 0 bad, [1-9][0-9]* samples of roll' <<<"$said")" -eq 2 ]
}
step smoke-c-flights "Reading a log and a database with it" "See the log." read_flights

mkdir -p "${picture%/*}"
step smoke-drive "Driving Ostravel.exe" "The screen at that moment: run with KEEP=1 and look at failed.png in $data." \
    timeout 1800 /usr/bin/python3 "$here/drive.py" --waypoints 40 --screenshot "$picture" "${folder[0]}" "$data"
# The converter, on a flight, a database and a folder with Chinese names in it.
many=$scratch/"批量 转换"
mkdir -p "$many/七月"
step smoke-logs "Making more flights" "See the log." make_demo log "$(winepath -w "$many/七月")\\航班.txt" --minutes 2
step smoke-database "Making a database" "See the log." make_demo db "$(winepath -w "$many")\\flights.db" --minutes 2
convert() {
    wine64 "${folder[0]}/ostravel-convert.exe" "$@"
}
step smoke-convert "Converting" "See the log." convert -f csv,xlsx,txt,mat,kml,gpx,geojson --labels -o "$(winepath -w "$many")\\出" "$(winepath -w "$many")"
for output in flights.csv flights.xlsx flights-export/0x03-AttitudeAndPositionInfo.txt 七月/航班.csv 七月/航班.gpx 七月/航班.kml \
    七月/航班.geojson 七月/航班.mat; do
    [ -s "$many/出/$output" ] || fail "The converter did not write $output." "Run with KEEP=1 and look into $many."
done
head -n 1 "$many/出/flights.csv" | grep -q '^.*time,seconds,飞行器类型,' ||
    fail "flights.csv has another head." "Run with KEEP=1 and look at it."
# Two minutes are 600 samples.
step smoke-mat "Loading a MATLAB file" "Run with KEEP=1 and load the .mat files of $many." \
    octave-cli --norc --eval "x = load('$many/出/七月/航班.mat'); assert(size(x.attitude.PGS_Roll), [600 1])"

say "Passed; screenshot: $picture"
