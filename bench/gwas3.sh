#!/bin/bash
# The fast association scan against a matrix product, its own plain loop, the speed of counting words, and its
# memory formula. One core, warm page cache; medians of 5 rounds in which the two sides take turns.
#   gwas3.sh BUILD_FOLDER [DATA_FOLDER]
# Needs: a build with MORVEL_BENCH, GNU time, and numpy with OpenBLAS for /usr/bin/python3.
set -euo pipefail
build=$(realpath "$1")
data=${2:-$(mktemp -d)}
mkdir -p "$data"
cd "$data"
export LC_ALL=C OPENBLAS_NUM_THREADS=1
rounds=5

make_data() {  # KIND INDIVIDUALS LINES FILE
    [ -s "$4" ] || "$build/bench/makedata" "$1" "$2" "$3" > "$4"
}
seconds() {
    local start=$EPOCHREALTIME
    "$@" > /dev/null
    awk "BEGIN { printf \"%.3f\n\", $EPOCHREALTIME - $start }"
}
scan() {  # PHENOTYPES GENOTYPES
    "$build/morvel" -M gwas3 -pfile "$1" -gfile "$2" -out hits
}
product() {  # MARKERS INDIVIDUALS PHENOTYPES: seconds of the product alone, without making the matrices
    /usr/bin/python3 -c "
import numpy, time
a = numpy.random.rand($1, $2); b = numpy.random.rand($2, $3)
a[:100] @ b
start = time.perf_counter(); a @ b; print(f'{time.perf_counter() - start:.3f}')"
}
median() { sort -g | sed -n "$(((rounds + 1) / 2))p"; }
compare() {  # NAME LIMIT COMMAND_A COMMAND_B: each prints its seconds
    local a b ratios= as= bs=
    for ((i = 0; i < rounds; ++i)); do
        a=$($3)
        b=$($4)
        as+="$a "; bs+="$b "
        ratios+="$(awk "BEGIN { print $a / $b }")"$'\n'
    done
    echo "$1: $(printf '%s' "$ratios" | median) (limit $2); seconds: $as/ $bs"
}

make_data triplets 750 20000 g20000
make_data triplets 750 10000 g10000
make_data phenotypes 750 1000 p1000
make_data phenotypes 750 500 p500
make_data phenotypes 750 1 p1
make_data triplets 375 20000 g375
make_data phenotypes 375 1000 p375
sed 's/ NA/ 9.5/g' p1000 > pfull
cat g20000 > /dev/null

echo "The plain loop, 750 individuals, 1000 phenotypes, 20000 markers"
plain=$(seconds "$build/bench/literalgwas3" p1000 g20000 plain)
fast=$(seconds scan p1000 g20000)
cmp hits plain
cmp hits.stats plain.stats
awk "BEGIN { printf \"same bytes; plain / scan: %.1f (at least 10); seconds: $plain / $fast\n\", $plain / $fast }"

a() { seconds scan p1000 g20000; }
b() { product 20000 750 1000; }
compare "scan / matrix product" 6 a b
a() { seconds scan pfull g20000; }
b() { seconds scan p1000 g20000; }
compare "no value missing / 2 % missing" "below 1" a b
a() { seconds scan p1 g20000; }
b() { seconds wc -w g20000; }
compare "1 phenotype / wc -w" 0.7 a b

b() { seconds scan p1000 g20000; }
a() { seconds scan p1000 g10000; }
compare "half the markers / all" "0.5 is linear" a b
a() { seconds scan p500 g20000; }
compare "half the phenotypes / all" "0.5 is linear, reading included above" a b
a() { seconds scan p375 g375; }
compare "half the individuals / all" "0.5 is linear" a b

make_data triplets 2000 300 g2000
make_data phenotypes 2000 10000 p10000
peak=$(/usr/bin/time -f %M "$build/morvel" -M gwas3 -pfile p10000 -gfile g2000 -out hits 2>&1 > /dev/null)
base=$(/usr/bin/time -f %M "$build/morvel" 2>&1 > /dev/null)
# Matrix, bits of presence, 32 marker lines; see the documentation.
awk "BEGIN { i = 2000; p = 10000; f = (8 * i * p + i * p / 8 + 32 * (16 * p + 3.25 * i + 1600)) / 1024
    printf \"10000 phenotypes x 2000 individuals: %d KB at most; formula %d KB + program %d KB = %d KB\n\",
    $peak, f, $base, f + $base }"
