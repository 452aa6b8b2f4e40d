"""What every mode, and a companion, does when files fail, change or hold anything at all.

    faults.py --program build/morvel --failcalls build/tests/faults/failcalls [--full]

Each check is a function that is called for every mode of modes.py. A failing case leaves its folder in faults-failed/
and prints the command that shows it again."""
import argparse, concurrent.futures, contextlib, errno, gzip, os, random, re, resource, shlex, shutil, signal
import subprocess, sys, tempfile, threading, time
from pathlib import Path
from modes import MODES, SMALL

ODD = b"\xef\xbb\xbf\xff\0\x80\xc3("  # byte order mark, NUL, no UTF-8
TIMES = re.compile(rb"(START|END) TIME: \d\d:\d\d:\d\d, [A-Z][a-z]{2} [A-Z][a-z]{2} \d+ \d{4}\n|DONE in .* msec\n"
                   rb"|size = \d+")  # the size is that of read4's input
references, notes, worst_line = {}, {}, {}
options = argparse.Namespace()


class Run:
    """A run of a mode in a folder of its own, and what came of it. `names` are other names for its files, `contents`
    other contents; `prepare` changes the folder before the run, `after` behind it, and `during` runs beside it."""

    def __init__(self, mode, rows=SMALL, names={}, contents={}, extra=(), prepare=None, during=None, after=None,
                 wrap=(), env={}, console=None, arguments=None, other="", limit=None):
        self.mode, self.prepare = mode, prepare
        self.is_companion = mode.program != "morvel"
        made = {file: contents[file] if file in contents else make(rows) for file, make in mode.inputs.items()}
        self.made = {names.get(file, file): content for file, content in made.items() if content is not None}
        words = arguments or [names.get(word, word) for word in mode.options.split()]
        program = [str(options.root / (other + mode.program)), *(() if self.is_companion else ("-M",))]
        self.command = [*wrap, *program, mode.mode, *words, *extra]
        self.env = env
        with tempfile.TemporaryDirectory(dir=options.root) as folder, tempfile.TemporaryFile() as errors:
            self.folder = Path(folder)
            self.set_up(self.folder)
            self.before = self.look()
            with open(console or self.folder / ".console", "w+b") as out:
                self.execute(out, errors, during, limit)
                self.out = b"" if console else self.words(out)
            self.errors = self.words(errors)
            if self.is_companion:  # whose messages go to standard error
                self.out, self.errors = self.errors, self.out or b""
            if after:
                after(self.folder)
            self.files = self.look()
            log = self.folder / ".log"  # of failcalls; the disturbed call goes with its file
            counts, self.disturbed = log.read_text().splitlines() if log.exists() else ("0 0 0", "")
            self.calls, self.calls_after_failure, self.peak = map(int, counts.split())

    def set_up(self, folder):
        for file, content in self.made.items():
            (folder / os.fsdecode(file)).write_bytes(content)
        if self.prepare:
            self.prepare(folder)

    def look(self):
        return {os.fsencode(file.name): file.read_bytes() for file in self.folder.iterdir()
                if file.is_file() and not file.name.startswith(".")}

    @staticmethod
    def words(file):
        file.seek(0)
        return TIMES.sub(b"TIME\n", file.read())

    def execute(self, out, errors, during, limit):
        env = {"PATH": os.environ["PATH"], "TMPDIR": str(self.folder), **options.env, **self.env}
        limited = ["prlimit", f"--fsize={limit}"] if limit else []  # before its start: a megabyte is soon written
        process = subprocess.Popen([*limited, *self.command], cwd=self.folder, env=env, stdin=subprocess.DEVNULL,
                                   stdout=out, stderr=errors, start_new_session=True)
        timer = threading.Timer(options.patience, os.killpg, (process.pid, signal.SIGKILL))
        timer.start()
        helpers = during(self.folder) if during else []
        status = process.wait()
        timer.cancel()
        self.status = status if status <= 128 else 128 - status  # by a signal, under failcalls
        for helper in helpers:
            helper.join()

    def keep(self):
        folder = Path(tempfile.mkdtemp(prefix=self.mode.mode + "-", dir=options.failed))
        self.set_up(folder)
        self.command = [os.path.realpath(word) if word.startswith(str(options.root)) else word for word in self.command]
        env = [f"{name}={value}" for name, value in self.env.items()]
        return f"cd {folder} && {shlex.join([*(['env', *env] if env else []), *self.command])}"


