#!/usr/bin/env bash
# Times this build against that of an earlier commit: both made in the same way, run in turn on the same core; processor
# seconds, medians of the runs and of the ratios. With a kind of processor, both take any for one of that kind at most.
#   bench/against.sh [COMMIT [FOLDER [RUNS [avx512|avx2|sse2]]]]
set -euo pipefail
cd "$(dirname "$0")/.."
. bench/timing.sh
commit=${1:-e38fb76}
data=$(realpath -m "${2:-out/bench-against}")
runs=${3:-7}
kind=${4:-avx512}
build_for_bench
mkdir -p "$data"

if [ ! -x "$data/build/morvel" ]; then
    git worktree add --force --detach "$data/source" "$commit" >/dev/null
    cmake -S "$data/source" -B "$data/build" -DCMAKE_BUILD_TYPE=Release >/dev/null
    cmake --build "$data/build" --parallel "$(nproc)" --target morvel >/dev/null
    git worktree remove --force "$data/source"
fi

# for_kind FOLDER NAME: links the program of a build again, with what makes it take the processor for a lesser one.
for_kind() {
    local link
    link=$(sed "s# -o morvel # '$data/lesser.o' '$data/cpuinfo.o' -o '$data/$2' #" "$1/CMakeFiles/morvel.dir/link.txt")
    (cd "$1" && eval "$link")
}

new=$PWD/build/morvel
old=$data/build/morvel
if [ "$kind" != avx512 ]; then
    ar p "$(c++ -print-libgcc-file-name)" cpuinfo.o >"$data/cpuinfo.o"
    objcopy --redefine-sym __cpu_indicator_init=probeProcessor "$data/cpuinfo.o"
    least=
    [ "$kind" != sse2 ] || least=-DLEAST
    c++ -O2 -fPIC $least -c bench/lesserprocessor.cpp -o "$data/lesser.o"
    for_kind build "new-$kind"
    for_kind "$data/build" "old-$kind"
    new=$data/new-$kind
    old=$data/old-$kind
fi
make=$PWD/build/bench/makedata
limits=$PWD/build/bench/limits
cd "$data"
[ -s triplets ] || $make triplets 750 20000 >triplets
[ -s phenotypes ] || $make phenotypes 750 1000 >phenotypes
[ -s pairs ] || $make allpairs 2000 0 >pairs
[ -s results ] || $make results 1 1000000 >results
[ -s map ] || $make map 5000 50000 >map
[ -s values ] || $make values 2 200000 >values
head -n 1 phenotypes >phenotype1
head -n 20 phenotypes >phenotype20
$new -M gentoAD -file triplets -out dosages >/dev/null

# job INPUT OUTPUT ARGUMENTS: times both builds, and the program that only reads and writes as many bytes.
job() {
    local input=$1 output=$2 run
    shift 2
    : >times
    for run in $(seq "$runs"); do
        rm -f made made.*
        new_time=$(spent "$new" "$@")
        size=$([ "$output" = - ] && echo 0 || stat -c %s "$output")
        rm -f made made.*
        old_time=$(spent "$old" "$@")
        rm -f made made.*
        floor=$(spent "$limits" "$input" made "$size")
        echo "$new_time $old_time $floor" >>times
    done
    awk -v name="${*:2:1} ${*:5}" '
        function median(values, n,  i, j, v) {
            for (i = 2; i <= n; ++i) {
                v = values[i]
                for (j = i - 1; j > 0 && values[j] > v; --j) values[j + 1] = values[j]
                values[j + 1] = v
            }
            return values[int((n + 1) / 2)]
        }
        { new[NR] = $1; old[NR] = $2; floor[NR] = $3; ratio[NR] = $1 / ($2 > 0 ? $2 : 0.001) }
        END {
            f = median(floor, NR)
            printf "%-62s new %.3f old %.3f ratio %.2f floor %.3f times the floor %.1f\n", substr(name, 1, 62),
                   median(new, NR), median(old, NR), median(ratio, NR), f, median(new, NR) / (f > 0 ? f : 0.001)
        }' times
}

job triplets made -M gentoAD -file triplets -out made
job triplets made -M gentoAD -file triplets -out made -statistics yes
job triplets made -M gentoAD -file triplets -out made -to-hard-call yes
job dosages made -M ADtogen -file dosages -out made
job dosages made -M avgAD -file dosages -out made
job triplets made -M avgGEN -file triplets -out made
job triplets made -M gentoletters -file triplets -out made
job dosages - -M gwas -pfile phenotype20 -gfile dosages -out made
job dosages - -M gwas2 -pfile phenotype1 -gfile dosages -out made
job triplets - -M gwas3 -pfile phenotype1 -gfile triplets -out made
job dosages - -M gwas2 -pfile phenotypes -gfile dosages -out made
job triplets - -M gwas3 -pfile phenotypes -gfile triplets -out made
job pairs - -M family -file pairs -out made -threshold 0.4
job pairs - -M relout5 -file pairs -out made -limit 0.4
job pairs - -M relout6 -file pairs -out made -limit 0.4
job results made -M ldprune -file results -out made -map map -poscolumn 3 -pcolumn 9 -threshold 0.0001
job values made -M levin -file values -out made
# A run that does nothing is too short for the clock: 200 of them.
cat >starts <<'S'
for i in $(seq 200); do "$1" >/dev/null; done
S
for run in $(seq "$runs"); do
    echo "$(spent bash starts "$new") $(spent bash starts "$old")"
done | sort -n | awk '{ n[NR] = $1; o[NR] = $2; r[NR] = $1 / $2 } END {
    m = int((NR + 1) / 2); printf "200 runs that do nothing: new %.3f old %.3f ratio %.2f\n", n[m], o[m], n[m] / o[m] }'
