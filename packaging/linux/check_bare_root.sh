#!/usr/bin/env bash
# Runs the converter and the Python package of the Debian package on a system that has never seen the build.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
# shellcheck source=scripts/common.sh
. scripts/common.sh

usage() {
    cat <<'USAGE'
Usage: packaging/linux/check_bare_root.sh [TAR.GZ]

Makes a minimal Debian 12 in a folder (debootstrap), installs there what python/README.md names and nothing else, unpacks
the package and runs: the converter on a flight, a database and a folder with Chinese names, the Python package from the
unpacked folder, and the wheel in a fresh virtual environment. Builds the package when none is named. Needs root, the
network for Debian's packages and 1 GB of disk.
USAGE
}

case ${1:-} in
-h | --help)
    usage
    exit 0
    ;;
esac
[ "$(id -u)" -eq 0 ] || fail "Only root may change the root folder." "sudo packaging/linux/check_bare_root.sh"

install_packages debootstrap
if [ $# -eq 0 ]; then
    packaging/linux/build.sh
    set -- build/package/Ostravel-*-linux-*.tar.gz
fi
package=$(readlink -f "$1")
name=$(basename "$package" .tar.gz)

bare=$(mktemp -d)
# shellcheck disable=SC2329  # called by the trap
end() {
    umount "$bare/proc" 2>/dev/null || true
    rm -rf --one-file-system "$bare"
}
trap end EXIT

inside() {
    chroot "$bare" /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 \
        DEBIAN_FRONTEND=noninteractive "$@"
}

# Files that are not there are no error.
mirror=$({ cat /etc/apt/sources.list /etc/apt/sources.list.d/* 2>/dev/null || true; } |
    sed -n 's/^\(URIs:\|deb\) .*\(https\?:[^ ]*\/debian\)\/*\( .*\)\?$/\2/p' | head -n 1)
step bare-root "Making a minimal Debian 12" "Check the network." \
    debootstrap --variant=minbase bookworm "$bare" "${mirror:-http://deb.debian.org/debian}"
cp /etc/resolv.conf "$bare/etc/"
if [ -d /etc/apt/apt.conf.d ]; then
    find /etc/apt/apt.conf.d -name '*proxy*' -exec cp {} "$bare/etc/apt/apt.conf.d/" \;
fi
mount -t proc proc "$bare/proc"

# The command of the readme, as it stands there.
needed=$(sed -n '/^apt-get install/,/[^\\]$/p' python/README.md | tr '\\\n' '  ')
step bare-packages "Installing what the readme names" "The list in python/README.md names a package that is not there." \
    inside sh -c "apt-get -q update && $needed -y"
step bare-venv "Installing the tools for the wheel" "Check the network." \
    inside apt-get install -q -y --no-install-recommends python3-venv
mkdir "$bare/srv/飞行"
tar -xf "$package" -C "$bare/srv/飞行"

# Made outside, because the maker of flights needs more of Qt.
mkdir -p "$bare/srv/记录/七月"
demo=$bare/srv/飞行/$name/ostravel-demo
step bare-log "Making a flight" "See the log." "$demo" log --minutes 2 "$bare/srv/记录/七月/航班.txt"
step bare-database "Making a database" "See the log." "$demo" db --minutes 2 "$bare/srv/记录/任务.db"

cat >"$bare/srv/converter.sh" <<CHECK
set -eu
cd /srv/飞行/$name
./ostravel-convert -f csv,xlsx,txt,mat,kml,gpx,geojson -o /srv/结果 /srv/记录
for suffix in csv xlsx mat kml gpx geojson; do
    test -s /srv/结果/七月/航班.\$suffix
    test -s /srv/结果/任务.\$suffix
done
test "\$(ls /srv/结果/七月/航班-export | wc -l)" -eq 9
CHECK
cat >"$bare/srv/flight.py" <<'CHECK'
import ostravel

flight = ostravel.read("/srv/记录/七月/航班.txt")
assert len(flight) == 143, len(flight)
assert len(flight["横滚"]) == 600, flight
assert (flight["横滚"] == flight["PGS_Roll"]).all()
assert len(ostravel.tasks("/srv/记录/任务.db")) >= 1
with open("/srv/结果/七月/航班.csv", encoding="utf-8") as table:
    names = table.readline().strip().split(",")
    first = table.readline().strip().split(",")
assert float(first[names.index("PGS_Roll")]) == flight["PGS_Roll"][0]
CHECK

step bare-converter "Converting there" "See the log." inside sh /srv/converter.sh
step bare-folder "Python from the unpacked folder" "See the log." \
    inside sh -c "PYTHONPATH=/srv/飞行/$name/python python3 /srv/flight.py"
step bare-wheel "Python from the wheel" "See the log." inside sh -c "
    python3 -m venv --system-site-packages /srv/venv &&
    /srv/venv/bin/pip install --no-index /srv/飞行/$name/python/*.whl &&
    cd / && /srv/venv/bin/python /srv/flight.py"
step bare-fleet "A table of the fleet" "See the log." inside sh -c "
    /srv/venv/bin/python -m ostravel.fleet /srv/记录/七月 -o /srv/fleet.csv && grep -q ^航班.txt, /srv/fleet.csv"
say "Passed: converter and Python package run on a minimal Debian"
