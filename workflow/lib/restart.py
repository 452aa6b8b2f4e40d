"""What a killed run has left behind must not stop the same command from going on."""
import fcntl
import glob
import os
import shutil

held = []


def takeOver():
    """Removes the locks and marks of a run in this folder that is no longer alive.

    The main process holds a lock as long as it lives. Marks of incomplete outputs mean nothing here, since outputs get
    their names when they are complete.
    """
    os.makedirs(".snakemake", exist_ok=True)
    lock = open(".snakemake/alive", "w")
    try:
        fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
    except OSError:
        return  # another run is at work: Snakemake will say so
    held.append(lock)
    for name in glob.glob(".snakemake/locks/*") + glob.glob(".snakemake/incomplete/*"):
        shutil.rmtree(name) if os.path.isdir(name) else os.remove(name)


def write(name, text):
    """Writes a small file under its name at once; one that holds the same stays as old as it is."""
    os.makedirs(os.path.dirname(name), exist_ok=True)
    try:
        with open(name) as file:
            if file.read() == text:
                return
    except OSError:
        pass
    with open(f"{name}.new", "w") as file:
        file.write(text)
    os.replace(f"{name}.new", name)