class Case:
    """The runs of one check for one mode."""

    def __init__(self, mode):
        self.mode, self.runs, self.failures = mode, 0, []

    def run(self, **how):
        self.runs += 1
        return Run(self.mode, **how)

    def expect(self, holds, run, what):
        if not holds and len(self.failures) < 5:
            words = (run.out + run.errors)[-200:].decode(errors="replace")
            self.failures.append(f"{self.mode.mode}: {what}: status {run.status}, ...{words!r}\n    {run.keep()}")
        return holds

    def ends(self, run, status, words, what, reference=None):
        """Status and last words. No words: a beginning of the undisturbed run's words."""
        spoken = run.out.endswith(words.encode()) if words else (reference or self.reference()).out.startswith(run.out)
        self.expect(run.status == status and spoken, run, what)

    def same(self, run, what, reference=None, names={}):
        reference = reference or self.reference()
        renamed = {os.fsencode(names.get(file, file)): reference.files.get(file.encode()) for file in self.outputs()}
        right = all(run.files.get(file) == content for file, content in renamed.items())
        spoken = run.errors == reference.errors and (names or run.out == reference.out)
        return self.expect(run.status == 0 and right and spoken, run, what)

    def fails(self, run, words, what, reference=None):
        """Status 1 and last words, with nothing in the outputs that is not in the whole ones, and no further file."""
        reference = reference or self.reference()
        if words.endswith("'standard output'\n"):
            self.expect(run.status == 1 and run.errors == words.encode(), run, what)
        else:
            self.ends(run, 1, words, what, reference)
            self.expect(run.out.count(b"Cannot") == words.count("Cannot"), run, what + " is told twice")
        made = {file: content for file, content in run.files.items() if run.before.get(file) != content}
        # The blank behind a row's last field is replaced by the line's end later.
        right = all(reference.files.get(file, b"").startswith(content.removesuffix(b" "))
                    for file, content in made.items())
        self.expect(right and made.keys() <= reference.files.keys() | {b"out.stats"}, run, what + ": files")

    def reference(self, rows=SMALL):
        key = (MODES.index(self.mode), rows)
        if key not in references:
            run = references[key] = Run(self.mode, rows=rows)
            self.expect(run.status == 0 and not run.errors, run, "undisturbed")
        return references[key]

    def outputs(self):
        return self.mode.outputs.split()


def failing(call, kind, first=1, last=None, name=""):
    return [str(options.root / "failcalls"), ".log", call, kind, str(first), str(first if last is None else last), name]


def link(name, target):
    def prepare(folder):
        (folder / name).unlink(missing_ok=True)
        (folder / name).symlink_to(target)
    return prepare


def full_devices(case):
    """full devices and a file system of 64 kB"""
    def expect(run, file, what, rows=SMALL):
        case.fails(run, f"Cannot write '{file}'\n", f"{what} for {file}", case.reference(rows))

    mount = 'mount -t tmpfs -o size=64k none small && exec "$@"'
    small = lambda script: ["unshare", "-rm", "sh", "-c", script, "sh"]
    can_mount = subprocess.run([*small("mount -t tmpfs none /mnt"), "true"], capture_output=True).returncode == 0
    notes[full_devices] = "64 kB by tmpfs" if can_mount else "64 kB by failing calls"

    def into_small(file):
        def prepare(folder):
            (folder / "small").mkdir()
            (folder / file).symlink_to("small/" + file)
        return prepare

    for file in case.outputs():
        expect(case.run(prepare=link(file, "/dev/full")), file, "full device")
        if len(case.reference(case.mode.rows).files[file.encode()]) > 65536:
            how = dict(prepare=into_small(file), wrap=small(mount)) if can_mount else dict(
                wrap=failing("write", "full", 1, 10 ** 9, file))
            expect(case.run(rows=case.mode.rows, **how), file, "64 kB", case.mode.rows)
        run = case.run(rows=case.mode.rows, wrap=failing("write", "ENOSPC", 1, 10 ** 9, file))
        expect(run, file, "failing writes", case.mode.rows)
        case.expect(run.calls_after_failure == 0, run, "goes on behind a failed write")
    if case.reference().is_companion:
        return
    expect(case.run(console="/dev/full"), "standard output", "full device")
    long = ("-ignored", "x" * 100000)  # is echoed
    how = dict(prepare=into_small("x"), wrap=small(mount + " >small/x")) if can_mount else dict(
        wrap=failing("write", "full", 1, 10 ** 9, "standard output"))
    expect(case.run(extra=long, **how), "standard output", "64 kB")
    head = ["sh", "-c", 'mkfifo .pipe && { head -n 1 <.pipe >.head & } && exec "$@" >.pipe', "sh"]
    expect(case.run(extra=long, wrap=head), "standard output", "closed by head")


