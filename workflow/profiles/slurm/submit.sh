#!/usr/bin/env bash
# submit.sh NAME MEGABYTES MINUTES SCRIPT: hands a job to Slurm and prints its number. Settings of the cluster, such as
# account and partition, come from SBATCH_ACCOUNT, SBATCH_PARTITION and so on.
set -euo pipefail
jobs=$MORVEL_STUDY/parts/slurm
mkdir -p "$jobs"
# What a run before this one has submitted, and was killed, must not make its outputs again later.
for list in "$jobs"/run.*; do
    [ -e "$list" ] && [ "$list" != "$jobs/run.$MORVEL_RUN" ] || continue
    old=$(paste -s -d , "$list")
    scancel --quiet ${old//,/ } >/dev/null 2>&1 || true
    for second in $(seq 60); do
        squeue -h -j "$old" -t PD,R,CG -o %i 2>/dev/null | grep -q . || break
        sleep 1
    done
    rm -f "$list"
done
job=$(sbatch --parsable --requeue --job-name="morvel-$1" --mem="$2" --time="$3" --ntasks=1 --cpus-per-task=1 \
    --output="$jobs/%j.out" "$4")
echo "${job%%;*}" >>"$jobs/run.$MORVEL_RUN"
echo "${job%%;*}"
