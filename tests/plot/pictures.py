#!/usr/bin/env python3
"""Reads back what morvel-plot draws with gnuplot and holds it against the numbers in the files.

    pictures.py BUILD_FOLDER
"""
import math, os, random, re, subprocess, sys, tempfile
import xml.etree.ElementTree as tree

program = os.path.abspath(sys.argv[1]) + "/morvel-plot"
svg = "{http://www.w3.org/2000/svg}"


def run(*words, status=0):
    result = subprocess.run([program, *words], capture_output=True)
    assert result.returncode == status, (words, result.returncode, result.stderr)
    return result.stderr.decode()


def write(name, text):
    with open(name, "wb") as out:
        out.write(text.encode() if isinstance(text, str) else text)


def content(name):
    with open(name, "rb") as file:
        return file.read()


class Svg:
    """Texts, lone dots, outlines and lines of a picture, in its pixels."""

    def __init__(self, name):
        root = tree.fromstring(content(name))
        self.title, self.desc = root.find(svg + "title").text, root.find(svg + "desc").text
        self.texts = ["".join(node.itertext()) for node in root.iter(svg + "text")]
        use = [node for node in root.iter(svg + "use") if "translate" in node.get("transform", "")]
        self.dots = [tuple(map(float, re.findall(r"[-\d.]+", node.get("transform"))[:2])) for node in use]
        self.areas = [(node.get("fill"), [tuple(map(float, pair.split(","))) for pair in node.get("points").split()])
                      for node in root.iter(svg + "polygon")]
        pairs = lambda path: [tuple(map(float, pair)) for pair in re.findall(r"([-\d.]+),([-\d.]+)", path)]
        self.lines = [(node.get("stroke"), pairs(node.get("d")))
                      for node in root.iter(svg + "path") if re.match("M[-0-9.]+,", node.get("d", ""))]

    def covers(self, x, y):
        """True where a dot or an outline reaches the pixel."""
        if any(math.hypot(x - dx, y - dy) <= 1.5 for dx, dy in self.dots):
            return True
        for _, points in self.areas:
            inside = False
            for (x1, y1), (x2, y2) in zip(points, points[1:] + points[:1]):
                if (x1 > x) != (x2 > x) and y < y1 + (y2 - y1) * (x - x1) / (x2 - x1):
                    inside = not inside
            if inside:
                return True
        return False


def axis(texts_at, first, last):
    """The pixels of values on an axis, by two of its numbers."""
    (a, pa), (b, pb) = texts_at[first], texts_at[last]
    return lambda value: pa + (value - a) / (b - a) * (pb - pa)


def check_manhattan():
    random.seed(1)
    rows = []
    for chromosome, length in [("1", 100e6), ("2", 80e6), ("X", 50e6)]:
        for i in range(3000):
            rows.append((chromosome, "rs%s_%d" % (chromosome, i), random.randrange(int(length)), random.random()))
    rows.append(("2", "best", 40000000, 3e-12))
    rows.append(("2", "near", 40400000, 2e-11))
    rows.append(("X", "other", 10000000, 4e-9))
    random.shuffle(rows)
    write("scan", "Chr\tSNPID\tPos\tp-value\n" + "".join("%s\t%s\t%d\t%.6g\n" % row for row in rows))
    run("manhattan", "-file", "scan", "-out", "scan.svg")
    picture = Svg("scan.svg")
    assert {"best", "other", "1", "2", "X"} <= set(picture.texts) and "near" not in picture.texts, picture.texts
    assert "9,003 markers" in picture.desc and "best, p = 3e-12" in picture.desc and "2 peaks" in picture.desc
    # The panel, from the layout; the axis ends 16 % above the highest value.
    left, top, right, bottom = 160, 30, 1004 - 40, 649 - 130 - 1
    values = {row: -math.log10(float("%.6g" % row[3])) for row in rows}
    spans, end = {}, 0.0
    gap = sum(max(r[2] for r in rows if r[0] == c) - min(r[2] for r in rows if r[0] == c) for c in "12X") / 100
    for c in "12X":
        low, high = min(r[2] for r in rows if r[0] == c), max(r[2] for r in rows if r[0] == c)
        spans[c] = (end + gap / 2, low)
        end += high - low + gap
    most = max(values.values()) * 1.16
    for row in random.sample(rows, 1500) + rows[-3:]:
        x = left + (spans[row[0]][0] + row[2] - spans[row[0]][1]) / end * (right - left)
        y = bottom + 1 - values[row] / most * (bottom + 1 - top)
        assert picture.covers(x, y), (row, x, y)
    # Nothing is drawn where no marker is: between 5e-8 and the peaks.
    line = bottom + 1 + math.log10(5e-8) / most * (bottom + 1 - top)
    assert any(abs(y - line) < 0.6 and abs(x - left) < 1 for _, points in picture.lines for x, y in points[:1]), line
    assert not any(picture.covers(x, line - 20) for x in range(left, left + 300))


