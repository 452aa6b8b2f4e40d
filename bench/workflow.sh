#!/usr/bin/env bash
# What the workflow adds to 100 jobs of about a third of a second each: processor seconds of everything, less those of the
# jobs' own programs and of a Snakemake that finds nothing to do.
#   bench/workflow.sh [FOLDER]
set -euo pipefail
cd "$(dirname "$0")/.."
. bench/timing.sh
build_for_bench
install_packages snakemake tabix
source=$PWD PATH=$PWD/build:$PWD/build/bench:$PATH
data=$(realpath -m "${1:-out/bench-workflow}")
mkdir -p "$data"
cd "$data"
if [ ! -s dosages.gz ]; then
    morvel -M gentoAD -file <(makedata triplets 1000 16000) -out quarter.gz >/dev/null
    cat quarter.gz quarter.gz quarter.gz quarter.gz >dosages.gz
    makedata phenotypes 1000 100 >phenotypes
fi
cat >study.yaml <<'Y'
name: hundred
genotypes: [dosages.gz]
content: dosages
phenotypes: phenotypes
minutes: 0.001
scans: {each: {mode: gwas, statlimit: 1e-9}}
Y

# spent COMMAND: processor seconds of it and all that it starts.
spent() {
    local TIMEFORMAT='%3U %3S'
    { time "$@" >/dev/null 2>&1; } 2>&1 | awk '{ print $1 + $2 }'
}

run=(snakemake -s "$source/workflow/Snakefile" --configfile study.yaml --cores 2)
rm -rf results
all=$(spent "${run[@]}")
start=$(spent "${run[@]}")
# What a part takes by itself: the same command without Snakemake and without the log's keeper.
part=$(sed -n 's/^job: .* processor \([0-9.]*\) .*/\1/p' results/logs/each/*.log | awk '{ s += $1 } END { print s, NR }')
echo "$all $start $part" | awk '{
    printf "%d jobs: %.2f s in all, %.2f s of it the programs of the jobs, %.2f s the start: %.1f %% on top\n",
           $4, $1, $3, $2, ($1 - $2 - $3) / $3 * 100 }'
