#!/usr/bin/env bash
# Times gwas2 on 750 individuals, 1,000 phenotypes and 20,000 markers against a matrix product of these sizes and one
# run of gentoAD, and against gwas; with one phenotype against gwas; with triplets, other numbers of bins and a large
# phenotype table.
set -euo pipefail
cd "$(dirname "$0")/.."
. bench/timing.sh
build_for_bench
install_packages python3-numpy libopenblas0-pthread
morvel=$PWD/build/morvel
make=$PWD/build/bench/makedata
data=${1:-out/bench-gwas2}
mkdir -p "$data"
cd "$data"
[ -s g20000 ] || $make triplets 750 20000 >g20000
[ -s g2000 ] || $make triplets 2000 300 >g2000
[ -s p1000 ] || $make phenotypes 750 1000 >p1000
[ -s p10000 ] || $make phenotypes 2000 10000 >p10000
$morvel -M gentoAD -file g20000 -out d20000 >/dev/null
$morvel -M gentoAD -file g2000 -out d2000 >/dev/null
head -n 10000 d20000 >d10000
head -n 500 p1000 >p500
head -n 20 p1000 >p20
head -n 1 p1000 >p1
scan="$morvel -M gwas2 -out hits"
dosages="$scan -pfile p1000 -gfile d20000"
triplets="$scan -format triplet -pfile p1000 -gfile g20000"

$morvel -M gwas -out expected -pfile p20 -gfile d20000 -slope 0 >/dev/null
for options in "-gfile d20000" "-gfile g20000 -format triplet"; do
    $scan -pfile p20 -slope 0 $options >/dev/null
    cmp hits expected
    cmp hits.stats expected.stats
done
echo "gwas gives the same bytes"

# 7 times in turn: seconds, and the scan's against those of the product and of gentoAD.
for run in 1 2 3 4 5 6 7; do
    product_seconds
    seconds $morvel -M gentoAD -file g20000 -out /dev/null
    seconds $dosages
done | paste - - - | awk '{ print ($3 - $2) / $1, $1, $2, $3 }' | sort -g | awk '
    { printf "scan %.2f s, product %.2f s, gentoAD %.2f s: scan less gentoAD is %.2f products\n", $4, $2, $3, $1 }'

# gwas takes as long for each phenotype: 20 of them stand for 1,000.
echo "                                    command   reference"
compare "1,000 phenotypes, gwas 20" "$morvel -M gwas -out expected -pfile p20 -gfile d20000" "$dosages"
compare "1 phenotype against gwas" "$morvel -M gwas -out expected -pfile p1 -gfile d20000" "$scan -pfile p1 -gfile d20000"
compare "triplets against dosages" "$dosages" "$triplets"
compare "1 phenotype, triplets, gentoAD" "$morvel -M gentoAD -file g20000 -out /dev/null" \
    "$scan -format triplet -pfile p1 -gfile g20000"
compare "half the markers" "$dosages" "$scan -pfile p1000 -gfile d10000"
compare "half the phenotypes" "$dosages" "$scan -pfile p500 -gfile d20000"
compare "5 bins against 3" "$dosages" "$dosages -autobins 5"
compare "10 bins against 3" "$dosages" "$dosages -autobins 10"
compare "a slope limit of 0" "$dosages" "$dosages -slope 0"
compare "10,000 phenotypes x 2,000" "$dosages" "$scan -pfile p10000 -gfile d2000"
