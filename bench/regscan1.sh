#!/usr/bin/env bash
# Times regscan1 on 750 individuals, 1,000 phenotypes (2 % missing) and 20,000 markers against a matrix product of these
# sizes and one run of gentoAD; with one phenotype against wc -w; the logistic one against plink2 on the same text; and
# every pair of 20 phenotypes written, against plink2 from its binary file.
set -euo pipefail
cd "$(dirname "$0")/.."
. bench/timing.sh
build_for_bench
install_packages python3-numpy libopenblas0-pthread plink2
morvel=$PWD/build/morvel
make=$PWD/build/bench/makedata
data=${1:-out/bench-regscan1}
markers=${2:-165000}
mkdir -p "$data"
cd "$data"
[ -s g20000 ] || $make triplets 750 20000 >g20000
[ -s p1000 ] || $make phenotypes 750 1000 >p1000
[ -s d20000 ] || $morvel -M gentoAD -file g20000 -out d20000 >/dev/null
if [ ! -s dmany ]; then
    $make triplets 750 "$markers" >gmany
    $morvel -M gentoAD -file gmany -out dmany >/dev/null
    rm gmany
fi
head -n 1 p1000 >p1
awk '{ printf "status"; for (i = 2; i <= NF; ++i) printf " %d", (i * 7919 % 13 > 5 ? 2 : 1); print "" }' p1 >pcases
awk '{ for (i = 2; i <= NF; ++i) print "f" i, "i" i, 0, 0, 1, $i }' pcases >cases.fam
scan="$morvel -M regscan1 -out hits"
plink="plink2 --silent --threads 1 --fam cases.fam --import-dosage dmany noheader format=1 skip0=1 skip1=1 chr-col-num=1
    pos-col-num=3 --glm firth-fallback allow-no-covars --out plink"

# Slopes of the first markers by numpy, and what plink2 says of the cases, in the digits that single precision has.
$scan -pfile p1 -gfile d20000 -statlimit 1 >/dev/null
/usr/bin/python3 -c '
import numpy
y = numpy.array([float("nan" if v == "NA" else v) for v in open("p1").read().split()[1:]])
hits = [line.split("\t") for line in open("hits")][1:]
for line, hit in zip(open("d20000"), hits[:200]):
    x = numpy.array(line.split()[5:], float)[~numpy.isnan(y)]
    slope = numpy.polyfit(x, y[~numpy.isnan(y)], 1)[0]
    assert abs(slope - float(hit[8])) < 1e-5 * abs(slope) + 1e-12, (slope, hit)'
$scan -pfile pcases -gfile dmany -type logistic -statlimit 1 >/dev/null
$plink
paste <(tail -n +2 hits) <(tail -n +2 plink.PHENO1.glm.logistic.hybrid) | awk '
    { a = log($24); if (a < 0) a = -a; b = $9 < 0 ? -$9 : $9; d = a - b; if (d < 0) d = -d; if (d > 0.002 * $10) ++bad }
    END { if (NR == 0 || bad > NR / 100) { print "plink2 differs in " bad " of " NR; exit 1 } }'
echo "numpy and plink2 agree"

# 7 times in turn: seconds, and the scan's against those of the product and of gentoAD.
for run in 1 2 3 4 5 6 7; do
    product_seconds
    seconds $morvel -M gentoAD -file g20000 -out /dev/null
    seconds $scan -pfile p1000 -gfile d20000 -statlimit 1e-4
done | paste - - - | awk '{ print ($3 - $2) / $1, $1, $2, $3 }' | sort -g | awk '
    { printf "scan %.2f s, product %.2f s, gentoAD %.2f s: scan less gentoAD is %.2f products\n", $4, $2, $3, $1 }'
echo "                                    command   reference"
compare "1 phenotype against wc -w" "env LC_ALL=C wc -w d20000" "$scan -pfile p1 -gfile d20000"
compare "1 phenotype, triplets, gentoAD" "$morvel -M gentoAD -file g20000 -out /dev/null" "$scan -pfile p1 -gfile g20000"
compare "logistic against plink2" "${plink//$'\n'/ }" "$scan -pfile pcases -gfile dmany -type logistic"
for type in dominant rank bins; do
    compare "1,000 phenotypes, $type" "$scan -pfile p1000 -gfile d20000 -statlimit 1e-4" \
        "$scan -pfile p1000 -gfile d20000 -statlimit 1e-4 -type $type"
done
# for_plink FILE: its phenotypes as plink2 reads them.
for_plink() {
    awk '{ for (i = 2; i <= NF; ++i) value[i] = value[i] "\t" $i; heads = heads "\tp" NR }
        END { print "#FID\tIID" heads; for (i = 2; i <= NF; ++i) print "f" i "\ti" i value[i] }' "$1" >"$1.plink"
}
head -n 20 p1000 >p20
for_plink p20
plink2 --silent --threads 1 --fam cases.fam --import-dosage d20000 noheader format=1 skip0=1 skip1=1 chr-col-num=1 \
    pos-col-num=3 --make-pgen --out d20000
compare "20 phenotypes, every pair, plink2" \
    "plink2 --silent --threads 1 --pfile d20000 --pheno p20.plink --glm allow-no-covars --out plink" \
    "$scan -pfile p20 -gfile d20000 -statlimit 1"
awk '{ for (i = 2; i <= NF; ++i) $i = $i == "NA" ? "NA" : $i > 10 ? 2 : 1 } 1' p20 >p20cases
for_plink p20cases
compare "20 of cases, every pair, plink2" \
    "plink2 --silent --threads 1 --pfile d20000 --pheno p20cases.plink --glm firth-fallback allow-no-covars --out plink" \
    "$scan -pfile p20cases -gfile d20000 -type logistic -statlimit 1"
compare "1,000 phenotypes, hits at 0.05" "$scan -pfile p1000 -gfile d20000 -statlimit 1e-4" \
    "$scan -pfile p1000 -gfile d20000"