KINDS = {"any": ("EIO", "EINTR", "short"), "write": ("ENOSPC",)}
FULL_KINDS = {"open": ("EIO", "EACCES", "EINTR", "EMFILE"), "read": ("EIO", "EINTR", "short"), "lseek": ("EIO",),
              "tell": ("EIO",), "write": ("EIO", "ENOSPC", "EINTR", "short"), "close": ("EIO", "ENOSPC", "EINTR"),
              "unlink": ("EIO",)}


def reason(error):
    return os.strerror(getattr(errno, error))


def right_words(mode, run, kind):
    """The last words that the disturbed call has to bring about; None: it must not show."""
    call, file = run.disturbed.split(" ", 1)
    is_temporary = file.startswith(str(run.folder))
    if kind == "short" or (kind == "EINTR" and call not in ("lseek", "tell", "unlink")) or call in ("tell", "unlink"):
        return None
    if call == "open":
        return None if is_temporary else mode.unopened.get(file, "").format(reason(kind))
    if call == "close" and (is_temporary or file in mode.inputs):
        return None
    action = "read" if call in ("read", "lseek") else "write"
    if is_temporary:  # the copy of an input is read by the input's name
        file = action == "read" and mode.rereads or f"temporary file in {run.folder}"
    return f"Cannot {action} '{file}'\n"


def failing_calls(case):
    """k-th open, read, write, close fails"""
    variants = [(SMALL, {})]
    if options.full or case.mode.rereads:
        variants.append((SMALL, piped(case.mode.inputs, 10 ** 9)))
    if options.full:
        variants.append((case.mode.rows, {}))
    for rows, how in variants:
        reference = case.reference(rows)
        for call, kinds in (FULL_KINDS if options.full else KINDS).items():
            for kind in kinds:
                for k in range(1, 10 ** 6):
                    # Interrupted or short once, but out of order for good.
                    last = k if kind in ("EINTR", "short") else 0
                    run = case.run(rows=rows, wrap=failing(call, kind, k, last), **how)
                    what = f"{kind} of {call} {k}, {run.disturbed}"
                    words = right_words(case.mode, run, kind) if run.disturbed else None
                    if words is None:
                        case.same(run, what, reference)
                        kept = {os.fsencode(run.disturbed[7:])} if run.disturbed.startswith("unlink ") else set()
                        case.expect(run.files.keys() <= run.before.keys() | reference.files.keys() | kept, run,
                                    what + ": files")
                    elif words == "goes on":
                        case.ends(run, 0, "", what, reference)
                    else:
                        case.fails(run, words, what, reference)
                    if call == "write" and words:
                        case.expect(run.calls_after_failure == 0, run, what + ": goes on")
                    if not run.disturbed:
                        break


def same_files(case):
    """outputs that are inputs"""
    def expect(run, words, what):
        case.ends(run, 1, words, what)
        case.expect(run.files == run.before, run, what + " changes a file")

    for out in case.outputs():
        words = f"Output file '{out}' is also an input\n"
        for file in case.mode.inputs:
            if not case.mode.fixed:
                expect(case.run(names={file: out}), words, "same name")
            expect(case.run(prepare=link(out, file)), words, "symbolic link")
            expect(case.run(prepare=lambda folder: os.link(folder / file, folder / out)), words, "hard link")

            def swap(folder):
                (folder / file).rename(folder / out)
                (folder / file).symlink_to(out)
            expect(case.run(prepare=swap), words, "input by a link")
        for other in case.outputs():
            if other != out:
                later = max(out, other, key=case.outputs().index)
                expect(case.run(prepare=link(out, other)), f"Output file '{later}' is also another output\n", "outputs")


