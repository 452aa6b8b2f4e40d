#!/usr/bin/env bash
# What the flags against attacks cost in the main job: this build against one without them, run in turn on the same core;
# medians of the ratios of processor time.
#   bench/hardening.sh [FOLDER [RUNS]]
set -euo pipefail
cd "$(dirname "$0")/.."
. bench/timing.sh
data=$(realpath -m "${1:-out/bench}")
runs=${2:-15}
build_for_bench
main_job_data "$data"
cmake -S . -B "$data/bare" -DCMAKE_BUILD_TYPE=Release -DMORVEL_HARDENING=OFF >/dev/null
cmake --build "$data/bare" --parallel "$(nproc)" --target morvel >/dev/null
morvel=$PWD/build/morvel
cd "$data"
$morvel -M gentoAD -file triplets -out dosages >/dev/null

# cost ARGUMENTS
cost() {
    for _ in $(seq "$runs"); do
        rm -f made made.*
        echo "$(spent "$morvel" "$@" -out made) $(rm -f made made.*; spent ./bare/morvel "$@" -out made)"
    done | awk '{ print $1 / $2 }' | sort -n | awk -v name="${*:2}" '{ ratio[NR] = $1 }
        END {
            m = int((NR + 1) / 2)
            printf "%-52s hardened / bare %.3f (half of the pairs: %.3f to %.3f)\n", name, ratio[m],
                   ratio[int((NR + 3) / 4)], ratio[int((3 * NR + 1) / 4)]
        }'
}
cost -M gentoAD -file triplets
cost -M gentoAD -file triplets -statistics yes
cost -M gwas -pfile phenotype -gfile dosages
cost -M gwas -pfile phenotypes -gfile dosages
