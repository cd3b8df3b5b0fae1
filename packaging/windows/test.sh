#!/usr/bin/env bash
# Runs the test programs under Wine: all but those that need a program or a call of Debian's, which their label tells.
# Arguments go to ctest; build.sh --tests comes first.
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