def missing_files(case):
    """absent, unreadable, folder, empty, read-only"""
    def fails(file, what, error, **how):
        words = case.mode.unopened.get(file, "").format(reason(error))
        goes_on = words == "goes on"
        case.ends(case.run(**how), 0 if goes_on else 1, "" if goes_on else words, f"{file} {what}")

    def folder_at(name):
        def prepare(folder):
            (folder / name).unlink(missing_ok=True)
            (folder / name).mkdir()
        return prepare

    for file in case.mode.inputs:
        fails(file, "absent", "ENOENT", contents={file: None})
        fails(file, "unreadable", "EACCES", wrap=failing("open", "EACCES", 1, 9, file))
        fails(file, "is a folder", "EISDIR", prepare=folder_at(file))
        words = case.mode.empty.get(file)
        run = case.run(contents={file: b""})
        case.expect(run.status == (0 if words is None else 1) and run.out.endswith((words or "").encode()), run,
                    f"{file} empty")
    for file in case.outputs():
        fails(file, "is a folder", "EISDIR", prepare=folder_at(file))
        fails(file, "in no folder", "ENOENT", prepare=link(file, "nowhere/x"))
        fails(file, "in a read-only folder", "EROFS", wrap=failing("open", "EROFS", 1, 9, file))


def changing_files(case):
    """cut short or removed while read"""
    for file in case.mode.inputs:
        for kind in ("cut", "remove"):
            for k in (1, 2, 3) if options.full else (1, 2):
                run = case.run(rows=case.mode.rows, wrap=failing("read", kind, k, k, file))
                case.expect(run.status in (0, 1), run, f"{file} {kind} before read {k}")


def piped(inputs, size):
    """How to run with pipes instead of these inputs, that bring so many bytes at a time."""
    def prepare(folder):
        for file in inputs:
            (folder / file).unlink()
            os.mkfifo(folder / file)
    contents = {file: make(SMALL) for file, make in inputs.items()}
    return dict(prepare=prepare, during=feeders(contents, size))


def feeders(contents, size):
    def feed(pipe, content):
        try:
            with open(pipe, "wb", buffering=0) as out:
                for i in range(0, len(content), size):
                    out.write(content[i:i + size])
        except BrokenPipeError:
            pass

    def during(folder):
        threads = [threading.Thread(target=feed, args=(folder / file, content)) for file, content in contents.items()]
        for thread in threads:
            thread.start()
        return [Drain(folder / file, thread) for file, thread in zip(contents, threads)]
    return during


class Drain:
    """Lets go of a feeder whose pipe the program has not opened, or not read to its end."""
    def __init__(self, pipe, thread):
        self.pipe, self.thread = pipe, thread

    def join(self):
        reader = os.open(self.pipe, os.O_RDONLY | os.O_NONBLOCK)
        while self.thread.is_alive():
            with contextlib.suppress(BlockingIOError):
                os.read(reader, 1 << 20)
            self.thread.join(0.001)
        os.close(reader)


def pipes(case):
    """pipes, also a byte at a time"""
    for file, make in case.mode.inputs.items():
        case.same(case.run(**piped({file: make}, 10 ** 9)), f"pipe for {file}")
    case.same(case.run(**piped(case.mode.inputs, 1)), "a byte at a time")


def by_command(*command):
    return lambda content: subprocess.run(command, input=content, stdout=subprocess.PIPE, check=True).stdout


PACKERS = {"gz": gzip.compress, **{name: by_command(*command) for name, command in {
    "bgzip": ("bgzip", "-c"), "zst": ("zstd", "-qc")}.items() if shutil.which(command[0])}}


