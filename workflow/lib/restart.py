"""What a killed run has left behind must not stop the same command from going on."""
import base64
import fcntl
import os

held = []


def filesIn(folder):
    return [os.path.join(root, name) for root, _, names in os.walk(folder) for name in names]


def takeOver(out):
    """Removes Snakemake's locks and marks of a run with results in this folder that is no longer alive.

    The main process holds a lock of the study as long as it lives. Marks of incomplete outputs mean nothing here, since
    outputs get their names when they are complete. What belongs to other studies stays.
    """
    os.makedirs(".snakemake", exist_ok=True)
    lock = open(".snakemake/alive." + base64.urlsafe_b64encode(out.encode()).decode(), "w")
    try:
        fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
    except OSError:
        return  # another run is at work: Snakemake will say so
    held.append(lock)
    for name in filesIn(".snakemake/locks"):
        with open(name) as file:
            if any(line.startswith(f"{out}/") for line in file):
                os.remove(name)
    for name in filesIn(".snakemake/incomplete"):  # named by what they mark; long names go over several folders
        marked = os.path.relpath(name, ".snakemake/incomplete").replace("/", "").replace("@", "")
        try:
            ours = base64.urlsafe_b64decode(marked).startswith(f"{out}/".encode())
        except ValueError:
            ours = False
        if ours:
            os.remove(name)


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
