#!/usr/bin/env bash
# Times morvel-gather join against cat on the same files: dosages of 750 individuals from 400 MB of triplets, and all
# rows of regscan1 for 300 phenotypes, each in 20 parts; and gentoAD in parts, which wait for the disk, against one run.
set -euo pipefail
cd "$(dirname "$0")/.."
. bench/timing.sh
build_for_bench
PATH=$PWD/build:$PATH
make=$PWD/build/bench/makedata
data=${1:-out/bench-gather}
mkdir -p "$data"
cd "$data"
[ -s triplets ] || "$make" triplets 750 67000 >triplets
[ -s phenotypes ] || "$make" phenotypes 750 300 >phenotypes
head -n 8000 triplets >fewer
convert="morvel -M gentoAD -file triplets -out"
scan="morvel -M regscan1 -pfile phenotypes -gfile fewer -statlimit 1 -out"
in_parts() {
    echo "for part in \$(seq 20); do morvel-gather run -part \$part -of 20 -- $1\$part || exit 1; done"
}
in_parts "$convert ad." >convert.sh
in_parts "$scan hits." >scan.sh

# What comes out is right, before the clock.
$convert ad >/dev/null
$scan hits >/dev/null
for kind in ad:convert hits:scan; do
    bash ${kind#*:}.sh >/dev/null
    morvel-gather join -parts "${kind%:*}.%" -out joined
    cmp joined ${kind%:*}
done
cmp joined.stats hits.stats
ls -l ad hits hits.1.tallies | awk '{ printf "%s: %.1f MB\n", $NF, $5 / 1e6 }'

fresh='joined joined.stats whole'
compare "join dosages, against cat" "sh -c 'cat ad.? ad.?? >whole'" "morvel-gather join -parts ad.% -out joined"
compare "join all rows, against cat" "sh -c 'cat hits.? hits.?? >whole'" "morvel-gather join -parts hits.% -out joined"
compare "20 parts of gentoAD, against one run" "$convert whole" "bash convert.sh"
