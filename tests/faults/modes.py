"""The modes as the checks of faults.py see them: for each a small valid run. A mode joins all checks by its row, and so
does a verb of a companion."""
import functools, random
from typing import NamedTuple

PEOPLE = 12
SMALL = 40  # rows of a small run


def name(kind, i):
    """Of row i; the first one ends in A, which faults.py replaces by bytes that are no text."""
    return kind + ("A" if i == 0 else str(i))


def table(row):
    """A maker of a file of n rows, always the same ones."""
    return functools.cache(lambda n: "".join(row(random.Random(i), i) + "\n" for i in range(n)).encode())


def marker(i):
    return f"{name('chr', i)} {name('rs', i)} {1000 * (i + 1)} A G "


TRIPLETS = ["1 0 0", "0.1 0.9 0", "0 0 1", "0.25 0.5 0.25", "0.005 0.99 0.005", "0 1e-1 0.9"]
genotypes = table(lambda r, i: marker(i) + " ".join(r.choice(TRIPLETS) for _ in range(PEOPLE)))
dosages = table(lambda r, i: marker(i) + " ".join(str(round(r.uniform(0, 2), 3)) for _ in range(PEOPLE)))
phenotypes = table(lambda r, i: name("ph", i) + 250 * "." + "".join(
    " NA" if r.random() < 0.1 else f" {r.gauss(100, 9):.2f}" for _ in range(PEOPLE)))
cases = table(lambda r, i: name("ph", i) + "".join(r.choice([" 1", " 2", " 2", " NA"]) for _ in range(PEOPLE)))
bins = lambda n: b"0 0.25\n0.25 0.75\n0.75 1\n"
pairs = table(lambda r, i: f"{name('id', i)}\t{name('id', i // 2 * 3 % (i + 1) + 1)}\t{round(r.uniform(0, 1), 4)}")
weights = table(lambda r, i: f"{name('id', i)}\t{r.randint(1, 99)}")
populations = lambda n: b"popA\t0.9\t0.1\t0\npop1\t0.1\t0.8\t0.1\npop2\t0\t0.1\t0.9\n"
samples = table(lambda r, i: f"{name('sa', i)}\t{r.random():.4f}\t{r.random():.4f}\t{r.random():.4f}")
results = table(lambda r, i: f"{name('rs', i)} {9000 * (i + 1)} {10 ** -r.uniform(0, 9):.3g} "
                             f"{name('chr', i * 5 // 4000)} {''.join(r.choice('+-?') for _ in range(5))}")
genetic_map = lambda n: b"position rate cM\n4500 1 0.1\n40500 1 0.5\n90000000 1 900\n"
columns = table(lambda r, i: f"{r.uniform(0, 9):.3f} {r.uniform(0, 9):.3f}")
people = table(lambda r, i: f"{name('id', i)}\t{r.randint(20, 80)}\t{r.gauss(0, 1):.3f}")


wide = table(lambda r, i: f"{i:04}\t" + "\t".join(str(r.randint(10 ** 7, 10 ** 9)) for _ in range(2000)))


class Mode(NamedTuple):
    mode: str
    options: str
    inputs: dict       # file -> its maker
    outputs: str
    unopened: dict = {}  # file -> last words where it cannot be opened, {} for why; silent where not listed; "goes on"
    empty: dict = {}     # input -> last words of the failure where it is empty; no failure where not listed
    rows: int = 3000     # of a large run
    fixed: bool = False  # the file names cannot be chosen
    rereads: str = ""    # the input of which a pipe is copied first
    longest: tuple = ()  # (options, most bytes of their values, when a longer one aborts)
    lines: tuple = ()    # (input, start of a long line, what it repeats, most memory in lines; 0 for 64 MiB, last words
                         # of the failure that it is, if any)
    program: str = "morvel"


NO_REFERENCES = "Reference file must hold 3 lines of 3 values\n"
OTHERS = "Pheno file and geno file contain different number of individuals\n"
NO_INPUT, NO_OUTPUT, NO_SUMMARY = "Input file not found\n", "Output file not opened\n", "Summary file not opened\n"
WORDS = ("-beg -end -last-bef-geno -rs-loc", 19, "at once")
NAMES = ("-file -out", 199, "at once")
SCAN_NAMES = ("-pfile -gfile -out", 99, "complete")
OPEN_REMOVAL = {"in": NO_INPUT, "out": NO_OUTPUT, "weights": "Pfile not found\n"}
EMPTY_REMOVAL = {"in": "Nothing to remove!\nNo new files created.\n"}
OPEN_MATCHING = {file: f"Cannot open '{file}'\n" for file in ("in", "pool", "out", "out.log")}
SMALL_POOL = f"'pool', line {{}}, column 1: the pool ends with {{}} individuals, fewer than 1 for each of {SMALL}\n"
EMPTY_MATCHING = {
    "in": "'in', line 1, column 1: no individuals\n",
    "pool": SMALL_POOL.format(1, 0)}
