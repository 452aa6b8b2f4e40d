#!/usr/bin/env bash
# Times gwas3 on 750 individuals, 1,000 phenotypes and 20,000 markers against a matrix product of these sizes and
# against its own plain loop, with one phenotype against wc -w; shows how the time grows, and the memory of a large
# phenotype table.
set -euo pipefail
cd "$(dirname "$0")/.."
. bench/timing.sh
build_for_bench
install_packages python3-numpy libopenblas0-pthread
morvel=$PWD/build/morvel
plain=$PWD/build/bench/literalgwas3
make=$PWD/build/bench/makedata
data=${1:-out/bench-gwas3}
mkdir -p "$data"
cd "$data"
[ -s g20000 ] || $make triplets 750 20000 >g20000
[ -s g375 ] || $make triplets 375 20000 >g375
[ -s g2000 ] || $make triplets 2000 300 >g2000
[ -s p1000 ] || $make phenotypes 750 1000 >p1000
[ -s p375 ] || $make phenotypes 375 1000 >p375
[ -s p10000 ] || $make phenotypes 2000 10000 >p10000
head -n 10000 g20000 >g10000
head -n 500 p1000 >p500
head -n 1 p1000 >p1
sed 's/ NA/ 9.5/g' p1000 >complete
scan="$morvel -M gwas3 -out hits"

$plain p1000 g20000 plain
$scan -pfile p1000 -gfile g20000 >/dev/null
cmp hits plain
cmp hits.stats plain.stats
echo "the plain loop gives the same bytes"

# 7 products and 7 scans in turn: seconds and the median of the ratios.
for run in 1 2 3 4 5 6 7; do
    product_seconds
    seconds $scan -pfile p1000 -gfile g20000
done | paste - - | awk '{ print $2 / $1, $1, $2 }' | sort -g | awk '
    { line[NR] = $1; product[NR] = $2; scan[NR] = $3 }
    END { for (i = 1; i <= NR; ++i) printf "scan %.2f s, product %.2f s, ratio %.2f\n", scan[i], product[i], line[i] }'

echo "                                    command   reference"
all="$scan -pfile p1000 -gfile g20000"
compare "gwas3 against its plain loop" "$plain p1000 g10000 plain" "$scan -pfile p1000 -gfile g10000"
compare "1 phenotype against wc -w" "env LC_ALL=C wc -w g20000" "$scan -pfile p1 -gfile g20000"
compare "no missing values against 2 %" "$all" "$scan -pfile complete -gfile g20000"
compare "half the markers" "$all" "$scan -pfile p1000 -gfile g10000"
compare "half the phenotypes" "$all" "$scan -pfile p500 -gfile g20000"
compare "half the individuals" "$all" "$scan -pfile p375 -gfile g375"
compare "10,000 phenotypes x 2,000" "$all" "$scan -pfile p10000 -gfile g2000"
