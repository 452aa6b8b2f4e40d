#!/usr/bin/env bash
# Times morvel-plot on results of 10 million markers (over 500 MB) against LC_ALL=C wc -w on the same file, drawing
# included, and shows what gnuplot takes of it and how large the pictures are.
set -euo pipefail
cd "$(dirname "$0")/.."
. bench/timing.sh
build_for_bench
install_packages gnuplot-nox
plot=$PWD/build/morvel-plot
make=$PWD/build/bench/makedata
data=${1:-out/bench-plots}
mkdir -p "$data"
cd "$data"
[ -s results ] || $make results 22 10000000 >results
ls -l results | awk '{ printf "%s: %.0f MB\n", $NF, $5 / 1e6 }'

words='env LC_ALL=C wc -w results'
columns='-file results -chrcolumn 1 -namecolumn 2 -lcolumn 3 -pcolumn 9'
echo "                                    command   reference"
for ending in png svg pdf; do
    fresh="manhattan.$ending qq.$ending"
    compare "manhattan, .$ending" "$words" "$plot manhattan $columns -out manhattan.$ending"
    compare "qq, .$ending" "$words" "$plot qq -file results -pcolumn 9 -out qq.$ending"
done
fresh=
$plot manhattan $columns -script yes -out manhattan.png
echo "gnuplot alone: $(seconds gnuplot -d manhattan.png.gp) s"
ls -l manhattan.* qq.* | awk '{ printf "%s: %.0f kB\n", $NF, $5 / 1e3 }'
