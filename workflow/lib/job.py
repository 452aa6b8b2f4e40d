"""Runs one command of the study: job.py LOG [-o FILE] [-remove FOLDER] -- COMMAND...

All that the command says is in LOG, whose last line then tells how it went; -o puts its standard output into FILE,
which appears under its name when complete; -remove takes a folder away after success. Two that have the same log wait
for each other: what a killed run has left behind may still be writing the same files.
"""
import fcntl
import os
import resource
import shutil
import socket
import subprocess
import sys
import time

split = sys.argv.index("--")
log, options, command = sys.argv[1], sys.argv[2:split], sys.argv[split + 1:]
options = dict(zip(options[::2], options[1::2]))
os.makedirs(os.path.dirname(log), exist_ok=True)
text = open(log, "a+b", buffering=0)
fcntl.flock(text, fcntl.LOCK_EX)
text.truncate(0)
begin = time.time()
output = options.get("-o")
# Another host may write the same file where locks do not reach.
made = f"{output}.{socket.gethostname()}.{os.getpid()}" if output else None
status = 127
try:
    with open(made, "wb") if made else open(os.devnull, "wb") as file:
        status = subprocess.run(command, stdin=subprocess.DEVNULL, stdout=file if made else text,
                                stderr=text).returncode
        os.fsync(file.fileno()) if made and status == 0 else None
    if made and status == 0:
        os.replace(made, output)
except OSError as error:
    status = status or 1
    text.write(f"{error}\n".encode())
finally:
    if made and os.path.exists(made):
        os.remove(made)
if status == 0 and "-remove" in options:
    shutil.rmtree(options["-remove"], ignore_errors=True)
used = resource.getrusage(resource.RUSAGE_CHILDREN)
if status:
    text.seek(0)
    said = text.read().decode("utf-8", "replace").splitlines()
    print(f"{' '.join(command[:12])}\nended with status {status}; {log} ends in", *said[-8:], sep="\n  ",
          file=sys.stderr)
text.write(f"\njob: status {status} wall {time.time() - begin:.2f} processor {used.ru_utime + used.ru_stime:.2f} "
           f"memory {used.ru_maxrss // 1024} host {os.environ.get('SLURMD_NODENAME', socket.gethostname())}\n".encode())
sys.exit(1 if status else 0)