MARKER = b"1 rs1 1 A G"
LONG_GENOTYPES = (("in", MARKER, b" 0 0 1", 1.5),)
LONG_DOSAGES = (("in", MARKER, b" 1", 1.5),)
LONG_RESULTS = (("in", b"rs1 5000 0.5 1 +++", b" 0", 1.5),)
FIXED = "FULLSET_750_165000.impute"
LONG_WALK = ((FIXED, MARKER, b" 0 0 1", 0),)
FIXED_INPUT = {FIXED: genotypes}

MODES = [
    Mode("gentoAD", "-file in -out out -statistics yes", {"in": genotypes}, "out out.stats",
         {"in": NO_INPUT, "out": NO_OUTPUT, "out.stats": NO_SUMMARY}, lines=LONG_GENOTYPES),
    Mode("gentoAD", "-file in -out out -to-hard-call yes -last-bef-geno 4", {"in": genotypes}, "out",
         {"in": NO_INPUT, "out": NO_OUTPUT, "out.stats": NO_SUMMARY}),
    Mode("ADtogen", "-file in -out out", {"in": dosages}, "out out.stats", longest=(NAMES, WORDS), lines=LONG_DOSAGES),
    Mode("avgAD", "-file in -out out -end 10", {"in": dosages}, "out",
         longest=(NAMES, WORDS, ("-show", 19, "at once")), lines=LONG_DOSAGES),
    Mode("avgGEN", "-file in -out out -beg 2", {"in": genotypes}, "out",
         longest=(NAMES, WORDS, ("-show", 19, "at once")), lines=LONG_GENOTYPES),
    Mode("gentoletters", "-file in -out out -flip yes -genodelim comma", {"in": genotypes}, "out",
         longest=(NAMES, WORDS, ("-gen1-loc -gen2-loc -flip", 19, "at once")), lines=LONG_GENOTYPES),
    # The scans hold values of phenotypes as well, gwas3 a table with room for 8 of them at least.
    Mode("gwas", "-pfile pheno -gfile dose -out out -binfile bins -slope 0.3",
         {"pheno": phenotypes, "dose": dosages, "bins": bins}, "out out.stats", {"bins": "No groupfile\n"},
         {"dose": OTHERS, "bins": "You need to choose at least 2 bins\n"}, 300, rereads="dose", longest=(SCAN_NAMES,),
         lines=(("dose", MARKER, b" 1", 1.5, OTHERS), ("pheno", b"ph", b" 171.234567890123456", 1.5, OTHERS))),
    Mode("gwas", "-pfile pheno -gfile dose -out out -autobins 4 -statistic r2 -xmethod mean -method quick",
         {"pheno": phenotypes, "dose": dosages}, "out out.stats", {}, {"dose": OTHERS}, 300),
    Mode("gwas2", "-pfile pheno -gfile gen -format triplet -out out -binfile bins -slope 0.3",
         {"pheno": phenotypes, "gen": genotypes, "bins": bins}, "out out.stats", {"bins": "No groupfile\n"},
         {"gen": OTHERS, "bins": "You need to choose at least 2 bins\n"}, 300, rereads="gen", longest=(SCAN_NAMES,),
         lines=(("gen", MARKER, b" 0 0 1", 1.5, OTHERS), ("pheno", b"ph", b" 171.234567890123456", 1.5, OTHERS))),
    Mode("gwas2", "-pfile pheno -gfile dose -out out -statistic r2", {"pheno": phenotypes, "dose": dosages},
         "out out.stats", {}, {"dose": OTHERS}, 300, lines=(("dose", MARKER, b" 1", 1.5, OTHERS),)),
    Mode("gwas3", "-pfile pheno -gfile gen -out out -slope 9", {"pheno": phenotypes, "gen": genotypes}, "out out.stats",
         {}, {"pheno": OTHERS, "gen": OTHERS}, 300, rereads="pheno", longest=(SCAN_NAMES,),
         lines=(("gen", MARKER, b" 0 0 1", 1.5, OTHERS), ("pheno", b"ph", b" 171.234567890123456", 5, OTHERS))),
    Mode("regscan1", "-pfile pheno -gfile gen -out out -statlimit 1 -tallies tallies",
         {"pheno": phenotypes, "gen": genotypes}, "out out.stats tallies", {}, {"gen": OTHERS}, 300, rereads="gen",
         longest=(SCAN_NAMES,),
         lines=(("gen", MARKER, b" 0 0 1", 1.5, OTHERS), ("pheno", b"ph", b" 171.234567890123456", 5, OTHERS))),
    Mode("regscan1", "-pfile pheno -gfile dose -out out -type bins -binfile borders -xmethod mean",
         {"pheno": phenotypes, "dose": dosages, "borders": bins}, "out out.stats", {"borders": "No groupfile\n"},
         {"dose": OTHERS, "borders": "You need to choose at least 2 bins\n"}, 300),
    Mode("regscan1", "-pfile pheno -gfile dose -out out -type logistic -statlimit 1",
         {"pheno": cases, "dose": dosages}, "out out.stats", {}, {"dose": OTHERS}, 300),
    Mode("mixfit", "-file in -ref ref -refpops 3 -step 0.25 -plimit 0.2 -combinatorics yes -out out -tallies tallies",
         {"in": samples, "ref": populations}, "out tallies", {}, {"ref": NO_REFERENCES},
         longest=(("-delim", 19, "at once"),),
         lines=(("in", b"sa", b"\t0", 1.5), ("ref", b"pop", b"\t0", 1.5, NO_REFERENCES))),
    Mode("family", "-file in -out out -showmatrix yes", {"in": pairs}, "out out.stats", rows=500,
         lines=(("in", b"a\tb\t0.5", b" ", 1.5),)),
    Mode("relout5", "-file in -pfile weights -pdefault mean -limit 0.1 -mode 2 -out out",
         {"in": pairs, "weights": weights}, "out", OPEN_REMOVAL, EMPTY_REMOVAL, 9000,
         lines=(("in", b"a\tb\t0.5", b"\t0", 1.5), ("weights", b"a\t1", b"\t0", 1.5))),
    Mode("relout6", "-file in -pfile weights -limit 0.1 -out out", {"in": pairs, "weights": weights}, "out",
         OPEN_REMOVAL, EMPTY_REMOVAL, 9000,
         lines=(("in", b"a\tb\t0.5", b"\t0", 1.5), ("weights", b"a\t1", b"\t0", 1.5))),
    Mode("gwamafilter", "-file in -out out -column 5 -delim space", {"in": results}, "out", lines=LONG_RESULTS),
    Mode("ldprune", "-file in -map map -out out -threshold 0.12 -poscolumn 2 -pcolumn 3 -delim space",
         {"in": results, "map": genetic_map}, "out out.removed", {}, {"map": "error!\n"}, 9000, lines=LONG_RESULTS),
    Mode("levin", "-file in -out out -delim space", {"in": columns}, "out", rows=6000,
         lines=(("in", b"1 2", b" 0", 1.5),)),
    Mode("popsel", "-file1 in -file2 pool -out out -exact-individuals 100 -exact-rounds 2",
         {"in": people, "pool": people}, "out out.log",
         OPEN_MATCHING, EMPTY_MATCHING,
         lines=(("in", b"a\t1\t2", b" ", 1.5), ("pool", b"a\t1\t2", b" ", 1.5, SMALL_POOL.format(2, 1)))),
    Mode("popsel", "-file1 in -file2 pool -out out -group-match yes -exact-rounds 1", {"in": people, "pool": people},
         "out out.log", OPEN_MATCHING, EMPTY_MATCHING, 500),
    Mode("peakscan3", "-file in -out out -lcolumn 2 -pcolumn 3 -chrcolumn 4 -delim space -header yes",
         {"in": results}, "out out.ranges", rows=30000,
         lines=(("in", b"h\nrs1 5000 0.5 1", b" 0", 1.5),)),
    Mode("read1", "", FIXED_INPUT, "OUTPUT.txt", fixed=True, lines=LONG_WALK),
    Mode("read2", "", FIXED_INPUT, "OUTPUT2.txt", {FIXED: NO_INPUT, "OUTPUT2.txt": NO_OUTPUT}, fixed=True,
         lines=LONG_WALK),
    Mode("read3", "", FIXED_INPUT, "OUTPUT2.txt", {"OUTPUT2.txt": "goes on"}, fixed=True, lines=LONG_WALK),
    Mode("read4", "", FIXED_INPUT, "", fixed=True, rereads=FIXED, lines=LONG_WALK),
    # Two runs of rows go to a temporary file.
    Mode("transpose", "-file in -out out -memory 1", {"in": wide}, "out",
         {file: f"Cannot open '{file}': {{}}\n" for file in ("in", "out")}, {"in": "'in' is empty\n"}, SMALL,
         program="morvel-table"),
]
