"""The steps of a study, how many jobs each is cut into, and what they take: from costs per unit (costs.yaml).

As a program it tells what a study of some size would take, without its files:
  python3 workflow/lib/plan.py STUDY.yaml INDIVIDUALS MARKERS PHENOTYPES
"""
import math
import os
import sys

import yaml

from study import readConfig, words

SPLIT_BY = {"gwas": "phenotypes", "gwas2": "phenotypes"}  # all others by lines of the genotypes


class Step:
    """A run of the program over everything, cut into parts whose results are put together again."""

    def __init__(self, name, command, made, needs, inputs=None):
        self.name = name
        self.command = command  # morvel's words, without -out
        self.made = made  # the result; side files are `sides`
        self.needs = needs  # files that must be there first
        self.inputs = inputs  # a list of files whose content is split as one, or None
        self.sides = []
        self.parts = 1
        self.seconds = self.memory = self.disk = self.read = 0.0  # of all parts; megabytes of one; bytes
        self.ending = ".gz" if made.endswith(".gz") else ""

    def folder(self, parts):
        return f"{parts}/{self.name}.{self.parts}"

    def records(self, parts):
        return [f"{self.folder(parts)}/{part}{self.ending}.part" for part in range(1, self.parts + 1)]


class Plan:
    def __init__(self, config, facts, costs):
        self.config, self.facts = config, facts
        with open(costs) as file:
            self.costs = yaml.safe_load(file)
        self.costs.update(facts["costs"])
        self.out = config["out"]
        self.prefix = f"{self.out}/{config['name']}"
        self.parts = f"{self.out}/parts"
        self.list = f"{self.parts}/genotypes"
        self.steps = {}
        self.plainJobs = []  # (what, jobs, seconds of all, megabytes of one, bytes on the disk, bytes read)
        self.values = facts["markers"] * facts["individuals"]
        self.repacked = self.findRepacked()
        self.phenotypes = self.repacked.get(config["phenotypes"], config["phenotypes"])
        self.addDosages()
        for name, scan in config["scans"].items():
            self.addScan(name, scan["mode"], {k: v for k, v in scan.items() if k != "mode"})
        if facts["traits"]:
            self.addPeaks()
        pictures = len(config["scans"]) + len(facts["traits"]) * (4 if "maps" in config.get("peaks", {}) else 3)
        self.picture = self.seconds("pictures", row=facts["markers"])
        self.plainJobs.append(("pictures", pictures + ("report" in config), pictures * self.picture, 200, 0,
                               facts["markers"] * len(facts["traits"]) * 120))

    def seconds(self, kind, **units):
        """Of so many units of a kind of work."""
        cost = self.costs[kind]
        return sum(cost.get(unit, 0) * count for unit, count in units.items()) * 1e-9

    def cut(self, step, whole, each, limit):
        """Parts of about `minutes` each: `each` seconds are spent in every part, `whole` are shared among them."""
        wanted = self.config["minutes"] * 60
        # What every part repeats may be half of it, no more.
        share = max(wanted - each, each, 1e-9)
        step.parts = int(max(1, min(limit, math.ceil(whole / share))))
        step.seconds = whole + each * step.parts

    def findRepacked(self):
        """What is read in place of plain gzip and Zstandard files, which cannot be entered in the middle."""
        made = {file["name"]: f"{self.parts}/genotypes.{number}.gz"
                for number, file in enumerate(self.facts["files"], 1) if file["kind"] in ("gzip", "zstd")}
        if self.facts["phenotypeKind"] in ("gzip", "zstd"):
            made[self.config["phenotypes"]] = f"{self.parts}/phenotypes.gz"
        return made

    def genotypes(self):
        """The genotype files as the steps read them."""
        return [self.repacked.get(file["name"], file["name"]) for file in self.facts["files"]]

    def addDosages(self):
        config, facts, costs = self.config, self.facts, self.costs["bytes"]
        self.dosages = f"{self.out}/dosages/{config['name']}.ad.gz"
        packed = self.values * costs["packed"]
        if self.repacked:
            files = [file for file in facts["files"] if file["name"] in self.repacked]
            size, content = sum(file["size"] for file in files), sum(file["bytes"] for file in files)
            self.plainJobs.append(("repack", len(self.repacked), content * 30e-9, 20, content / 5, size))
        if config["content"] == "dosages":
            if len(facts["files"]) == 1:
                self.dosages = self.genotypes()[0]
            else:
                self.plainJobs.append(("dosages", 1, self.values * 5e-9, 20, packed, packed))
        else:
            options = ["-statistics", "yes"] if config["statistics"] else []
            step = self.addStep("dosages", "gentoAD", ["-file", "/dev/stdin", *options], self.dosages, "genotypes")
            step.sides = [".stats"] if config["statistics"] else []
            self.cut(step, self.seconds("gentoAD", value=self.values), 0, facts["markers"])
            step.disk = packed
        for mode in config["conversions"]:
            made = f"{self.prefix}.{mode}" + (".gz" if mode == "gentoletters" else "")
            source = ("dosages", self.dosages) if mode == "avgAD" else ("genotypes", "/dev/stdin")
            step = self.addStep(mode, mode, ["-file", source[1]], made, source[0])
            self.cut(step, self.seconds(mode, value=self.values), 0, facts["markers"])
            step.disk = self.values * 0.5 if mode == "gentoletters" else facts["markers"] * 40

    def addStep(self, name, mode, command, made, source):
        inputs = self.list if source == "genotypes" else None
        needs = self.genotypes() if inputs else [self.dosages]
        step = Step(name, words("morvel", "-M", mode, *command), made, needs, inputs)
        step.memory = 30 + 20e-6 * self.facts["individuals"]
        files, packed = self.facts["files"], self.costs["bytes"]["packed"]
        step.read = sum(file["size"] for file in files) if inputs else self.values * packed
        self.steps[name] = step
        return step

    def scanCommand(self, mode, options, phenotypes):
        settings = [word for key, value in options.items() for word in (f"-{key}", value)]
        return ["-pfile", phenotypes, "-delim", self.config["delimiter"], "-missing", self.config["missing"], *settings]

    def addScan(self, name, mode, options):
        facts, config = self.facts, self.config
        source = "genotypes" if mode == "gwas3" else "dosages"
        command = [*self.scanCommand(mode, options, self.phenotypes), "-gfile",
                   "/dev/stdin" if source == "genotypes" else self.dosages]
        step = self.addStep(name, mode, command, f"{self.prefix}.{name}", source)
        step.sides = [".stats"]
        # What passes a limit of p by chance; by other limits nobody can tell.
        share = float(options.get("statlimit", 0.05)) if options.get("statistic", "p") == "p" else 0
        hits = facts["markers"] * facts["phenotypes"] * min(share, 1)
        self.cutScan(step, mode, mode, facts["phenotypes"], hits)
        step.needs = step.needs + [self.phenotypes]
        rows = facts["markers"] if mode == "gwas3" else facts["phenotypes"]  # of statistics
        step.disk = hits * self.costs["bytes"]["hit"] + rows * 100

    def cutScan(self, step, mode, kind, phenotypes, hits=0):
        facts = self.facts
        pairs, entries = facts["markers"] * phenotypes, facts["individuals"] * phenotypes
        reading = self.seconds(kind, value=self.values)
        entering = self.seconds(kind, entry=entries)
        work = self.seconds(kind, pair=pairs, cell=pairs * facts["individuals"], hit=hits,
                            hitcell=hits * facts["individuals"])
        if mode == "gwas":  # reads everything again for each phenotype
            self.cut(step, reading * phenotypes + entering + work, 0, phenotypes)
        elif mode == "gwas2":
            self.cut(step, entering + work, reading, phenotypes)
        else:
            self.cut(step, reading + work, entering, facts["markers"])
        held = phenotypes / step.parts if mode in SPLIT_BY else phenotypes
        step.read *= {"gwas": phenotypes, "gwas2": step.parts}.get(mode, 1)  # which read all genotypes in every part
        step.read += facts["phenotypeBytes"] * (1 if mode in SPLIT_BY else step.parts)
        each = {"gwas": 0, "gwas2": 1, "gwas3": 8, "regscan1": 12}[mode] * facts["individuals"]
        step.memory += held * (each + (25000 if mode == "regscan1" else 0)) / 1e6

    def addPeaks(self):
        facts, config, peaks = self.facts, self.config, self.config["peaks"]
        traits = len(facts["traits"])
        everybody = traits == facts["phenotypes"]
        self.chosen = self.phenotypes if everybody else f"{self.parts}/chosen.pheno"
        options = {"type": peaks["type"], "statistic": "p", "statlimit": 1}
        command = [*self.scanCommand("regscan1", options, self.chosen), "-gfile", self.dosages]
        step = self.addStep("pvalues", "regscan1", command, f"{self.prefix}.pvalues.gz", "dosages")
        step.sides = [".stats"]
        step.needs = step.needs + [self.chosen]
        self.cutScan(step, "regscan1", "pvalues", traits)
        step.disk = facts["markers"] * traits * self.costs["bytes"]["pvalue"]
        rows = facts["markers"] * traits
        self.plainJobs.append(("tables", 1 + traits, self.seconds("tables", row=rows), 20, rows * 30, rows * 64))
        chromosomes = len(facts["files"])
        self.longest = longest = max(f["markers"] for f in facts["files"])
        if "maps" in peaks:
            self.plainJobs.append(("thin", traits * chromosomes, self.seconds("ldprune", row=rows),
                                   20 + longest * 70e-6, rows * 40, rows * 30))
        self.peakParts = int(max(1, min(chromosomes, math.ceil(
            self.seconds("peakscan3", row=facts["markers"]) / (config["minutes"] * 60)))))
        self.plainJobs.append(("peaks", traits * self.peakParts, self.seconds("peakscan3", row=rows),
                               20 + longest * 100e-6, rows * 50, rows * 30))

    def mapOf(self, number):
        return self.config["peaks"]["maps"].replace("{chromosome}", self.facts["files"][number - 1]["label"])

    def thinCommand(self, number):
        return words("morvel", "-M", "ldprune", "-map", self.mapOf(number), "-threshold",
                     self.config["peaks"]["threshold"], "-pcolumn", 4, "-poscolumn", 3, "-delim", "space")

    def resources(self, step):
        """Megabytes, and minutes with room for a slow processor and a busy disk."""
        return math.ceil(1.5 * step.memory + 50), math.ceil(3 * step.seconds / step.parts / 60 + 5)

    def done(self):
        return sum(os.path.exists(step.made) for step in self.steps.values())

    def text(self):
        """The table of what to expect."""
        lines = [f"{self.facts['individuals']} individuals, about {self.facts['markers']} markers in "
                 f"{len(self.facts['files'])} files, {self.facts['phenotypes']} phenotypes",
                 f"{'step':<16}{'jobs':>8}{'core hours':>12}{'MB a job':>10}{'GB on disk':>12}{'GB read':>10}"]
        rows = [(s.name, s.parts + 1, s.seconds, s.memory, s.disk, s.read) for s in self.steps.values()]
        rows = [(name, jobs, seconds + jobs * self.costs["start"], *rest)
                for name, jobs, seconds, *rest in rows + self.plainJobs if jobs]
        name, jobs, seconds, memory, disk, read = zip(*rows)
        # Parts and the result lie side by side until they are put together.
        most = max([step.disk for step in self.steps.values()], default=0)
        rows.append(("all", sum(jobs), sum(seconds), max(memory), sum(disk) + most, sum(read)))
        for name, jobs, seconds, memory, disk, read in rows:
            lines.append(f"{name:<16}{jobs:>8}{seconds / 3600:>12.3g}{memory:>10.0f}{disk / 1e9:>12.3g}"
                         f"{read / 1e9:>10.3g}")
        lines.append(f"{self.done()} of {len(self.steps)} large steps are done")
        return "\n".join(lines)


def main(name, individuals, markers, phenotypes, chromosomes=22):
    folder = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    with open(name) as file:
        config = readConfig(yaml.safe_load(file), f"{folder}/schema.yaml")
    # Triplets take some 8 bytes a genotype as text, and some 2.1 when compressed.
    chromosome = {"name": "", "kind": "bgzip", "label": "", "markers": markers // chromosomes,
                  "bytes": markers * individuals * 8 // chromosomes, "size": markers * individuals * 2.1 / chromosomes}
    chosen = config.get("peaks", {}).get("phenotypes", range(phenotypes)) if "peaks" in config else []
    facts = {"costs": {}, "files": [chromosome] * chromosomes, "individuals": individuals, "markers": markers,
             "phenotypes": phenotypes, "phenotypeBytes": individuals * phenotypes * 7, "phenotypeKind": "plain",
             "traits": list(chosen)}
    print(Plan(config, facts, f"{folder}/costs.yaml").text())


if __name__ == "__main__":
    main(sys.argv[1], *map(int, sys.argv[2:]))
