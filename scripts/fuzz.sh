#!/usr/bin/env bash
# Fuzzes on one core, by fuzzers that learn from the code they reach: the parts of the text layer by libFuzzer, every
# mode and every verb of the companions by AFL++. Tells for each the executions, the edges reached and the findings.
#   [MINUTES=30] scripts/fuzz.sh [NAME...]    minutes for each; a part as lines, a mode as gwas3, a verb as table-select
#   SHORT=1 scripts/fuzz.sh                   two minutes in all
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
start_log build-fuzz-program/fuzz.log
install_packages $build_packages clang afl++
parts="lines fields numbers compressed"
seeds=tests/fuzz/seeds
seconds=$((${MINUTES:-30} * 60))
part_seconds=$seconds
[ -z "${SHORT:-}" ] || seconds=70 part_seconds=10

for preset in fuzz-text fuzz-program; do
    logged cmake --preset $preset
    logged cmake --build --preset $preset --parallel "$(nproc)"
done
words=build-fuzz-program/words
commands=$(cd $words && ls -- *.dict | sed 's/\.dict$//')
for command in $commands; do
    [ -e "$seeds/program/$command" ] || { echo "$seeds/program/$command is missing: a valid run"; exit 1; }
done

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
[ ! -d /dev/shm ] || { rmdir "$folder" && folder=$(mktemp -d -p /dev/shm); }
# A run's folder needs no disk. Values too long for new are std::bad_alloc, which malloc must not be asked about.
export ASAN_OPTIONS=abort_on_error=1:symbolize=0:detect_leaks=0:alloc_dealloc_mismatch=0
ASAN_OPTIONS+=:allocator_may_return_null=1:max_allocation_size_mb=256
export AFL_SKIP_CPUFREQ=1 AFL_I_DONT_CARE_ABOUT_MISSING_CRASHES=1 AFL_NO_UI=1 AFL_NO_AFFINITY=1 AFL_AUTORESUME=1
export MORVEL_FUZZ_FOLDER=$folder/run
found=0

# Whether a kept input ends a target by a signal, or not at all; it may be older than its mend.
fails() {
    local status=0
    timeout 120 "$@" >/dev/null 2>&1 || status=$?
    [ $status -gt 1 ]
}

# tell NAME EXECUTIONS EDGES TARGET INPUT...: the inputs that have failed
tell() {
    local input findings=()
    for input in "${@:5}"; do
        fails "$4" "$input" && findings+=("$input")
    done
    printf '%-18s %10d executions %6d edges %3d findings\n' "$1" "$2" "$3" ${#findings[@]}
    found=$((found + ${#findings[@]}))
    [ ${#findings[@]} -eq 0 ] || printf '    %s\n' "${findings[@]}"
}

# fuzz_part NAME
fuzz_part() {
    local kept=build-fuzz-text/found/$1 out=build-fuzz-text/$1.log target=build-fuzz-text/tests/fuzz/fuzz-$1
    mkdir -p "$kept" "$kept-crashes"
    "$target" -max_total_time=$part_seconds -print_final_stats=1 -timeout=10 -artifact_prefix="$kept-crashes/" \
        "$kept" $seeds/"$1" >"$out" 2>&1 || true
    tell "$1" "$(sed -n 's/^stat::number_of_executed_units: *//p' "$out")" \
        "$(grep -o 'cov: [0-9]*' "$out" | tail -n 1 | cut -c 6-)" "$target" $(find "$kept-crashes" -type f)
}

# fuzz_program NAME SEED...: one command, or all
fuzz_program() {
    local kept=build-fuzz-program/found/$1 target=build-fuzz-program/tests/fuzz/fuzz-program
    rm -rf "$folder/seeds"
    mkdir -p "$folder/seeds" build-fuzz-program/found
    cp "${@:2}" "$folder/seeds"
    logged timeout $((seconds * 2 + 120)) afl-fuzz -i "$folder/seeds" -o "$kept" -x "$folder/words" -m none -t 10000 \
        -V $seconds -- "$target" @@
    tell "$1" "$(sed -n 's/^execs_done *: //p' "$kept/default/fuzzer_stats")" \
        "$(sed -n 's/^edges_found *: //p' "$kept/default/fuzzer_stats")" "$target" \
        $(find "$kept/default/crashes" "$kept/default/hangs" -name 'id:*')
}

if [ -n "${SHORT:-}" ]; then
    for name in $parts; do
        fuzz_part "$name"
    done
    sort -u $words/*.dict >"$folder/words"
    fuzz_program all $seeds/program/*
else
    for name in ${*:-$parts $commands}; do
        case " $parts " in *" $name "*)
            fuzz_part "$name"
            continue ;;
        esac
        cp "$words/$name.dict" "$folder/words"
        runs=$(ls $seeds/program/"$name" $seeds/program/"$name"-[0-9]* 2>/dev/null || true)
        MORVEL_FUZZ_COMMAND=$name fuzz_program "$name" $runs
    done
fi
[ $found -eq 0 ] || exit 1
