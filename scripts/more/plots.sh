#!/usr/bin/env bash
# Draws the gallery (its pictures are then in out/gallery) and reads back what is drawn, with gnuplot; opens the report in
# Chromium.
set -euo pipefail
cd "$(dirname "$0")/../.."
. scripts/packages.sh
install_packages g++ cmake make qt6-base-dev libgtest-dev libgmock-dev gnuplot-nox fonts-dejavu-core chromium python3

cmake --preset release
cmake --build --preset release --parallel "$(nproc)"
mkdir -p out/gallery
MORVEL_PICTURES=$PWD/out/gallery ctest --preset release --no-tests=error -R '^Gallery\.'
/usr/bin/python3 tests/plot/pictures.py build
/usr/bin/python3 tests/plot/page.py out/gallery/report.html