def check_thinned_is_full():
    for kind in ["manhattan", "qq"]:
        run(kind, "-file", "scan", "-out", "thinned.png")
        run(kind, "-file", "scan", "-out", "full.png", "-full", "yes")
        assert content("thinned.png") == content("full.png"), kind
        for ending in ["png", "svg", "pdf"]:
            run(kind, "-file", "scan", "-out", "one." + ending)
            run(kind, "-file", "scan", "-out", "two." + ending)
            assert content("one." + ending) == content("two." + ending), ending


def check_sizes():
    random.seed(2)
    with open("many", "w") as out:
        out.write("CHR\tBP\tP\n")
        for i in range(1000000):
            out.write("%d\t%d\t%.6g\n" % (1 + i // 50000, i % 50000 * 4000, random.random()))
    for kind in ["manhattan", "qq"]:
        for ending in ["svg", "pdf"]:
            run(kind, "-file", "many", "-out", "many." + ending)
            assert os.path.getsize("many." + ending) < 2e6


def check_qq():
    ps = [10 ** -random.uniform(0, 5) for _ in range(500)]
    write("ps", "P\n" + "".join("%.17g\n" % p for p in ps))
    run("qq", "-file", "ps", "-out", "qq.svg")
    picture = Svg("qq.svg")
    size = (1004 - 40 - 160, 826 - 130 - 30)
    x_most, y_most = math.log10(501) * 1.05, -math.log10(min(ps)) * 1.08
    for rank, p in enumerate(sorted(ps), 1):
        x = 160 - math.log10(rank / 501) / x_most * size[0]
        y = 30 + size[1] + math.log10(p) / y_most * size[1]
        assert picture.covers(x, y), (rank, p, x, y)
    chi = [text for text in picture.texts if text.startswith("λ = ")]
    assert len(chi) == 1 and "n = 500" in picture.texts, picture.texts


def check_hostile():
    names = ['"; system("touch RUN"); "', "`touch RUN`", "<script>alert(1)</script>&lt;", "$(touch RUN)",
             "@RUN {/Symbol a} %d_x^y",
             "'; set output 'RUN'", "\\n\\\"; !touch RUN", "a(1)7"]
    head = "Chr\tSNPID\tPos\tp-value\n"
    rows = "".join("%d\t%s\t5\t1e-%d\n" % (i + 1, name, 12 + i) for i, name in enumerate(names))
    write("bad", head.encode() + rows.encode() + b"9\t\xff\xfe\x01\x7f\t7\t1e-20\n")
    run("manhattan", "-file", "bad", "-out", "bad.svg", "-width", "300", "-title", "two\nlines `touch RUN`")
    texts = Svg("bad.svg").texts
    for name in names:
        assert name[:20] in [text.rstrip("…") for text in texts], (name, texts)
    assert "\ufffd\ufffd  " in texts and "two lines `touch RUN`" in texts, texts
    statistics = "Pheno\tPhenoID\tHits\tAbsMaxSlope\tgroup1\tgroup2\n"
    write("bad.stats", statistics + "".join("%s\t%d\t%d\t1\t5\t6\n" % (name, i, i) for i, name in enumerate(names)))
    run("scan", "-file", "bad.stats", "-out", "stats.svg")
    assert {name[:16] for name in names} <= {text.rstrip("…") for text in Svg("stats.svg").texts}
    for ending in ["png", "pdf"]:
        run("manhattan", "-file", "bad", "-out", "bad." + ending)
    run("report", "-file", "bad", "-out", "bad.html")
    page = content("bad.html").decode()
    assert page.count("<script") == 1 and "&lt;script&gt;alert(1)" in page
    assert not os.path.exists("RUN")


def check_odd_values():
    head = "Chr\tSNPID\tPos\tp-value\n"
    cases = {"one": "1\ta\t5\t0.1\n", "ones": "1\ta\t5\t1\n1\tb\t6\t1\n", "zeros": "1\ta\t5\t0\n2\tb\t6\t0\n",
             "unsorted": "2\ta\t50\t0.1\nzzz\tb\t6\t0.2\n2\tc\t1\t0.3\n1\td\t7\t1e-300\n",
             "odd": "1\ta\t1e300\t0.1\n1\tb\t-1e300\t0.1\n1\tc\tnan\t0.1\n1\td\t5\tinf\n"}
    for name, rows in cases.items():
        write(name, head + rows)
        for kind in ["manhattan", "qq"]:
            for ending in ["svg", "png"]:
                assert run(kind, "-file", name, "-out", "odd." + ending) == ""
    assert "2 p-values are 0" in (run("manhattan", "-file", "zeros", "-out", "z.svg"), Svg("z.svg"))[1].desc
    write("phenotypes.stats", "Pheno\tPhenoID\tHits\tAbsMaxSlope\tgroup1\n"
          + "".join("p%d\t%d\t%d\t%g\t%d\n" % (i, i, i % 7, 0.1, 3 if i == 777 else 40) for i in range(10000)))
    run("scan", "-file", "phenotypes.stats", "-out", "phenotypes.svg")
    picture = Svg("phenotypes.svg")
    assert "p777" in picture.texts and "Unlike the others: p777." in picture.desc, picture.desc
    assert os.path.getsize("phenotypes.svg") < 2e6


def check_other_kinds():
    # A range, shaded between its ends: 200 to 500 of an axis from 88 to 712.
    write("profile", "".join("%d\t17\t%d\t%g\t%g\t%g\t0\n" % (i, 100 * (i + 1), p, 0, p if 1 <= i <= 4 else 0)
                             for i, p in enumerate([5, 6, 9, 12, 9, 4, 0.7])))
    write("profile.ranges", "SUM: max: 3 400 12 maxder: 0.08 range: 200 500 300 4\n")
    run("peaks", "-file", "profile", "-out", "peaks.svg")
    shade = [points for fill, points in Svg("peaks.svg").areas if fill == "rgb(230, 159,   0)"]
    xs = sorted({x for x, _ in shade[0]})
    width = 1004 - 150 - 30
    for x, value in zip([xs[0], xs[-1]], [200, 500]):
        assert abs(x - (150 + (value - 88) / 624 * width)) < 3, (xs, value)
    # Proportions of a bar.
    write("report",
          "3Hits anna a North 0.75 South b 0.25 East 0 score: 0.05\n1Hit bea South b 1 - - - score: 0.1\n"
          "0 cumul_normal North 0.75\n1 cumul_normal South b 1.25\n2 cumul_normal East 0\n")
    run("mixture", "-file", "report", "-out", "mixture.svg")
    picture = Svg("mixture.svg")
    assert {"anna a", "bea", "North", "South b"} <= set(picture.texts) and "East" not in picture.texts, picture.texts
    heights = {}
    for fill, points in picture.areas:
        ys = [y for _, y in points]
        heights.setdefault(fill, []).append(max(ys) - min(ys))
    north, south = heights["rgb(230, 159,   0)"], sorted(heights["rgb(  0, 114, 178)"])
    assert abs(north[0] / south[1] - 0.75) < 0.01 and abs(south[0] / south[1] - 0.25) < 0.01, heights
    # Pairs left after each removal: 5, 2, 0.
    write("list", "0 ann 3 1.25 4 1\n0 dan 2 0.25 2 2\n")
    run("removal", "-file", "list", "-out", "removal.svg")
    steps = [points for stroke, points in Svg("removal.svg").lines
             if stroke == "rgb(  0, 114, 178)" and len(points) > 2][0]
    ys = [y for _, y in steps]
    assert abs((ys[0] - ys[-1]) / (ys[2] - ys[-1]) - 5 / 2) < 0.02, steps
    assert "5 at first among 4 individuals; half of them are gone after 1." in Svg("removal.svg").desc
    # Extremes of the correlations.
    write("shifts", "N corr first_Y\n1 0.2 5\n2 -0.75 7\n3 0.5 6\n")
    run("shifts", "-file", "shifts", "-out", "shifts.svg")
    assert {"0.5 at 2", "-0.75 at 1"} <= set(Svg("shifts.svg").texts)
    # A dot of each difference, in their order from the left.
    write("log", "read 3\n\nColumn\tMean1\tDifferenceBefore\tDifferenceAfter\nage\t5\t0.5\t-0.25\n\nRound\n")
    run("balance", "-file", "log", "-out", "balance.svg")
    before, after = sorted(Svg("balance.svg").dots, reverse=True)
    middle = [points[0][0] for stroke, points in Svg("balance.svg").lines
              if stroke == "rgb(128, 128, 128)" and len(points) == 2][0]
    assert abs((before[0] - middle) / (middle - after[0]) - 2) < 0.05, (before, after, middle)
    # Kept and removed, without what ldprune puts behind a removed row.
    write("kept", "rs1 1000 0.02\nrs3 4000 0.01\n")
    write("kept.removed", "rs2 2500 0.4 dCM 0.05\n")
    run("pruning", "-file", "kept", "-lcolumn", "2", "-pcolumn", "3", "-out", "pruning.svg")
    assert {"2 kept", "1 removed"} <= set(Svg("pruning.svg").texts) and len(Svg("pruning.svg").dots) == 3
    # A family's pair and its value.
    write("families", "1) 2 x  dan eve\n\n\tdan\teve\ndan\t1\t0.5\neve\t0.5\t1\n\n")
    run("family", "-file", "families", "-out", "family.svg")
    assert {"dan", "eve", "family 1: 2"} <= set(Svg("family.svg").texts)
    assert "pair drawn is 0.5" in Svg("family.svg").desc


def check_effect(morvel, examples):
    pheno, dosages = examples + "/example.pheno", examples + "/example.gen"
    for scan, words in [("gwas2", ["-format", "triplet"]), ("gwas3", []), ("regscan1", [])]:
        subprocess.run([morvel, "-M", scan, "-pfile", pheno, "-gfile", dosages, "-out", "hits", "-slope", "0",
                        "-statlimit", "1", *words], check=True, stdout=subprocess.DEVNULL)
        lines = [line.split("\t") for line in content("hits").decode().splitlines()]
        head = lines[0]
        for marker in ["rs1042", "rs1003", "rs1069"]:
            row = dict(zip(head, next(line for line in lines if line[0] == "height" and marker in line)))
            run("effect", "-scan", scan, "-pfile", pheno, "-gfile", dosages, "-marker", marker, "-phenotype", "height",
                "-out", "effect.svg", *words)
            text = "slope %s, R² %s, p %s" % (row["Slope"], row["R2"], row["p-value"])
            assert text in Svg("effect.svg").texts, (scan, marker, text, Svg("effect.svg").texts)
            assert "119 individuals" in Svg("effect.svg").desc


source = os.path.dirname(os.path.abspath(__file__)) + "/../.."
with tempfile.TemporaryDirectory() as folder:
    build = os.path.abspath(sys.argv[1])
    os.chdir(folder)
    check_manhattan()
    check_thinned_is_full()
    check_sizes()
    check_qq()
    check_hostile()
    check_odd_values()
    check_other_kinds()
    check_effect(build + "/morvel", source + "/examples")
    # The picture in the README is what the program draws now.
    subprocess.run([build + "/morvel", "-M", "regscan1", "-pfile", source + "/examples/example.pheno", "-gfile",
                    source + "/examples/example.gen", "-statlimit", "1", "-out", "hits"],
                   check=True, stdout=subprocess.DEVNULL)
    run("manhattan", "-file", "hits", "-phenotype", "height", "-out", "example.svg")
    assert content("example.svg") == content(source + "/docs/example.svg") and os.path.getsize("example.svg") < 60000
print("what is drawn is what the files hold")
