#!/usr/bin/env bash
# Times popsel as a whole command against scipy's solver of the assignment problem with its dense matrix (reading,
# matrix and solver, without the start of the interpreter), and the exact stage of a large input against the first stage
# alone. Prints processor seconds, ratios, peak memory, and by how much the total distance exceeds the optimum.
set -euo pipefail
cd "$(dirname "$0")/.."
. bench/timing.sh
build_for_bench
install_packages python3-scipy libopenblas0-pthread
morvel=$PWD/build/morvel
makedata=$PWD/build/bench/makedata
data=${1:-out/bench-popsel}
mkdir -p "$data"
cd "$data"

# solve CASES POOL: seconds, and the least total distance. Given OUT as well: that of the matches in there, instead.
solve() {
    OPENBLAS_NUM_THREADS=1 taskset -c 1 /usr/bin/python3 - "$@" <<'END'
import sys, time
import numpy as np
from scipy.optimize import linear_sum_assignment
from scipy.spatial.distance import cdist
start = time.process_time()
read = lambda file: np.loadtxt(file, usecols=range(1, 11))
cases, pool = read(sys.argv[1]), read(sys.argv[2])
deviations = np.vstack([cases, pool]).std(axis=0)
distances = cdist(cases / deviations, pool / deviations) / np.sqrt(10)
if len(sys.argv) == 3:
    rows, columns = linear_sum_assignment(distances)
    print(time.process_time() - start, repr(float(distances[rows, columns].sum())))
else:
    place = lambda file: {line.split("\t")[0]: i for i, line in enumerate(open(file))}
    first, second = place(sys.argv[1]), place(sys.argv[2])
    fields = [line.split("\t") for line in list(open(sys.argv[3]))[1:]]
    assert len({row[2] for row in fields}) == len(cases)
    print(repr(float(sum(distances[first[row[0]], second[row[2]]] for row in fields))))
END
}

# match OPTIONS: seconds and peak KiB.
match() { taskset -c 1 env time -q -f '%U %S %M' "$morvel" -M popsel -out matched "$@" 2>&1 >/dev/null \
    | awk '{ print $1 + $2, $3 }'; }

$makedata cases 10 2000 >cases
$makedata pool 10 20000 >pool
for run in 1 2 3 4 5; do
    echo "$(match -file1 cases -file2 pool) $(solve cases pool)"
done | sort -g | awk -v found="$(solve cases pool matched)" '
    { ours[NR] = $1; theirs[NR] = $3; ratio = ratio sprintf(" %.2f", $1 / $3); kib = $2; least = $4 }
    END { printf "2,000 of 20,000: %.2f s, scipy %.2f s, ratios%s, %.0f MiB, above the optimum by %.1e of it\n",
                 ours[3], theirs[3], ratio, kib / 1024, found / least - 1 }'

$makedata cases 10 20000 >cases
$makedata pool 10 200000 >pool
set -- -file1 cases -file2 pool -hitnumber 2 -exact-individuals 1000
echo "$(match "$@" -exact-rounds 0) $(match "$@")" | awk '
    { printf "20,000 of 200,000, 2 each: %.1f s, the first stage alone %.1f s, ratio %.1f, %.0f MiB\n",
             $3, $1, $3 / $1, $4 / 1024 }'
sed -n '/^Round/,/^$/p' matched.log
