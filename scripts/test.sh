#!/usr/bin/env bash
# Installs what is missing, builds MORVEL twice and runs every test on both builds: optimised, and with the address
# and undefined-behaviour sanitizers.
set -euo pipefail
cd "$(dirname "$0")/.."
sed -n '2,3s/^# //p' "$0"
. scripts/packages.sh
install_packages $build_packages libgtest-dev libgmock-dev python3 locales dpkg-dev devscripts lintian groff-base \
    tabix zstd

for preset in release debug-sanitize; do
    cmake --preset $preset
    cmake --build --preset $preset --parallel "$(nproc)"
    ctest --preset $preset --parallel "$(nproc)"
done
