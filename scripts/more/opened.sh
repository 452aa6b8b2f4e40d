#!/usr/bin/env bash
# Lists by strace which files every mode and every verb of the companions opens: no others than it was told to.
set -euo pipefail
cd "$(dirname "$0")/../.."
. scripts/packages.sh
start_log build/opened.log
install_packages $build_packages libgtest-dev libgmock-dev python3 strace

logged cmake --preset release
logged cmake --build --preset release --parallel "$(nproc)" --target morvel morvel-table morvel-plot morvel-gather
python3 -B tests/faults/opened.py build
