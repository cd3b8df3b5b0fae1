#!/usr/bin/env bash
# Runs the test programs under Wine, except those with the label "debian", which need Linux. Run build.sh --tests first.
# Arguments are passed to ctest.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
cd "$here/../.."
# shellcheck source=scripts/common.sh
. scripts/common.sh
# shellcheck source=packaging/windows/wine.sh
. "$here/wine.sh"

[ -f build/windows/CTestTestfile.cmake ] || fail "There are no test programs." "packaging/windows/build.sh --tests makes them."
start_wine
ctest --test-dir build/windows -LE debian --output-on-failure "$@"