def compressed(case):
    """compressed inputs, also cut, and outputs"""
    notes[compressed] = " ".join(PACKERS)
    made = {file: make(SMALL) for file, make in case.mode.inputs.items()}
    for name, pack in PACKERS.items():
        packed = {file: pack(content) for file, content in made.items()}
        case.same(case.run(contents=packed), name)
        case.same(case.run(prepare=piped(case.mode.inputs, 1)["prepare"], during=feeders(packed, 1)), name + " pipes")
        for file, content in packed.items():
            run = case.run(contents={**packed, file: content[:-1]})
            case.expect(run.status == 1 and run.out.endswith(f"Cannot read '{file}'\n".encode()), run, f"{file} cut")
    for ending, unpack in {} if case.mode.fixed else {".gz": "gunzip", ".zst": "unzstd"}.items():
        out = "out" + ending
        if shutil.which(unpack):
            after = lambda folder: by_command(unpack, "-qf", folder / out)(b"")
            sides = {file: file.replace("out", out) for file in case.outputs() if file != "out"}
            case.same(case.run(names={"out": out}, after=after), ending, names={"out": "out", **sides})
        for file in case.outputs():
            file = file.replace("out", out)
            run = case.run(names={"out": out}, wrap=failing("write", "ENOSPC", 1, 10 ** 9, file))
            told = run.out.endswith(f"Cannot write '{file}'\n".encode())
            case.expect(run.status == 1 and told and run.calls_after_failure == 0, run, f"failing writes to {file}")


