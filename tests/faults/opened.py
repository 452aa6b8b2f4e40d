"""Which files a run opens, as strace sees it: those it was told to and those it is made of, no others; temporary files
have no name, or are made without following a link, and none is left behind when the run is killed. What companions make
appears when it is whole.

    opened.py BUILD

Runs the modes of modes.py, and the verbs of the companions as tests/fuzz/seeds has them."""
import concurrent.futures, gzip, os, re, shutil, subprocess, sys, tempfile
from pathlib import Path
from modes import MODES

BUILD, STRACE = Path(sys.argv[1]).resolve(), shutil.which("strace")
SEEDS = Path(__file__).parents[1] / "fuzz/seeds/program"
NAMING = ("open,openat,openat2,creat,mknod,mknodat,link,linkat,symlink,symlinkat,rename,renameat,renameat2,mkdir,"
          "mkdirat,unlink,unlinkat,execve,execveat,socket,connect")
CALL = re.compile(r'(\d+) +(\w+)\((?:AT_FDCWD, )?"?([^",)]*)"?(.*)')
# What a program is made of, the time zone of its messages, what keeps the standard streams' numbers taken, and what the
# C library asks for the number of processors.
OWN = re.compile(r"/etc/ld\.so\.(cache|preload)|/etc/localtime|/dev/null|/sys/devices/system/cpu/(possible|online)|"
                 r"/.*/(lib[^/]*|morvel-decoder)\.so[.\d]*")
KILLS = 5
WHOLE = ("morvel-plot", "morvel-gather")  # whose outputs appear when they are whole
WAITING = re.compile(r"\.morvel-[0-9a-f]{16}")


class Row:
    """A run: the program's name and words, its inputs with their content, and the outputs that it makes."""
    def __init__(self, name, words, files, outputs):
        self.name, self.words, self.files, self.outputs = name, words, files, outputs

    def packed(self):
        """The same run of compressed inputs, of which some must be copied."""
        files = {file: gzip.compress(content) for file, content in self.files.items()}
        return Row(self.name + ", compressed", self.words, files, self.outputs)


def rows():
    for mode in MODES:
        files = {file: make(40) for file, make in mode.inputs.items()}
        taken_away = {"gentoAD": {"out.stats"}}.get(mode.mode, set())  # where no statistics were asked for
        outputs = {*mode.outputs.split()} | taken_away
        program = [mode.program, *(["-M"] if mode.program == "morvel" else [])]
        yield Row(mode.mode, [*program, mode.mode, *mode.options.split()], files, outputs)
    for seed in sorted(SEEDS.glob("*-*")):
        head, *parts = seed.read_bytes().split(b"\x1e")
        command, *words = head.decode().splitlines()
        if "-" not in command:
            continue
        companion, verb = command.split("-")
        files = {name.decode(): content for name, content in (part.split(b"\n", 1) for part in parts)}
        out = [words[i + 1] for i, word in enumerate(words) if word == "-out"]
        sides = [name + ".gp" for name in out if "-script" in words]
        if companion == "gather":
            sides = [name + ".stats" for name in out]
        yield Row(seed.name, [f"morvel-{companion}", verb, *words], files, {*out, *sides})
    table = b"id\tx\ty\n" + "".join(f"id{i}\t{i}\t{'x' * 90}\n" for i in range(20000)).encode()  # more than is held
    names = "".join(f"id{i}\n" for i in range(19999, -1, -1)).encode()
    for words in ("transpose -file in -out out -memory 1", "reorder -file in -individuals list -out out -memory 1"):
        files = {"in": table, "list": names}
        yield Row("large " + words.split()[0], ["morvel-table", *words.split()], files, {"out"})


class Traced:
    """A run under strace: its calls on names, and what it leaves."""
    def __init__(self, row, *how):
        with tempfile.TemporaryDirectory() as folder:
            folder = Path(folder)
            for part in ("run", "temporary", "tools"):
                (folder / part).mkdir()
            (folder / "tools/gnuplot").symlink_to("/bin/echo")  # "draws", and opens nothing but its libraries
            for file, content in row.files.items():
                (folder / "run" / file).write_bytes(content)
            command = [STRACE, "-f", "-qq", "-o", folder / "log", *how, BUILD / row.words[0], *row.words[1:]]
            env = {"PATH": f"{folder}/tools", "TMPDIR": str(folder / "temporary"), "MORVEL_HINTS": "1"}
            run = subprocess.run(command, cwd=folder / "run", env=env, stdin=subprocess.DEVNULL, capture_output=True)
            self.status, self.errors = run.returncode, run.stderr[-300:]
            self.temporary = str(folder / "temporary")
            self.lines = (folder / "log").read_text(errors="replace").splitlines()
            self.left = {file.name: file.read_bytes() for file in (folder / "run").iterdir()}
            self.left_behind = os.listdir(self.temporary)
        self.calls = [call.groups() for call in map(CALL.match, self.lines) if call]


