#!/usr/bin/env bash
# Times mixfit with all triples against its own plain loops, as whole commands, on made references and samples
# of two kinds: clusters (each population mostly of its own one) and even (values spread at random). Samples
# are mixtures of up to three populations with noise.
set -euo pipefail
cd "$(dirname "$0")/.."
. bench/timing.sh
build_for_bench
morvel=$PWD/build/morvel
plain=$PWD/build/bench/literalmixfit
data=${1:-out/bench-mixfit}
mkdir -p "$data"
cd "$data"

# make KIND K SAMPLES: writes the files r and s.
make() {
    awk -v kind="$1" -v K="$2" -v n="$3" '
        BEGIN {
            srand(K)
            for (i = 0; i < K; ++i) {
                total = 0
                for (j = 0; j < K; ++j) {
                    t[i, j] = -log(1 - rand())
                    if (kind == "clusters") t[i, j] = i == j ? t[i, j] + 3 : t[i, j] / 20
                    total += t[i, j]
                }
                line = "population" i
                for (j = 0; j < K; ++j) line = line sprintf("\t%.6f", t[i, j] /= total)
                print line >"r"
            }
            for (s = 0; s < n; ++s) {
                parts = 1 + int(rand() * 3)
                total = sum = 0
                for (i = 0; i < parts; ++i) { who[i] = int(rand() * K); total += share[i] = rand() + 0.05 }
                for (j = 0; j < K; ++j) {
                    x[j] = 0.03 * (rand() + rand() + rand() - 1.5)
                    for (i = 0; i < parts; ++i) x[j] += share[i] / total * t[who[i], j]
                    if (x[j] < 0.00001) x[j] = 0.00001
                    sum += x[j]
                }
                line = "sample" s
                for (j = 0; j < K; ++j) line = line sprintf("\t%.6f", x[j] / sum)
                print line >"s"
            }
        }'
}

fresh='report plain'
echo "                                     morvel  plain loops"
for kind in clusters even; do
    for size in "8 0.05 10000" "8 0.05 1000" "20 0.05 100" "8 0.01 200"; do
        set -- $size
        make "$kind" "$1" "$3"
        fit="$morvel -M mixfit -ref r -file s -refpops $1 -step $2 -out report"
        $fit -combinatorics yes >/dev/null
        $plain r s "$1" "$2" plain yes
        cmp report plain
        compare "$kind, K $1, step $2, $3" "$plain r s $1 $2 plain yes" "$fit -combinatorics yes"
        compare "the same without triples" "$plain r s $1 $2 plain no" "$fit"
    done
done
compare "start and end, against sleep 0.02" "sleep 0.02" "$morvel"
