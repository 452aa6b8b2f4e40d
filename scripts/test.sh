#!/usr/bin/env bash
# Installs what is missing, builds MORVEL twice and runs every test on both builds: optimised, and with the address
# and undefined-behaviour sanitizers.
set -euo pipefail
cd "$(dirname "$0")/.."
sed -n '2,3s/^# //p' "$0"
. scripts/packages.sh
install_packages g++ cmake make qt6-base-dev libgtest-dev libgmock-dev python3 locales

build_and_test() {
    local folder=$1
    shift
    cmake -S . -B "$folder" -DMORVEL_TESTS=ON "$@"
    cmake --build "$folder" --parallel "$(nproc)"
    ctest --test-dir "$folder" --output-on-failure --parallel "$(nproc)"
}
build_and_test build -DCMAKE_BUILD_TYPE=Release
build_and_test build-sanitize -DCMAKE_BUILD_TYPE=Debug -DMORVEL_SANITIZE=ON -DMORVEL_COMPARE="$PWD/build/morvel"