def long_lines(case):
    """memory for a long line"""
    measured = failing("lseek", "none")  # a process of its own: Python's memory counts otherwise
    at_start = Run(MODES[0], wrap=measured).peak
    for file, start, field, lines, *words in () if options.slow else case.mode.lines:
        size = 10 ** 9 if options.full else 20 * 10 ** 6 if lines else 10 ** 8
        def prepare(folder):
            with open(folder / file, "wb") as out:
                out.write(start)
                for left in range(size // len(field), 0, -100000):
                    out.write(field * min(left, 100000))
                out.write(b"\n")
        run = case.run(prepare=prepare, wrap=measured)
        kind, figure = ("lines", (run.peak - at_start) / size) if lines else ("MiB", run.peak / 2 ** 20)
        if lines <= 1.5:
            worst_line[kind] = max(worst_line.get(kind, 0), round(figure, 2))
        notes[long_lines] = "at most " + ", ".join(f"{most} {kind}" for kind, most in worst_line.items())
        allowed = at_start + lines * size if lines else 64 << 20
        case.expect(run.peak <= allowed, run, f"{file}: {figure:.2f} {kind}")
        case.expect(run.status == len(words) and run.out.endswith("".join(words).encode()), run, f"long line in {file}")
        run = case.run(prepare=prepare, wrap=["prlimit", f"--data={16 << 20}"])
        case.expect(run.status == (lines > 0) and run.out.endswith(b"Out of memory\n" if lines else b""), run,
                    f"long line in {file} without memory")


def text_forms(case):
    """CRLF, no last line end, odd bytes"""
    made = {file: make(SMALL) for file, make in case.mode.inputs.items()}
    forms = {"CRLF": lambda text: text.replace(b"\n", b"\r\n"), "no last line end": lambda text: text[:-1]}
    for what, form in forms.items():
        case.same(case.run(contents={file: form(text) for file, text in made.items()}), what)
    odd = lambda text: re.sub(rb"\b(chr|rs|ph|id|pop|sa)A\b", lambda name: ODD + name[0], text)
    run = case.run(contents={file: odd(text) for file, text in made.items()})
    for file in case.outputs():
        expected = odd(case.reference().files[file.encode()])
        case.expect(run.status == 0 and run.files.get(file.encode()) == expected, run, f"odd bytes in {file}")


LOCALES = ("C", "C.UTF-8", "de_DE.UTF-8", "tr_TR.UTF-8", "hi_IN.UTF-8")


def has_other_build(mode):
    return (options.root / ("other-" + mode.program)).exists()


def environments(case):
    """five locales, no wide vectors"""
    for locale in LOCALES:
        case.same(case.run(env={"LC_ALL": locale, "LANG": locale, "LOCPATH": str(options.root / "locales")}), locale)
    made = len(list((options.root / "locales").iterdir()))
    notes[environments] = f"{made} locales made, {'a' if options.compare else 'no'} second build"
    if has_other_build(case.mode):
        rows = case.mode.rows
        case.same(case.run(rows=rows, other="other-"), "other build", case.reference(rows))


def file_names(case):
    """odd and long names"""
    if not case.mode.fixed:
        files = [*case.mode.inputs, *case.outputs()]
        for odd in ("a b", "\u00e4\u4e2d", "a\nb", "\udcff"):
            names = {file: odd + file for file in files}
            case.same(case.run(names=names), f"name {odd!r}", names=names)
    for words, most, when in case.mode.longest:
        for option in words.split():
            for size in (most, most + 1):
                longest(case, option, size, size > most, when)


def longest(case, option, size, is_too_long, when):
    """A value of this size, made long by leading zeros or, for a file, any name."""
    words = case.mode.options.split()
    old = words[words.index(option) + 1] if option in words else ""
    is_file = old in case.mode.inputs or old == "out"
    sides = max((len(file) for file in case.outputs() if old == "out"), default=3) - 3  # ".stats"
    counts_sides = when == "complete" or case.mode.mode == "ADtogen"
    new = (old if is_file else "1").rjust(size - (sides if counts_sides else 0), "0")
    def run_with(value):
        names = {old: value, **{file: value + file[3:] for file in case.outputs() if old == "out"}} if is_file else {}
        run = case.run(names=names, extra=() if is_file else (option, value),
                       arguments=None if is_file or option not in words else
                       [value if i and words[i - 1] == option else word for i, word in enumerate(words)])
        return run, [run.files.get(names.get(file, file).encode()) for file in case.outputs()]

    what = f"{option} of {size} bytes"
    run, results = run_with(new)
    if not is_too_long or when == "complete":
        other, expected = run_with(new.lstrip("0"))
        case.expect(results == expected and run.status == (-6 if is_too_long else other.status), run, what)
    else:
        case.expect(run.status == -6 and run.files == run.before, run, what + " makes a file")


def many_lines(case):
    """line numbers beyond 2^31"""
    if not options.full or options.slow or case.mode.mode not in ("ldprune", "peakscan3", "relout5", "relout6"):
        return
    lines, block = 2 ** 31 + 5, b"\n" * 2 ** 20
    file = next(iter(case.mode.inputs))

    def prepare(folder):
        (folder / file).unlink()
        os.mkfifo(folder / file)

    def during(folder):
        def feed():
            with open(folder / file, "wb", buffering=0) as out:
                for left in range(lines, 0, -len(block)):
                    out.write(block[:left])
                out.write(b"x\n")
        thread = threading.Thread(target=feed)
        thread.start()
        return [thread]
    run = case.run(prepare=prepare, during=during)
    case.expect(run.status == 1 and b"ine 2147483654 has fewer" in run.out, run, "line 2147483654")


VALUES = ["", "0", "-1", "1", "2", "2147483647", "2147483648", "-2147483648", "1e308", "1e-320", "nan", "inf", "-inf",
          "0x10", "9" * 30, "a b", ",", "1,2", "::", "0:1", "0:0.5,0.5:1", "\udcff", "yes", "no", "-out", "-file",
          "tab", "space", "NA", "x" * 25, "0.5", "p", "t", "r2", "all", "mean"]
BYTES = [b"", b"\n", b"\r\n", b"\0", b" ", b"\t", b"-", b"nan", b"inf", b"1e999", b"1e-999", b"-1", b"2147483648",
         b"9" * 40, b"NA", b"\xff", b"0.0005", b"0", b"A", b"\n\n", b" " * 70, b"0 " * 900]


def mutate(randoms, content):
    for _ in range(randoms.choice((1, 1, 2, 5, 20))):
        at, end = sorted(randoms.randrange(len(content) + 1) for _ in range(2))
        end = min(end, at + randoms.choice((0, 1, 5, 50, 10 ** 6)))
        piece = randoms.choice([randoms.choice(BYTES), bytes([randoms.randrange(256)]), content[at:end] * 2])
        content = content[:at] + piece + content[end:]
    return content


def known_options(mode):
    """Those that the guide names for the mode, or for all where it names none there."""
    guide = (Path(__file__).parents[2] / "docs/usage.md").read_text()
    section = re.search(rf"^## {mode}\n(.*?)(?=^## |\Z)", guide, re.M | re.S)
    inputs = {"-file", "-pfile", "-gfile", "-ref", "-map"}
    names = lambda text: sorted({*re.findall(r"`(-[a-z][\w-]+)`", text)} - inputs)
    return names(section[1] if section else "") or names(guide)


def mutations(case):
    """random mutations, sanitizers on"""
    if not options.fuzz:
        return
    end = time.monotonic() + options.fuzz
    known = known_options(case.mode.mode)
    seed = options.seed
    while time.monotonic() < end:
        seed += 1
        randoms = random.Random(f"{case.mode.mode} {case.mode.options} {seed}")
        contents = {file: make(randoms.choice((1, 5, SMALL))) for file, make in case.mode.inputs.items()}
        for file in contents:
            if randoms.random() < 0.7:
                contents[file] = mutate(randoms, contents[file])
        words = case.mode.options.split()
        if known and randoms.random() < 0.5:
            words = [randoms.choice(known), randoms.choice(VALUES), *words]
        if words and randoms.random() < 0.3:
            at = randoms.randrange(len(words) // 2) * 2 + 1
            if words[at] not in contents and words[at] != "out":
                words[at] = randoms.choice(VALUES)
        run = case.run(contents=contents, arguments=words, limit=1 << 20)
        found = re.search(rb"Sanitizer|runtime error", run.errors) and not re.search(
            rb"out-of-memory|allocation-size-too-big|failed to allocate", run.errors)
        case.expect(not found and run.status in (0, 1, -6), run, f"seed {seed}")
        if has_other_build(case.mode):
            other = case.run(contents=contents, arguments=words, limit=1 << 20, other="other-")
            same = (run.status, run.out, run.files) == (other.status, other.out, other.files)
            case.expect(same, other, f"seed {seed}, other build")


CHECKS = [full_devices, failing_calls, same_files, missing_files, changing_files, pipes, compressed, long_lines,
          text_forms, environments, file_names, many_lines, mutations]


def prepare_root():
    # By short names: a long program path ends a run.
    (options.root / "failcalls").symlink_to(options.failcalls.resolve())
    for build, prefix in ((options.program, ""), (options.compare, "other-")):
        for program in {mode.program for mode in MODES} if build else ():
            target = build.resolve()
            (options.root / (prefix + program)).symlink_to(target if program == "morvel" else target.with_name(program))
    (options.root / "locales").mkdir()
    if shutil.which("localedef"):
        for locale in LOCALES[2:]:
            subprocess.run(["localedef", "-c", "-i", locale[:5], "-f", "UTF-8", options.root / "locales" / locale],
                           capture_output=True)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--program", type=Path, required=True)
    parser.add_argument("--failcalls", type=Path, required=True)
    parser.add_argument("--compare", type=Path, help="another build, whose bytes must be the same")
    parser.add_argument("--full", action="store_true")
    parser.add_argument("--slow", action="store_true", help="a build without memory limits and billions of lines")
    parser.add_argument("--fuzz", type=float, default=0, help="seconds of mutations for each mode")
    parser.add_argument("--seed", type=int, default=0)
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("--only", default="", help="names of checks and modes")
    parser.parse_args(namespace=options)
    options.patience = 600 if options.full else 60
    resource.setrlimit(resource.RLIMIT_CORE, (0, resource.getrlimit(resource.RLIMIT_CORE)[1]))  # aborts leave no file
    options.env = {"ASAN_OPTIONS": "detect_leaks=0:allocator_may_return_null=1:max_allocation_size_mb=1000",
                   "QEMU_LD_PREFIX": os.environ.get("QEMU_LD_PREFIX", "")}  # libraries of an emulated build
    options.failed = Path("faults-failed").resolve()
    shutil.rmtree(options.failed, ignore_errors=True)
    options.failed.mkdir()
    only = options.only.split()
    checks = [check for check in CHECKS if not {c.__name__ for c in CHECKS} & {*only} or check.__name__ in only]
    modes = [mode for mode in MODES if not {m.mode for m in MODES} & {*only} or mode.mode in only]
    failures = []
    with tempfile.TemporaryDirectory(prefix="faults-") as root:
        options.root = Path(root)
        prepare_root()
        for check in checks:
            cases = [Case(mode) for mode in modes]
            start = time.monotonic()
            with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
                list(pool.map(check, cases))
            failed = [failure for case in cases for failure in case.failures]
            failures += failed
            print(f"{check.__doc__:46} {sum(case.runs for case in cases):7} runs {len(failed):4} failures "
                  f"{time.monotonic() - start:7.1f} s  {notes.get(check, '')}", flush=True)
    print(*failures, sep="\n")
    if not failures:
        options.failed.rmdir()
    sys.exit(1 if failures else 0)


main()
