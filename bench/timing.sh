# To be sourced: building, and timing whole commands side by side. Wall seconds and peak memory by GNU time.
. "$(dirname "${BASH_SOURCE[0]}")/../scripts/packages.sh"

build_for_bench() {
    install_packages $build_packages time
    cmake -S . -B build -DCMAKE_BUILD_TYPE=Release -DMORVEL_BENCH=ON >/dev/null
    cmake --build build --parallel "$(nproc)" >/dev/null
    lscpu | sed -n 's/^Model name: */processor: /p'
    c++ --version | sed -n '1s/^/compiler: /p'
}

# main_job_data FOLDER: 750 individuals, over 400 MB of triplets, 20 phenotypes, and the first of these alone.
main_job_data() {
    mkdir -p "$1"
    [ -s "$1/triplets" ] || build/bench/makedata triplets 750 70000 >"$1/triplets"
    [ -s "$1/phenotypes" ] || build/bench/makedata phenotypes 750 20 >"$1/phenotypes"
    head -n 1 "$1/phenotypes" >"$1/phenotype"
}

# seconds COMMAND: how long it takes on one core.
seconds() {
    local file
    file=$(mktemp)
    taskset -c 1 env time -q -o "$file" -f %e "$@" >/dev/null
    cat "$file"
    rm -f "$file"
}

# spent COMMAND: processor seconds, of the system too.
spent() {
    local TIMEFORMAT='%3U %3S'
    { time taskset -c 1 "$@" >/dev/null; } 2>&1 | awk '{ print $1 + $2 }'
}

# product_seconds: how long numpy with OpenBLAS takes on one thread to multiply 20,000 markers x 750 individuals by 750 x
# 1,000 phenotypes, without making the matrices.
product_seconds() {
    OPENBLAS_NUM_THREADS=1 taskset -c 1 /usr/bin/python3 -c '
import numpy, time
a = numpy.random.rand(20000, 750); b = numpy.random.rand(750, 1000)
a[:100] @ b
start = time.perf_counter(); a @ b; print(time.perf_counter() - start)'
}

# compare NAME REFERENCE COMMAND: runs the two in turn, 7 times after a warm-up, pinned to one core, and prints the
# medians, their ratio and the command's peak memory. The files named in `fresh` are removed before each run: to write
# over a file that the disk has not yet taken in full means to wait for the disk.
compare() {
    local name=$1 reference=$2 command=$3 run ours theirs
    ours=$(mktemp) theirs=$(mktemp)
    for run in 0 1 2 3 4 5 6 7; do
        taskset -c 1 env time -q -a -o "$theirs" -f '%e %M' bash -c "exec $reference" >/dev/null
        [ -z "${fresh:-}" ] || rm -f $fresh
        taskset -c 1 env time -q -a -o "$ours" -f '%e %M' bash -c "exec $command" >/dev/null
        [ "$run" -eq 0 ] && : >"$ours" && : >"$theirs"
    done
    paste "$ours" "$theirs" | awk -v name="$name" '
        function median(values, n) { asort_(values, n); return values[int((n + 1) / 2)] }
        function asort_(values, n,  i, j, v) {
            for (i = 2; i <= n; ++i) {
                v = values[i]
                for (j = i - 1; j > 0 && values[j] > v; --j) values[j + 1] = values[j]
                values[j + 1] = v
            }
        }
        { ours[NR] = $1; memory = $2 > memory ? $2 : memory; theirs[NR] = $3; ratio[NR] = $1 / $3 }
        END {
            printf "%-34s %8.3f s %8.3f s   ratio %.2f (%.2f to %.2f)   peak %.1f MiB\n", name, median(ours, NR),
                   median(theirs, NR), median(ratio, NR), ratio[1], ratio[NR], memory / 1024
        }'
    rm -f "$ours" "$theirs"
}
