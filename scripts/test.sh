#!/usr/bin/env bash
# Installs what is missing, builds MORVEL twice and runs every test on both builds: optimised, and with the address
# and undefined-behaviour sanitizers.
set -euo pipefail
cd "$(dirname "$0")/.."
sed -n '2,3s/^# //p' "$0"
. scripts/packages.sh
start_log build/test.log
install_packages $build_packages libgtest-dev libgmock-dev python3 locales dpkg-dev devscripts lintian groff-base \
    tabix zstd

for preset in release debug-sanitize; do
    echo "Building and testing: $preset"
    logged cmake --preset $preset
    logged cmake --build --preset $preset --parallel "$(nproc)"
    status=0
    ctest --preset $preset --parallel "$(nproc)" >build/ctest.log 2>&1 || status=$?
    cat build/ctest.log >>"$log"
    # From the counts of tests on, the failed ones are listed.
    sed -n '/tests passed,/,$p' build/ctest.log
    [ $status -eq 0 ] || { echo "All of it is in $log"; exit $status; }
done
