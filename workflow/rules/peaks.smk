# For each chosen phenotype: its markers with positions and p-values, thinned where there are maps, the peaks, and
# pictures of all that. What is short for each phenotype is a group, which a profile may hand over as one job.


def tablesOf(trait):
    return [f"{PARTS}/tables/{trait}.{number}" for number in range(1, len(FACTS["files"]) + 1)]


def peakSource(wildcards):
    return f"{PREFIX}.{wildcards.trait}." + ("thinned" if MAPS else "results")


SUMMARIES = [f"{PREFIX}.{trait}.{made}" for trait in TRAITS for made in ["results", "peaks"] + ["thinned"] * bool(MAPS)]

# Minutes of what works through the markers of a phenotype once.
SHORT = int(3 * PLAN.seconds("tables", row=FACTS["markers"]) / 60 + 1)

if TRAITS:
    if PLAN.chosen != PLAN.phenotypes:

        rule chosen:
            input:
                fixed([config["phenotypes"]]),
            output:
                PLAN.chosen,
            log:
                f"{OUT}/logs/tables/chosen.log",
            params:
                command=words("bash", f"{LIB}/lines.sh", study.reader(FACTS["phenotypeKind"]), config["phenotypes"],
                              *[trait["line"] for trait in FACTS["traits"]]),
            shell:
                "{JOB} {log} -o {output} -- {params.command}"

    rule tables:
        input:
            f"{PREFIX}.pvalues.gz",
        output:
            temp([name for trait in TRAITS for name in tablesOf(trait)]),
        log:
            f"{OUT}/logs/tables/all.log",
        params:
            names=f"{PARTS}/tables/",
            traits=words(*[word for trait in FACTS["traits"] for word in (trait["file"], trait["name"])]),
            labels=words(*[file["label"] for file in FACTS["files"]]),
        resources:
            runtime=int(3 * PLAN.seconds("tables", row=FACTS["markers"] * len(TRAITS)) / 60 + 10),
        shell:
            "{JOB} {log} -- bash {LIB}/tables.sh {input} {params.names} {params.traits} -- {params.labels}"

    rule results:
        input:
            lambda wildcards: tablesOf(wildcards.trait),
        output:
            f"{PREFIX}.{{trait}}.results",
        log:
            f"{OUT}/logs/tables/{{trait}}.log",
        group:
            "trait"
        resources:
            runtime=SHORT,
            small=1,
        shell:
            "{JOB} {log} -o {output} -- cat {input}"

    rule thin:
        input:
            table=f"{PARTS}/tables/{{trait}}.{{number}}",
            map=lambda wildcards: fixed([PLAN.mapOf(int(wildcards.number))]),
        output:
            temp([f"{PARTS}/thin.{{trait}}/{{number}}{side}" for side in (".part", "", ".removed")]),
        log:
            f"{OUT}/logs/thin/{{trait}}.{{number}}.log",
        params:
            command=lambda wildcards: PLAN.thinCommand(int(wildcards.number)),
            chromosomes=len(FACTS["files"]),
            out=f"{PARTS}/thin.{{trait}}/{{number}}",
        group:
            "trait"
        resources:
            mem_mb=int(PLAN.longest * 1e-4 + 100),
            runtime=SHORT,
            small=1,
        shell:
            "{JOB} {log} -- morvel-gather run -part {wildcards.number} -of {params.chromosomes} -- {params.command}"
            " -file {input.table} -out {params.out}"

    rule thinned:
        input:
            expand(f"{PARTS}/thin.{{{{trait}}}}/{{number}}{{side}}", number=range(1, len(FACTS["files"]) + 1),
                   side=(".part", "", ".removed")),
        output:
            f"{PREFIX}.{{trait}}.thinned",
            f"{PREFIX}.{{trait}}.thinned.removed",
        log:
            f"{OUT}/logs/thin/{{trait}}.join.log",
        params:
            folder=f"{PARTS}/thin.{{trait}}",
        group:
            "trait"
        resources:
            runtime=SHORT,
            small=1,
        shell:
            "{JOB} {log} -- morvel-gather join -parts '{params.folder}/%' -out {output[0]}"

    rule part_peaks:
        input:
            peakSource,
        output:
            temp([f"{PARTS}/peaks.{{trait}}.{PLAN.peakParts}/{{number}}{side}" for side in (".part", "", ".ranges")]),
        log:
            f"{OUT}/logs/peaks/{{trait}}.{{number}}.log",
        params:
            out=f"{PARTS}/peaks.{{trait}}.{PLAN.peakParts}/{{number}}",
            parts=PLAN.peakParts,
        group:
            "trait"
        resources:
            mem_mb=int(PLAN.longest * 1.5e-4 + 100),
            runtime=SHORT,
            small=1,
        shell:
            "{JOB} {log} -- morvel-gather run -part {wildcards.number} -of {params.parts} -- morvel -M peakscan3"
            " -file {input} -delim space -chrcolumn 2 -lcolumn 3 -pcolumn 4 -out {params.out}"

    rule join_peaks:
        input:
            expand(f"{PARTS}/peaks.{{{{trait}}}}.{PLAN.peakParts}/{{number}}{{side}}",
                   number=range(1, PLAN.peakParts + 1), side=(".part", "", ".ranges")),
        output:
            f"{PREFIX}.{{trait}}.peaks",
            f"{PREFIX}.{{trait}}.peaks.ranges",
        log:
            f"{OUT}/logs/peaks/{{trait}}.join.log",
        params:
            folder=f"{PARTS}/peaks.{{trait}}.{PLAN.peakParts}",
        group:
            "trait"
        resources:
            runtime=SHORT,
            small=1,
        shell:
            "{JOB} {log} -- morvel-gather join -parts '{params.folder}/%' -out {output[0]}"
