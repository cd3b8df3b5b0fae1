#!/usr/bin/env bash
# Takes the manual's screenshots of the running program on a virtual screen, in both themes.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/common.sh
. scripts/common.sh

usage() {
    cat <<'USAGE'
Usage: docs/screenshots.sh [--sizes | PICTURE...]

Installs missing packages (Debian 12), builds Ostravel and takes all pictures of docs/screens, or only those named:
docs/screenshots.sh main-curves calculators. The next build adds them to the manual. With --sizes it takes
docs/screens/sizes instead: the main window at common screen sizes.
USAGE
}

sizes=false
case ${1:-} in
--sizes)
    sizes=true
    shift
    ;;
-*)
    usage
    [ "$1" = -h ] || [ "$1" = --help ] || exit 2
    exit 0
    ;;
esac

install_packages "${packages_build[@]}" "${packages_screen[@]}"
configure release
build release Ostravel ostravel-demo wmts
say "Taking pictures on a virtual screen, some minutes"
if $sizes; then
    exec /usr/bin/python3 scripts/take_screen_sizes.py build/release/bin docs/screens/sizes
fi
exec /usr/bin/python3 scripts/take_screenshots.py build/release/bin docs/screens "$@"
