#!/usr/bin/env bash
# Runs every command of docs/recipes.md with the real tools.
set -euo pipefail
cd "$(dirname "$0")/../.."
. scripts/packages.sh
start_log build/recipes.log
install_packages $build_packages libgtest-dev libgmock-dev bcftools plink1.9 plink2 tabix

logged cmake --preset release
logged cmake --build --preset release --parallel "$(nproc)"
MORVEL_RECIPES=1 ctest --preset release --no-tests=error -R '^Recipes\.'
