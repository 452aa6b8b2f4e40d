#!/usr/bin/env bash
# What each mode costs per unit, for workflow/costs.yaml and docs/scale.md: processor seconds (of the system too) on one
# core at three sizes, medians of the runs, less the time of a run that does nothing.
#   bench/scale.sh [FOLDER [RUNS]]
set -euo pipefail
cd "$(dirname "$0")/.."
. bench/timing.sh
build_for_bench
PATH=$PWD/build:$PWD/build/bench:$PATH
data=$(realpath -m "${1:-out/bench-scale}")
runs=${2:-5}
mkdir -p "$data"
cd "$data"

# spent COMMAND: processor seconds.
spent() {
    local TIMEFORMAT='%3U %3S'
    { time taskset -c 1 "$@" >/dev/null; } 2>&1 | awk '{ print $1 + $2 }'
}

# row NAME SIZE UNITS COMMAND: the median of the runs, and billionths of a second per unit.
row() {
    local run
    for run in $(seq "$runs"); do
        rm -f made*
        spent "${@:4}"
    done | sort -g | awk -v name="$1" -v size="$2" -v units="$3" -v start="${start:-0}" '
        { t[NR] = $1 }
        END {
            s = t[int((NR + 1) / 2)]
            printf "%-24s %-34s %12.0f %8.3f %10.2f\n", name, size, units, s, (s - start) / units * 1e9
        }'
}

start=$(for run in $(seq 20); do spent morvel; done | sort -g | sed -n 10p)
printf '%-24s %-34s %12s %8s %10s\n' mode size units seconds ns/unit

[ -s g.1000 ] || makedata triplets 1000 8000 >g.1000
[ -s p.1000 ] || makedata phenotypes 1000 100 >p.1000
for markers in 2000 4000 8000; do
    head -n $markers g.1000 >triplets
    morvel -M gentoAD -file triplets -out dosages >/dev/null
    size="1000 individuals, $markers markers" values=$((1000 * markers))
    row gentoAD "$size" $values morvel -M gentoAD -file triplets -out made -statistics yes
    row "gentoAD to .gz" "$size" $values morvel -M gentoAD -file triplets -out made.gz -statistics yes
    row ADtogen "$size" $values morvel -M ADtogen -file dosages -out made
    row avgAD "$size" $values morvel -M avgAD -file dosages -out made
    row avgGEN "$size" $values morvel -M avgGEN -file triplets -out made
    row gentoletters "$size" $values morvel -M gentoletters -file triplets -out made
    morvel -M gentoAD -file triplets -out packed.gz >/dev/null
    head -n 1 p.1000 >p1
    row "gwas (value)" "$size" $values morvel -M gwas -pfile p1 -gfile dosages -out made
    row "gwas2 (value)" "$size" $values morvel -M gwas2 -pfile p1 -gfile dosages -out made
    row "gwas2, .gz (value)" "$size" $values morvel -M gwas2 -pfile p1 -gfile packed.gz -out made
    row "gwas3 (value)" "$size" $values morvel -M gwas3 -pfile p1 -gfile triplets -out made
    row "regscan1, .gz (value)" "$size" $values morvel -M regscan1 -pfile p1 -gfile packed.gz -out made -statlimit 1e-9
    echo "bytes a dosage: $(stat -c %s dosages packed.gz | awk -v n=$values '{ printf "%.2f ", $1 / n }')"