def strangers(row, run):
    """The calls on names that are not the run's."""
    others = set()  # processes that have become another program
    written = set()
    for process, call, name, rest in run.calls:
        own = OWN.fullmatch(name) and "O_CREAT" not in rest and "O_WRONLY" not in rest and "O_RDWR" not in rest
        unnamed = name == run.temporary and "O_TMPFILE" in rest
        reading = name in row.files and "O_RDONLY" in rest and "O_CREAT" not in rest
        writing = name in row.outputs and ("O_WRONLY" in rest or call == "unlink")
        # An output that appears when it is whole gets its name then; a report looks at all files of a beginning.
        unnamed |= name == "." and (row.words[0] in WHOLE and "O_TMPFILE" in rest
                                    or row.words[0] == "morvel-plot" and "O_DIRECTORY" in rest)
        named = re.fullmatch(r', AT_FDCWD, "(.*)", AT_SYMLINK_FOLLOW\) = 0', rest) if call == "linkat" else None
        writing |= named is not None and named[1] in row.outputs
        if call == "execve" and name.endswith("/gnuplot"):
            others.add(process)
        elif call == "execve":
            if name != str(BUILD / row.words[0]):
                yield f"{call} {name}"
        elif process not in others and not (writing or call == "openat" and (own or unnamed or reading)):
            yield f"{call} {name} {rest}"
        if writing and process not in others:
            written.add(named[1] if named else name)
    if written != row.outputs:
        yield f"writes {written}, not {row.outputs}"


def failures(row):
    run = Traced(row, "-e", "trace=" + NAMING)
    if run.status != 0:
        yield f"status {run.status}: {run.errors}"
    yield from strangers(row, run)
    row.complete = run.left
    opened = [(name, rest) for process, call, name, rest in run.calls if (process, call) == (run.calls[0][0], "openat")]
    unnamed = [(name, at + 1) for at, (name, rest) in enumerate(opened) if "O_TMPFILE" in rest]
    temporary = [at for name, at in unnamed if name == run.temporary]
    row.temporaries = len(temporary)
    if temporary:
        yield from named_instead(row, temporary[0])
    if row.words[0] in WHOLE:
        yield from whole(row, next(at for name, at in unnamed if name == "."))
    yield from killed(row)


def named_instead(row, at):
    """Where the file system has no unnamed files: a name of its own, gone in the next call."""
    run = Traced(row, "-e", "trace=" + NAMING, "-e", f"inject=openat:error=EOPNOTSUPP:when={at}")
    made = [i for i, (_, call, name, rest) in enumerate(run.calls) if name.startswith(run.temporary + "/morvel-")]
    if len(made) < 2:
        yield "makes no named file"
    for i, following in zip(made[::2], made[1::2]):
        if not ("O_CREAT|O_EXCL" in run.calls[i][3] and "0600" in run.calls[i][3] and following == i + 1
                and run.calls[following][1] == "unlink" and run.calls[following][2] == run.calls[i][2]):
            yield f"temporary file: {run.calls[i]} {run.calls[following]}"
    if run.status != 0 or run.left_behind:
        yield f"named temporary file: status {run.status}, leaves {run.left_behind}"


def half(row, before, left):
    """What is neither as before nor as it should be."""
    return [name for name in {*before, *left} if left.get(name) not in (before.get(name), row.complete.get(name))]


def whole(row, at):
    """Outputs are there whole or as before, and nothing beside them: with unnamed files and without, in place of older
    outputs, and where calls fail."""
    unnamed, fails = f"openat:error=EOPNOTSUPP:when={at}", ":error=EIO"
    # The report's reading of the folder needs fcntl as well.
    at_once = [] if row.words[1] == "report" else [[None, unnamed, "fcntl" + fails]]
    for old, *injected in ([None, unnamed], [None, unnamed, "rename" + fails], [None, "linkat" + fails],
                           [b"old"], [b"old", "fchmod" + fails], [b"old", "rename" + fails], *at_once):
        before = row.files | ({name: old for name in row.outputs} if old else {})
        run = Traced(Row(row.name, row.words, before, row.outputs), "-e", "trace=fcntl,fchmod," + NAMING,
                     *(word for each in injected for word in ("-e", "inject=" + each)))
        waiting = [rest for _, call, name, rest in run.calls if call == "openat" and WAITING.fullmatch(name)]
        if len(waiting) != injected.count(unnamed) or any("O_CREAT|O_EXCL" not in rest for rest in waiting):
            yield f"{injected}: waits by {waiting}"
        told = re.search(rb": Cannot write '(.*)'(: .*)?\n$", run.errors)
        ends = (run.status == 1 and told and told[1].decode() in row.outputs if fails in "".join(injected)
                else run.status == 0 and run.left == row.complete)
        if not ends or half(row, before, run.left):
            yield f"{injected} on {old}: status {run.status}, {run.errors}, {half(row, before, run.left)} in {[*run.left]}"


def killed(row):
    """At some of its calls."""
    transfers = "read,write,pread64,lseek,close,openat"
    count = len(Traced(row, "-e", "trace=" + transfers).lines)
    when = [(transfers, count * k // (KILLS + 1)) for k in range(1, KILLS)] + [("linkat,rename", 1)]
    for calls, k in when:
        run = Traced(row, "-e", "trace=" + calls, "-e", f"inject={calls}:signal=KILL:when={k}")
        left = half(row, row.files, run.left) if row.words[0] in WHOLE else {*run.left} - {*row.files, *row.outputs}
        if run.left_behind or left:
            yield f"killed at {calls}, call {k}: leaves {run.left_behind} {left}"


def main():
    plain = list(rows())
    everything = plain + [row.packed() for row in plain if row.words[0] != "morvel-gather"]  # knows its inputs' sizes
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        found = list(pool.map(lambda row: list(failures(row)), everything))
    for row, failed in zip(everything, found):
        for what in failed:
            print(f"{row.name}: {what}")
    temporaries = sum(row.temporaries > 0 for row in everything)
    print(f"{len(everything)} runs and {KILLS} killed ones of each: {temporaries} make temporary files")
    sys.exit(any(found) or temporaries < 10)


main()
