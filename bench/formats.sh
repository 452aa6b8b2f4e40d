#!/usr/bin/env bash
# Times the format modes after gentoAD against wc -w on the same file: 750 individuals, over 600 MB of triplets and
# over 200 MB of dosages; and the four file-reading tests on 250 MB of triplets.
set -euo pipefail
cd "$(dirname "$0")/.."
. bench/timing.sh
build_for_bench
morvel=$PWD/build/morvel
makedata=$PWD/build/bench/makedata
data=${1:-out/bench-formats}
mkdir -p "$data"
cd "$data"
[ -s triplets ] || "$makedata" triplets 750 105000 >triplets
[ -s dosages ] || "$morvel" -M gentoAD -file triplets -out dosages >/dev/null
[ -s FULLSET_750_165000.impute ] || "$makedata" triplets 750 42000 >FULLSET_750_165000.impute
ls -l triplets dosages FULLSET_750_165000.impute | awk '{ printf "%s: %.0f MB\n", $NF, $5 / 1e6 }'

fresh='result result.stats'
words='env LC_ALL=C wc -w'
echo "                                     morvel       wc -w"
compare "ADtogen" "$words dosages" "$morvel -M ADtogen -file dosages -out result"
compare "avgAD" "$words dosages" "$morvel -M avgAD -file dosages -out result"
compare "avgAD -show no-stdev" "$words dosages" "$morvel -M avgAD -file dosages -out result -show no-stdev"
compare "avgGEN" "$words triplets" "$morvel -M avgGEN -file triplets -out result"
compare "avgGEN -show no-stdev" "$words triplets" "$morvel -M avgGEN -file triplets -out result -show no-stdev"
compare "gentoletters" "$words triplets" "$morvel -M gentoletters -file triplets -out result"
compare "gentoletters -genodelim comma" "$words triplets" \
    "$morvel -M gentoletters -file triplets -out result -genodelim comma"
for mode in read1 read2 read3 read4; do
    compare "$mode" "$words FULLSET_750_165000.impute" "$morvel -M $mode"
done

# One line of 100 MB.
awk 'BEGIN { printf "1 rs1 1 A G"; for (i = 0; i < 12500000; ++i) printf " 0 0.25 1"; print "" }' >long-line
ls -l long-line | awk '{ printf "long-line: %.0f MB\n", $5 / 1e6 }'
for mode in ADtogen avgAD avgGEN gentoletters; do
    compare "$mode, one line" "$words long-line" "$morvel -M $mode -file long-line -out result"
done
