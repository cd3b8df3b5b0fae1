#!/usr/bin/env bash
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
# shellcheck source=scripts/common.sh
. scripts/common.sh

usage() {
    cat <<'USAGE'
Usage: ./test.sh [--debug | --release | --asan | --tsan] [--soak] [-- CTEST-ARGUMENT...]

Installs missing packages (Debian 12), builds and runs all tests. Builds the given preset, by default debug. Examples:

  ./test.sh --asan              under the address and undefined-behaviour sanitizers
  ./test.sh --release --soak    only the soak tests (tests/soak), which no other run includes; about half an hour
  ./test.sh -- -R Store         the tests whose names contain Store
  ./test.sh -- -LE e2e          all but the end-to-end tests
USAGE
}

preset=debug
selection=()
while [ $# -gt 0 ]; do
    case $1 in
    --debug | --release | --asan | --tsan) preset=${1#--} ;;
    # The tests of this label are in a configuration of the same name, which no other run selects.
    --soak) selection=(-C soak -L soak --verbose) ;;
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

install_packages "${packages_build[@]}" "${packages_test[@]}"
configure "$preset"
build "$preset" all

# The timeout is for hanging tests; tests that need longer set their own.
exec env LC_ALL=C.UTF-8 ctest --preset "$preset" --output-on-failure --no-tests=error \
    --parallel "$(nproc)" --timeout 300 "${selection[@]}" "$@"
