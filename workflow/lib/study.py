"""What a study file says, and what its files hold: read and checked before any job starts.

Whatever is wrong ends in one Wrong, whose text names the study file or the file with the fault and what to do.
"""
import difflib
import glob
import os
import shlex
import shutil
import subprocess
import zlib

import jsonschema
import yaml

DELIMITERS = {"tab": b"\t", "space": b" ", "comma": b",", "semicolon": b";"}
LEADING = 5  # columns before the genotypes
BGZIP_END = bytes.fromhex("1f8b08040000000000ff0600424302001b0003000000000000000000")
SAMPLE = 1 << 20  # bytes of content from which the number of markers is told
SCAN_OPTIONS = {"gwas": ["slope", "statistic", "statlimit", "autobins", "manualbins", "binfile", "method", "xmethod"],
                "gwas3": ["slope", "statistic", "statlimit"]}
SCAN_OPTIONS["gwas2"] = SCAN_OPTIONS["gwas"]
SCAN_OPTIONS["regscan1"] = SCAN_OPTIONS["gwas"] + ["type"]
PROGRAMS = ["morvel", "morvel-gather", "morvel-plot"]


class Wrong(Exception):
    """A study that cannot run; the text is for its owner."""


def explain(error):
    """One sentence for what the schema does not allow."""
    place = ": ".join(str(step) for step in error.absolute_path)
    at = f"'{place}': " if place else ""
    if error.validator == "additionalProperties":
        known = list(error.schema["properties"])
        unknown = next(str(key) for key in error.instance if key not in known)
        near = difflib.get_close_matches(unknown, known, 1)
        advice = f"did you mean '{near[0]}'?" if near else "known: " + ", ".join(known)
        return f"{at}unknown key '{unknown}'; {advice}"
    if error.validator == "required":
        missing = next(key for key in error.validator_value if key not in error.instance)
        return f"{at}'{missing}' is missing: " + error.schema["properties"][missing]["description"]
    what = error.schema.get("description", "a list of keys, as in workflow/example.yaml")
    value = "nothing" if error.instance is None else f"'{error.instance}'"
    return f"{at}this must be {what}; it is {value}"


def fillDefaults(values, schema):
    for key, part in schema.get("properties", {}).items():
        if "default" in part:
            values.setdefault(key, part["default"])
        if isinstance(values.get(key), dict):
            fillDefaults(values[key], part)


def readConfig(config, schemaFile):
    """The configuration with all defaults, as the schema allows it."""
    with open(schemaFile) as file:
        schema = yaml.safe_load(file)
    errors = list(jsonschema.Draft7Validator(schema).iter_errors(config))
    if errors:  # of several the unknown key: it tells why another one is missing
        raise Wrong(explain(min(errors, key=lambda e: (e.validator != "additionalProperties", *map(str, e.path)))))
    fillDefaults(config, schema)
    config["out"] = os.path.normpath(config["out"])
    for name, scan in config["scans"].items():
        known = SCAN_OPTIONS[scan["mode"]]
        for option in scan:
            if option != "mode" and option not in known:
                raise Wrong(f"'scans: {name}': {scan['mode']} has no option '{option}'; it has " + ", ".join(known))
        if scan["mode"] == "gwas3" and config["content"] == "dosages":
            raise Wrong(f"'scans: {name}': gwas3 needs triplets, and 'content' is dosages")
    for mode in config["conversions"]:
        if mode != "avgAD" and config["content"] == "dosages":
            raise Wrong(f"'conversions': {mode} needs triplets, and 'content' is dosages")
    if "pvalues" in config["scans"]:
        raise Wrong("'scans': 'pvalues' is the name of what 'peaks' makes; choose another")
    return config


def openable(name, what):
    try:
        with open(name, "rb") as file:
            return file.read(18)
    except OSError as error:
        raise Wrong(f"{what} '{name}' cannot be opened: {error.strerror}")


def kindOf(start):
    """By the first bytes of a file: plain, gzip, bgzip or zstd."""
    if start[:2] == b"\x1f\x8b":
        return "bgzip" if len(start) == 18 and start[3] & 4 and start[12:14] == b"BC" else "gzip"
    return "zstd" if start[:4] == b"\x28\xb5\x2f\xfd" else "plain"


