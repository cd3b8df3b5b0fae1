#!/usr/bin/env bash
# Builds Ostravel on Debian 12 and packs it: build/package/Ostravel-VERSION-linux-x86_64.tar.gz. Two builds of one commit
# have the same bytes; packaging/check_reproducible.sh checks that.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
# shellcheck source=scripts/common.sh
. scripts/common.sh

usage() {
    cat <<'USAGE'
Usage: packaging/linux/build.sh

Installs missing packages (Debian 12), builds Ostravel in build/package and packs it into
build/package/Ostravel-VERSION-linux-x86_64.tar.gz. The build date of the program is the time of the last commit;
SOURCE_DATE_EPOCH sets another one.
USAGE
}

case ${1:-} in
'') ;;
-h | --help)
    usage
    exit 0
    ;;
*)
    usage >&2
    exit 2
    ;;
esac

install_packages "${packages_build[@]}"
same_for_everyone
build=build/package
# Links again, because the date of the last link may be that of another commit, and drops files of earlier builds.
rm -rf "$build/bin" "$build"/Ostravel-*.tar.gz
step package-configure "Configuring the package" "Remove $build and try again." \
    cmake -G Ninja -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DOSTRAVEL_LTO=ON -DBUILD_TESTING=OFF
step package-build "Building the package" "The first error in the log tells the file." \
    cmake --build "$build" --target Ostravel ostravel-convert ostravel-demo wmts ostravel_web ostravel_c ostravel_wheel \
    ostravel_map_page ostravel_manual
step package-pack "Packing" "Is there room on the disk?" cpack --config "$build/CPackConfig.cmake" -B "$build"
made=("$build"/Ostravel-*.tar.gz)
say "Package: ${made[0]} ($(du -h "${made[0]}" | cut -f1))"
