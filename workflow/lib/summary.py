"""One summary of all jobs, from the last lines of their logs."""
import glob
import os
import re
import sys

LAST = re.compile(r"job: status (\d+) wall (\S+) processor (\S+) memory (\d+) host (\S+)\n\Z")


def readLogs(folder):
    """By step: jobs, failed ones, wall seconds, processor seconds, megabytes at most, hosts."""
    steps = {}
    for log in sorted(glob.glob(f"{glob.escape(folder)}/logs/*/*.log")):
        with open(log, "rb") as file:
            file.seek(max(0, os.path.getsize(log) - 300))
            found = LAST.search(file.read().decode("utf-8", "replace"))
        step = steps.setdefault(os.path.basename(os.path.dirname(log)), [0, [], 0.0, 0.0, 0, set()])
        step[0] += 1
        if not found or found[1] != "0":
            step[1].append(log)
        if found:
            step[2] += float(found[2])
            step[3] += float(found[3])
            step[4] = max(step[4], int(found[4]))
            step[5].add(found[5])
    return steps


def show(folder, end):
    """Writes the summary to summary.txt of the folder and to the terminal."""
    lines = [f"{'step':<16}{'jobs':>8}{'seconds':>12}{'processor':>12}{'MB at most':>12}  hosts"]
    failed = []
    for name, (jobs, bad, wall, processor, memory, hosts) in readLogs(folder).items():
        lines.append(f"{name:<16}{jobs:>8}{wall:>12.1f}{processor:>12.1f}{memory:>12}  {' '.join(sorted(hosts))}")
        failed += bad
    lines += [f"not complete: {log}" for log in failed] + [f"The study is {end}."]
    text = "\n".join(lines) + "\n"
    os.makedirs(folder, exist_ok=True)
    with open(f"{folder}/summary.txt", "w") as file:
        file.write(text)
    print(text, end="", file=sys.stderr)
