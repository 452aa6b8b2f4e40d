#!/usr/bin/env bash
# Installs what is missing, builds MORVEL, turns the example genotypes into dosages and scans them for the trait.
set -euo pipefail
cd "$(dirname "$0")/.."
sed -n '2s/^# //p' "$0"
. scripts/packages.sh
start_log build/demo.log
install_packages $build_packages

echo "Building build/morvel"
logged cmake -S . -B build
logged cmake --build build --parallel "$(nproc)" --target morvel
mkdir -p out
logged build/morvel -M gentoAD -file examples/example.gen -out out/example.ad
logged build/morvel -M gwas -pfile examples/example.pheno -gfile out/example.ad -out out/example.hits

echo "Hits (out/example.hits):"
head -n 10 out/example.hits
echo
echo "Statistics (out/example.hits.stats):"
cat out/example.hits.stats
