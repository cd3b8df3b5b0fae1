#!/usr/bin/env bash
# Makes each package twice from the last commit, in two folders, and compares the bytes.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/common.sh
. scripts/common.sh

usage() {
    cat <<'USAGE'
Usage: packaging/check_reproducible.sh [linux] [windows]

Clones the last commit twice, into folders with different names, builds the package in each without a compiler cache and
with another time zone, locale and umask, and compares the two byte by byte. Says what differs. Without an argument it
checks both packages; each takes two whole builds. The libraries of the Windows package come from the cache of
packaging/windows/deps.sh. KEEP=1 keeps the folders.
USAGE
}

systems=()
for argument in "$@"; do
    case $argument in
    linux | windows) systems+=("$argument") ;;
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
[ "${#systems[@]}" -gt 0 ] || systems=(linux windows)
if [ -n "$(git status --porcelain)" ]; then
    say "Note: changes that are not committed are not checked"
fi

scratch=$(mktemp -d -t ostravel-twice.XXXXXX)
clean_up() {
    [ -n "${KEEP:-}" ] || rm -rf "$scratch"
}
trap clean_up EXIT
folders=("$scratch/first" "$scratch/another-folder/with-a-longer-name/ostravel")

# make_package NUMBER SYSTEM: each number has surroundings of its own.
make_package() (
    cd "${folders[$1]}"
    unset SOURCE_DATE_EPOCH
    export CCACHE_DISABLE=1
    case $1 in
    0)
        export TZ=Europe/Prague LC_ALL=C
        umask 022
        ;;
    1)
        export TZ=Asia/Shanghai LC_ALL=C.UTF-8
        umask 077
        ;;
    esac
    "packaging/$2/build.sh"
)

for number in 0 1; do
    (
        [ "$number" -eq 0 ] || umask 077
        mkdir -p "$(dirname "${folders[$number]}")"
        git clone --quiet --no-hardlinks . "${folders[$number]}"
    )
done

differ=false
for system in "${systems[@]}"; do
    for number in 0 1; do
        step "twice-$system-$number" "Building the $system package, $((number + 1)) of 2" \
            "KEEP=1 keeps the folder, with its own build/logs." make_package "$number" "$system"
    done
    case $system in
    linux) pattern='build/package/Ostravel-*.tar.gz' ;;
    windows) pattern='build/windows/Ostravel-*.zip' ;;
    esac
    # shellcheck disable=SC2086  # a pattern
    /usr/bin/python3 -B packaging/compare_packages.py "${folders[0]}"/$pattern "${folders[1]}"/$pattern || differ=true
done
if $differ; then
    fail "The packages differ." "Each line above names a file, and what it has that the other has not."
fi
