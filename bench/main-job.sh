#!/usr/bin/env bash
# Times gentoAD and gwas against wc -w on the same file: 750 individuals, over 400 MB of triplets, 20 phenotypes.
set -euo pipefail
cd "$(dirname "$0")/.."
. bench/timing.sh
build_for_bench
morvel=$PWD/build/morvel
data=${1:-out/bench}
main_job_data "$data"
cd "$data"
ls -l triplets | awk '{ printf "triplets: %.0f MB\n", $5 / 1e6 }'

words='env LC_ALL=C wc -w'
echo "                                     morvel       wc -w"
compare "gentoAD" "$words triplets" "$morvel -M gentoAD -file triplets -out dosages"
compare "gentoAD -statistics" "$words triplets" "$morvel -M gentoAD -file triplets -out dosages -statistics yes"
compare "gwas, 1 phenotype" "$words dosages" "$morvel -M gwas -pfile phenotype -gfile dosages -out hits"
compare "gwas, 20 phenotypes against 20 wc" "$words $(printf 'dosages %.0s' {1..20})" \
    "$morvel -M gwas -pfile phenotypes -gfile dosages -out hits"

# One line of 100 MB, and a run that does nothing.
awk 'BEGIN { printf "1 rs1 1 A G"; for (i = 0; i < 12500000; ++i) printf " 0 0.25 1"; print "" }' >long-line
ls -l long-line | awk '{ printf "long-line: %.0f MB\n", $5 / 1e6 }'
compare "gentoAD, one line" "$words long-line" "$morvel -M gentoAD -file long-line -out long-dosages"
compare "gentoAD -statistics, one line" "$words long-line" \
    "$morvel -M gentoAD -file long-line -out long-dosages -statistics yes"
compare "start and end, against sleep 0.02" "sleep 0.02" "$morvel"
