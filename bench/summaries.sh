#!/usr/bin/env bash
# Times the modes over result tables against wc -w on the same file (10 million rows, over 400 MB), levin against
# its own plain loop, and each against itself on half of the rows.
set -euo pipefail
cd "$(dirname "$0")/.."
. bench/timing.sh
build_for_bench
morvel=$PWD/build/morvel
plain=$PWD/build/bench/literallevin
make=$PWD/build/bench/makedata
data=${1:-out/bench-summaries}
mkdir -p "$data"
cd "$data"
[ -s results ] || $make results 22 10000000 >results
[ -s half ] || $make results 11 5000000 >half
[ -s chromosome ] || $make results 1 10000000 >chromosome
[ -s halfchromosome ] || head -n 5000000 chromosome >halfchromosome
[ -s map ] || $make map 5000 50000 >map
[ -s directions ] || $make directions 12 3500000 >directions
[ -s halfdirections ] || head -n 1750000 directions >halfdirections
[ -s v20000 ] || $make values 2 20000 >v20000
[ -s v40000 ] || $make values 2 40000 >v40000
ls -l results chromosome directions | awk '{ printf "%s: %.0f MB\n", $NF, $5 / 1e6 }'

$plain v20000 >plain
$morvel -M levin -file v20000 -out shifts >/dev/null
tail -n +2 shifts | cut -f 2 | cmp - plain
echo "the plain loop gives the same correlations"

words='env LC_ALL=C wc -w'
prune="$morvel -M ldprune -map map -poscolumn 3 -pcolumn 9 -threshold"
scan="$morvel -M peakscan3 -lcolumn 3 -pcolumn 9 -chrcolumn 1"
filter="$morvel -M gwamafilter -column 17"
shift="$morvel -M levin"
fresh='result result.removed result.ranges other other.removed other.ranges'
echo "                                    command   reference"
compare "gwamafilter" "$words directions" "$filter -file directions -out result"
compare "ldprune, most rows kept" "$words chromosome" "$prune 0.000001 -file chromosome -out result"
compare "ldprune, a tenth kept" "$words chromosome" "$prune 0.0001 -file chromosome -out result"
compare "peakscan3" "$words results" "$scan -file results -out result"
compare "levin against its plain loop" "$plain v20000" "$shift -file v20000 -out result"
compare "half of the rows, gwamafilter" "$filter -file directions -out other" \
    "$filter -file halfdirections -out result"
compare "half of the rows, ldprune" "$prune 0.0001 -file chromosome -out other" \
    "$prune 0.0001 -file halfchromosome -out result"
compare "half of the rows, peakscan3" "$scan -file results -out other" "$scan -file half -out result"
compare "half of the rows, levin" "$shift -file v40000 -out other" "$shift -file v20000 -out result"
