#!/usr/bin/env bash
# Builds MORVEL twice, as test.sh does, and runs every check of faults and hostile input in full on both builds.
# Arguments go to the checks: --only "pipes gwas", --seed N, --jobs N.
set -euo pipefail
cd "$(dirname "$0")/.."
sed -n '2,3s/^# //p' "$0"
. scripts/packages.sh
install_packages $build_packages libgtest-dev libgmock-dev python3 locales tabix zstd

build() {
    cmake --preset "$1"
    cmake --build --preset "$1" --parallel "$(nproc)" --target morvel morvel-table failcalls
}
check() {
    python3 -B tests/faults/faults.py --full --program "$1/morvel" --failcalls "$1/tests/faults/failcalls" "${@:2}"
}
build release
build debug-sanitize
status=0
check build --compare build-sanitize/morvel "$@" || status=1
# Ten minutes of mutations for each mode.
check build-sanitize --slow --fuzz 600 "$@" || status=1
exit $status
