#!/usr/bin/env bash
# Times the modes over pairs of relatives against sort on the same file: 1,000,000 pairs among 700,000
# individuals, most in families of 2 to 6, and 2,000,000 among 1,400,000 for how the time grows.
set -euo pipefail
cd "$(dirname "$0")/.."
. bench/timing.sh
build_for_bench
morvel=$PWD/build/morvel
make=$PWD/build/bench/makedata
data=${1:-out/bench-related}
mkdir -p "$data"
cd "$data"
[ -s pairs ] || $make pairs 700000 1000000 >pairs
[ -s pairs2 ] || $make pairs 1400000 2000000 >pairs2
[ -s weights ] || $make weights 700000 500000 >weights
[ -s weights2 ] || $make weights 1400000 1000000 >weights2
wc -l pairs pairs2 weights weights2

fresh='result result.stats sorted'
sort='env LC_ALL=C sort --parallel=1 -o sorted'
echo "                                     morvel        sort"
compare "family" "$sort pairs" "$morvel -M family -file pairs -out result"
compare "family -showmatrix yes" "$sort pairs" "$morvel -M family -file pairs -out result -showmatrix yes"
for mode in relout5 relout6; do
    for rule in 0 1 2; do
        command="$morvel -M $mode -limit 0.0442 -mode $rule -out result"
        compare "$mode -mode $rule" "$sort pairs" "$command -file pairs"
        compare "$mode -mode $rule, weights" "$sort pairs" "$command -file pairs -pfile weights"
    done
done

echo "                                      2 x pairs       pairs"
command="$morvel -M family -out result"
compare "family" "$command -file pairs" "$command -file pairs2"
compare "family -showmatrix yes" "$command -showmatrix yes -file pairs" "$command -showmatrix yes -file pairs2"
for mode in relout5 relout6; do
    for rule in 0 1 2; do
        command="$morvel -M $mode -limit 0.0442 -mode $rule -out result"
        compare "$mode -mode $rule" "$command -file pairs" "$command -file pairs2"
        compare "$mode -mode $rule, weights" "$command -file pairs -pfile weights" \
            "$command -file pairs2 -pfile weights2"
    done
done