def checkEnd(name, kind):
    """A bgzip file ends with an empty block (SAM/BAM format, 4.1.2); one that was cut lacks it, and gzip does not ask."""
    with open(name, "rb") as file:
        file.seek(max(os.path.getsize(name) - len(BGZIP_END), 0))
        if kind == "bgzip" and file.read() != BGZIP_END:
            raise Wrong(f"'{name}' has been cut: it does not end with the empty block of bgzip")


def reader(kind):
    """The command that unpacks such a file to its standard output."""
    return {"plain": "cat", "zstd": "zstd -dcq"}.get(kind, "gzip -dc")


def contentOf(name, kind):
    """Pairs of a block of content and the bytes of the file that it was read from."""
    with open(name, "rb") as file:
        if kind == "zstd":
            if not shutil.which("zstd"):
                raise Wrong(f"'{name}' needs the program zstd, which is not installed")
            process = subprocess.Popen(["zstd", "-dcq", name], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
            with process.stdout:
                while block := process.stdout.read(SAMPLE):
                    yield block, len(block) // 8  # a usual ratio: the frames need not tell their own
            return
        unpack = zlib.decompressobj(31)
        while block := file.read(1 << 16):
            if kind == "plain":
                yield block, len(block)
                continue
            content, rest = [], block
            while rest:
                try:
                    content.append(unpack.decompress(rest))
                except zlib.error:
                    raise Wrong(f"'{name}' is damaged")
                rest = unpack.unused_data
                if unpack.eof:
                    unpack = zlib.decompressobj(31)
            yield b"".join(content), len(block)


def linesOf(name, kind):
    """The lines of a file that are not empty, without their ends."""
    rest = b""
    for block, _ in contentOf(name, kind):
        lines = (rest + block).split(b"\n")
        rest = lines.pop()
        yield from (line for line in lines if line.strip())
    if rest.strip():
        yield rest


def sampleGenotypes(name, content):
    """Label, individuals and about how many markers and bytes of content a genotype file has."""
    kind = kindOf(openable(name, "the genotype file"))
    checkEnd(name, kind)
    text, taken = b"", 0
    for block, size in contentOf(name, kind):
        text, taken = text + block, taken + size
        if len(text) > SAMPLE and b"\n" in text:
            break
    lines = [line for line in text.split(b"\n") if line.strip()]
    if not lines:
        raise Wrong(f"the genotype file '{name}' holds no markers: a chromosome without any must not be listed")
    values = len(lines[0].split()) - LEADING
    each = 3 if content == "triplets" else 1
    if values < each or values % each:
        raise Wrong(f"'{name}' has {values + LEADING} columns, which is not {LEADING} and {each} for each individual: "
                    "look at 'content', and for a header line")
    size = max(int(os.path.getsize(name) * len(text) / max(taken, 1)), 1)
    return {"name": name, "kind": kind, "label": lines[0].split()[0].decode("utf-8", "replace"),
            "individuals": values // each, "bytes": size, "size": os.path.getsize(name),
            "markers": max(1, round(size * text[:len(text)].count(b"\n") / len(text)) if b"\n" in text else 1)}


def readGenotypes(config):
    names = []
    for entry in config["genotypes"]:
        found = sorted(glob.glob(entry), key=lambda name: [int(p) if p.isdigit() else p for p in _parts(name)]) \
            if glob.has_magic(entry) and not os.path.exists(entry) else [entry]
        if not found:
            raise Wrong(f"'genotypes': no file fits the pattern '{entry}'")
        names += found
    files = [sampleGenotypes(name, config["content"]) for name in names]
    for i, file in enumerate(files):
        first = files[0]
        if file["individuals"] != first["individuals"]:
            raise Wrong(f"'{file['name']}' has {file['individuals']} individuals, and '{first['name']}' has "
                        f"{first['individuals']}: all genotype files need the same ones in the same order")
        for other in files[:i]:
            if other["label"] == file["label"]:
                raise Wrong(f"'{other['name']}' and '{file['name']}' both begin with chromosome '{file['label']}': "
                            "a chromosome is one file, sorted by position")
    return files


def _parts(name):
    """A name in pieces of digits and others, so that chr2 sorts before chr10."""
    pieces, digits = [""], False
    for sign in name:
        if sign.isdigit() != digits:
            pieces.append("")
            digits = not digits
        pieces[-1] += sign
    return pieces


def readPhenotypes(config, individuals):
    """The names of all phenotypes; every line must have a value for each individual."""
    name, delimiter = config["phenotypes"], DELIMITERS[config["delimiter"]]
    kind = kindOf(openable(name, "the phenotype file"))
    checkEnd(name, kind)
    names, size = [], 0
    for number, line in enumerate(linesOf(name, kind), 1):
        values = line.rstrip(b"\r").count(delimiter)
        if values != individuals:
            raise Wrong(f"'{name}' has {values} values in line {number}, and the genotype files have {individuals} "
                        "individuals: look at 'delimiter', for a header line, and whether a line is a phenotype")
        names.append(line.split(delimiter, 1)[0].decode("utf-8", "surrogateescape"))
        size += len(line) + 1
    if not names:
        raise Wrong(f"the phenotype file '{name}' is empty")
    return {"kind": kind, "names": names, "bytes": size}


def chosenTraits(config, names):
    """Line number, name and file name of each phenotype whose peaks are wanted."""
    wanted = config["peaks"].get("phenotypes", names)
    traits, used = [], set()
    for name in map(str, wanted):
        if names.count(name) != 1:
            near = difflib.get_close_matches(name, names, 1)
            hint = f"; did you mean '{near[0]}'?" if near else ""
            raise Wrong(f"'peaks': '{config['phenotypes']}' has {names.count(name) or 'no'} phenotype"
                        f"{'s' if names.count(name) else ''} '{name}'{hint}")
        file = "".join(sign if sign.isascii() and (sign.isalnum() or sign in "_-") else "_" for sign in name)
        while file in used or file in config["scans"] or file == "pvalues":
            file += "_"
        used.add(file)
        traits.append({"line": names.index(name) + 1, "name": name, "file": file})
    return sorted(traits, key=lambda trait: trait["line"])


def readCosts(config):
    """What the study's own file tells of costs per unit."""
    if "costs" not in config:
        return {}
    openable(config["costs"], "the file of costs")
    with open(config["costs"]) as file:
        costs = yaml.safe_load(file)
    kinds = list(costs.values()) if isinstance(costs, dict) else [None]
    if not all(isinstance(kind, dict) and all(isinstance(cost, (int, float)) for cost in kind.values()) for kind in kinds):
        raise Wrong(f"'{config['costs']}' must have lines such as 'gentoAD: {{value: 20}}'")
    return costs


def checkPrograms(config):
    path = os.environ.get("PATH", "")
    if config["programs"]:
        path = os.path.abspath(config["programs"]) + ":" + path
    for program in PROGRAMS:
        if not shutil.which(program, path=path):
            raise Wrong(f"the program {program} is neither in 'programs' nor in PATH")


def checkNames(config, traits):
    """The scans take names of fewer than 100 bytes, side files included."""
    longest = max([len(scan) for scan in config["scans"]] + [len(t["file"]) for t in traits] + [12])
    made = f"{config['out']}/parts/.999999/999999.gz.stats"
    if len(made.encode()) + longest >= 100:
        raise Wrong(f"'out' is too long: names such as '{made}' with a scan's name must have fewer than 100 bytes")
    if len(config["phenotypes"].encode()) >= 100:
        raise Wrong(f"'{config['phenotypes']}': names of phenotype files must have fewer than 100 bytes")


def load(config, schemaFile):
    """The configuration, and under 'facts' what the files hold."""
    config = readConfig(config, schemaFile)
    checkPrograms(config)
    files = readGenotypes(config)
    phenotypes = readPhenotypes(config, files[0]["individuals"])
    traits = chosenTraits(config, phenotypes["names"]) if "peaks" in config else []
    for scan in config["scans"].values():
        if "binfile" in scan:
            openable(scan["binfile"], "the bin file")
    if "maps" in config.get("peaks", {}):
        for file in files:
            openable(config["peaks"]["maps"].replace("{chromosome}", file["label"]), "the genetic map")
    checkNames(config, traits)
    return {"costs": readCosts(config), "files": files, "individuals": files[0]["individuals"],
            "markers": sum(file["markers"] for file in files), "phenotypes": len(phenotypes["names"]),
            "phenotypeBytes": phenotypes["bytes"], "phenotypeKind": phenotypes["kind"], "traits": traits}


def words(*parts):
    """Words of a command, quoted for the shell where they need it."""
    return " ".join(shlex.quote(str(part)) for part in parts)
