#!/usr/bin/env bash
# Runs the workflow on a real Slurm of three nodes in this machine, with its own keys, settings and sockets, on loopback
# addresses: a node and a job are killed in the middle, then Snakemake itself; every byte must be that of one run.
# Status 77: skipped, which only happens without root.
set -euo pipefail
cd "$(dirname "$0")/.."
if [ "$(id -u)" -ne 0 ]; then
    echo "SKIPPED: $0 starts Slurm, and needs root for that"
    exit 77
fi
. scripts/packages.sh
start_log build/cluster.log
install_packages $build_packages snakemake tabix gnuplot-nox fonts-dejavu-core \
    slurmctld slurmd slurm-client munge python3
logged cmake -S . -B build
logged cmake --build build --parallel "$(nproc)" --target morvel morvel-plot morvel-gather
source=$PWD PATH=$PWD/build:$PATH:/usr/sbin
. tests/workflow/study.sh
work=$(mktemp -d)
cd "$work"
export SLURM_CONF=$work/slurm.conf
host=$(hostname -s)

# processes VARIABLE=VALUE: the numbers of those that have this in their environment.
processes() {
    grep -lzx -- "$1" /proc/[0-9]*/environ 2>/dev/null | grep -o '[0-9]*' || true
}

# Slurm's daemons and jobs all have SLURM_CONF from here; this shell and its children are left out.
clean_up() {
    local status=$? process
    [ $status -eq 0 ] || tail -n 15 ./*.yaml.log slurmctld.log 2>/dev/null || true
    for signal in TERM KILL; do
        for process in $(processes "SLURM_CONF=$SLURM_CONF"); do
            [ "$process" -eq $$ ] || kill -$signal "$process" 2>/dev/null || true
        done
        sleep 1
    done
    cd /
    rm -rf "$work"
    exit $status
}
trap clean_up EXIT
trap 'exit 1' INT TERM

# Four ports that nobody listens at.
ports=($(/usr/bin/python3 -c '
import socket
free = [socket.socket() for _ in range(4)]
for s in free: s.bind(("127.0.0.1", 0))
print(*(s.getsockname()[1] for s in free))'))

start_slurm() {
    mkdir state
    chmod 755 .
    head -c 128 /dev/urandom >key
    chmod 600 key
    munged --force --key-file="$work/key" --socket="$work/munge.socket" --pid-file="$work/munged.pid" \
        --log-file="$work/munged.log" --seed-file="$work/seed"
    cat >slurm.conf <<C
ClusterName=morvel
SlurmctldHost=$host(127.0.0.1)
SlurmctldPort=${ports[0]}
SlurmUser=root
AuthInfo=socket=$work/munge.socket
CommunicationParameters=NoInAddrAny,NoCtldInAddrAny
StateSaveLocation=$work/state
SlurmdSpoolDir=$work/spool.%n
SlurmctldPidFile=$work/slurmctld.pid
SlurmdPidFile=$work/%n.pid
SlurmctldLogFile=$work/slurmctld.log
SlurmdLogFile=$work/%n.log
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
JobAcctGatherType=jobacct_gather/none
SelectType=select/cons_tres
SelectTypeParameters=CR_Core_Memory
SlurmdParameters=config_overrides
MpiDefault=none
MailProg=/bin/true
SlurmdTimeout=10
KillWait=2
SchedulerParameters=batch_sched_delay=1,sched_interval=2,sched_min_interval=100000
NodeName=n1 NodeHostname=$host NodeAddr=127.0.0.1 Port=${ports[1]} CPUs=1 RealMemory=4000
NodeName=n2 NodeHostname=$host NodeAddr=127.0.0.1 Port=${ports[2]} CPUs=1 RealMemory=4000
NodeName=n3 NodeHostname=$host NodeAddr=127.0.0.1 Port=${ports[3]} CPUs=1 RealMemory=4000
PartitionName=all Nodes=n[1-3] Default=yes
C
    slurmctld -c
    for node in n1 n2 n3; do slurmd -N $node; done
    until [ "$(sinfo -h -t idle -o %D 2>/dev/null)" = 3 ]; do sleep 0.3; done
}

# in_time COMMAND: waits until it succeeds, a minute at most.
in_time() {
    local tries
    for tries in $(seq 300); do
        "$@" && return
        sleep 0.2
    done
    echo "waited in vain: $*"
    exit 1
}

# The node vanishes with all that runs on it.
kill_node() {
    local process
    kill -9 "$(cat "$1.pid")"
    for process in $(processes "SLURMD_NODENAME=$1"); do kill -9 "$process" 2>/dev/null || true; done
}

# The program as it is, but that the first run of it on two of the nodes takes its time, to be killed meanwhile.
mkdir bin
cat >bin/morvel <<B
#!/usr/bin/env bash
case "\$SLURMD_NODENAME" in n1 | n2) mkdir "$work/first.\$SLURMD_NODENAME" 2>/dev/null && echo "\$SLURM_JOB_ID" \
    >"$work/job.\$SLURMD_NODENAME" && sleep 60 ;; esac
exec "$source/build/morvel" "\$@"
B
chmod +x bin/morvel

start_slurm
export CI=true # Snakemake looks after its jobs every second
slurm=(--profile "$source/workflow/profiles/slurm" --latency-wait 5)
ln -s "$source/examples" examples
write_study example examples/example.gen examples/example.pheno height "" ""
make_data 1000 300 12
write_costs 3000 300 12 >costs
write_study made "chr1.gen, chr2.gen.gz, chr3.gen.gz" traits trait3 "costs: costs" '  maps: map.{chromosome}
  threshold: 0.0008'
one_run one-example examples/example.pheno height "" examples/example.gen
one_run one traits trait3 maps chr1.gen chr2.gen.gz chr3.gen.gz

PATH=$work/bin:$PATH
run_study made.yaml "${slurm[@]}" &
run=$!
in_time test -s job.n2
echo "node n2 killed with $(squeue -h -j "$(cat job.n2)" -o %j) on it"
kill_node n2
in_time test -s job.n1
echo "job $(cat job.n1), $(squeue -h -j "$(cat job.n1)" -o %j), killed on n1"
for process in $(processes "SLURM_JOB_ID=$(cat job.n1)"); do kill -9 "$process" 2>/dev/null || true; done
in_time grep -qE '^(2[5-9]|[3-9].) of ' made.yaml.log
kill -9 "$(cat main)"
wait $run || true
echo "Snakemake killed at: $(grep ' steps (' made.yaml.log | tail -n 1)"
run_study made.yaml "${slurm[@]}"
grep -h ' of .* steps (' made.yaml.log | tail -n 1
cat made/summary.txt
compare_with_one_run made one trait3 maps

run_study example.yaml "${slurm[@]}"
compare_with_one_run example one-example height ""