done
# With 100 phenotypes: an entry is a value of the phenotype file. Of the pairs' times, reading (value and entry) is a part.
for people in 500 8000 100000; do
    markers=$((8000000 / people))
    [ -s g.$people ] || makedata triplets $people $markers >g.$people
    [ -s p.$people ] || makedata phenotypes $people 100 >p.$people
    morvel -M gentoAD -file g.$people -out dosages >/dev/null
    head -n 1 dosages >dosage1
    head -n 1 g.$people >triplet1
    size="$people x 100 phenotypes" entries=$((100 * people))
    row "gwas2 (entry)" "$size" $entries morvel -M gwas2 -pfile p.$people -gfile dosage1 -out made -statlimit 1e-9
    row "gwas3 (entry)" "$size" $entries morvel -M gwas3 -pfile p.$people -gfile triplet1 -out made -statlimit 1e-9
    row "regscan1 (entry)" "$size" $entries morvel -M regscan1 -pfile p.$people -gfile dosage1 -out made -statlimit 1e-9
    size="$people individuals, $markers x 100" pairs=$((100 * markers))
    row "gwas2 (pair)" "$size" $pairs morvel -M gwas2 -pfile p.$people -gfile dosages -out made -statlimit 1e-9
    row "gwas3 (pair)" "$size" $pairs morvel -M gwas3 -pfile p.$people -gfile g.$people -out made -statlimit 1e-9
    row "regscan1 (pair)" "$size" $pairs morvel -M regscan1 -pfile p.$people -gfile dosages -out made -statlimit 1e-9
    head -n $((markers / 10)) dosages >tenth
    head -n $((markers / 10)) g.$people >tenth.gen
    all="-slope 0 -statistic r2 -statlimit 0"
    row "gwas2, all (pair)" "$size / 10" $((pairs / 10)) morvel -M gwas2 -pfile p.$people -gfile tenth -out made $all
    row "gwas3, all (pair)" "$size / 10" $((pairs / 10)) morvel -M gwas3 -pfile p.$people -gfile tenth.gen -out made $all
    row "regscan1, all (pair)" "$size" $pairs \
        morvel -M regscan1 -pfile p.$people -gfile dosages -out made.gz -statlimit 1
    echo "bytes a row of p-values: $(($(stat -c %s made.gz) / pairs))"
done
[ -s rows ] || makedata results 1 800000 >rows
[ -s map ] || makedata map 5000 50000 >map
[ -s directions ] || makedata directions 20 400000 >directions
[ -s values ] || makedata values 2 80000 >values
for rows in 200000 400000 800000; do
    head -n $rows rows >table
    row ldprune "$rows rows" $rows morvel -M ldprune -file table -map map -poscolumn 3 -pcolumn 9 -threshold 0.001 -out made
    row peakscan3 "$rows rows" $rows morvel -M peakscan3 -file table -chrcolumn 1 -lcolumn 3 -pcolumn 9 -out made
    row "morvel-plot manhattan" "$rows rows" $rows \
        morvel-plot manhattan -file table -chrcolumn 1 -lcolumn 3 -pcolumn 9 -namecolumn 2 -out made.png
    head -n $((rows / 2)) directions >table
    row gwamafilter "$((rows / 2)) rows" $((rows / 2)) morvel -M gwamafilter -file table -column 13 -out made
    head -n $((rows / 10)) values >table
    row levin "$((rows / 10)) rows" $((rows / 10)) morvel -M levin -file table -out made
done
for people in 500 1000 2000; do
    makedata allpairs $people 0 >pairs
    pairs=$((people * (people - 1) / 2))
    for mode in "family -threshold" "relout5 -limit" "relout6 -limit"; do
        row "${mode% *}" "$people individuals" $pairs morvel -M $mode 0.4 -file pairs -out made
    done
done
awk 'BEGIN { srand(1); for (i = 0; i < 10; ++i) { printf "r" i; for (j = 0; j < 10; ++j) printf "\t%.4f", i == j ? 0.7 : 0.3 * rand() / 5; print "" } }' >references
awk 'BEGIN { srand(2); for (i = 0; i < 8000; ++i) { printf "s" i; for (j = 0; j < 10; ++j) printf "\t%.4f", rand() / 5; print "" } }' >people
makedata pool 10 20000 >pool
makedata cases 10 800 >cases
for samples in 2000 4000 8000; do
    head -n $samples people >table
    row mixfit "$samples samples, 10 populations" $samples morvel -M mixfit -file table -ref references -refpops 10 -out made
    head -n $((samples / 10)) cases >table
    row popsel "$((samples / 10)) of a pool of 20000" $((samples / 10)) morvel -M popsel -file1 table -file2 pool -out made
done
