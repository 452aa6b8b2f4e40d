#!/usr/bin/env bash
# status.sh JOB: running, success or failed. Of a job that Slurm has already forgotten, its accounting is asked.
state=$(scontrol show job -o "$1" 2>/dev/null | sed -n 's/.* JobState=\([A-Z_]*\).*/\1/p')
[ -n "$state" ] || state=$(sacct -n -X -j "$1" -o State 2>/dev/null | awk '{ print $1; exit }')
case $state in
    COMPLETED) echo success ;;
    PENDING | CONFIGURING | RUNNING | COMPLETING | REQUEUED | REQUEUE_HOLD | REQUEUE_FED | RESIZING | SIGNALING | \
        SPECIAL_EXIT | STAGE_OUT | STOPPED | SUSPENDED) echo running ;;
    "") scontrol ping >/dev/null 2>&1 && echo failed || echo running ;; # where Slurm itself does not answer: wait
    *) echo failed ;;
esac
