#!/usr/bin/env bash
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
# shellcheck source=scripts/common.sh
. scripts/common.sh

usage() {
    cat <<'USAGE'
Usage: ./test.sh [--debug | --release | --asan | --tsan] [--faults | --soak] [-- CTEST-ARGUMENT...]

Installs missing packages (Debian 12), builds and runs all tests. Builds the given preset, by default debug. Examples:

  ./test.sh --asan              under the address and undefined-behaviour sanitizers
  ./test.sh --release --soak    only the soak tests (tests/soak), which no other run includes; about twelve minutes
  ./test.sh -- -R Store         the tests whose names contain Store
  ./test.sh -- -LE e2e          all but the end-to-end tests
  ./test.sh --faults            only the tests of faults, which no other run includes: killed programs, full disks,
                                read-only folders, clocks, locales, time zones, limits; about four minutes
USAGE
}

preset=debug
packages=("${packages_build[@]}" "${packages_test[@]}")
selection=()
target=all
while [ $# -gt 0 ]; do
    case $1 in
    --debug | --release | --asan | --tsan) preset=${1#--} ;;
    # These tests are in configurations of the same name, which no other run selects.
    --faults)
        packages+=("${packages_faults[@]}")
        selection=(--build-config faults --label-regex '^faults$')
        ;;
    --soak)
        target=tests/soak/all
        selection=(--build-config soak --label-regex '^soak$' --verbose)
        ;;
    --)
        shift
        break
        ;;
    -h | --help)
        usage
        exit 0
        ;;
    *)
        usage >&2
        exit 2
        ;;
    esac
    shift
done

install_packages "${packages[@]}"
configure "$preset"
build "$preset" "$target"

# The timeout is for hanging tests; tests that need longer set their own.
exec env LC_ALL=C.UTF-8 ctest --preset "$preset" --output-on-failure --no-tests=error \
    --parallel "$(nproc)" --timeout 300 "${selection[@]}" "$@"
