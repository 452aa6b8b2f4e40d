# Pictures, and the page that shows all of the study.


def pictureOf(trait, kind):
    return f"{OUT}/pictures/{trait}.{kind}.{PICTURE}"


KINDS = ["manhattan", "qq", "peaks"] + ["pruning"] * bool(MAPS)
PICTURES = [pictureOf(trait, kind) for trait in TRAITS for kind in KINDS]
PICTURES += [pictureOf(name, "scan") for name in config["scans"]]
SOURCES = {"manhattan": "results", "qq": "results", "peaks": "peaks", "pruning": "thinned", "scan": "stats"}
COLUMNS = {
    "manhattan": "-namecolumn 1 -chrcolumn 2 -lcolumn 3 -pcolumn 4 -header no -delim space",
    "qq": "-pcolumn 4 -header no -delim space",
    "pruning": "-namecolumn 1 -chrcolumn 2 -lcolumn 3 -pcolumn 4 -header no -delim space",
}


rule picture:
    input:
        lambda wildcards: f"{PREFIX}.{wildcards.trait}.{SOURCES[wildcards.kind]}",
    output:
        f"{OUT}/pictures/{{trait}}.{{kind,{'|'.join(SOURCES)}}}.{PICTURE}",
    log:
        f"{OUT}/logs/pictures/{{trait}}.{{kind}}.log",
    params:
        columns=lambda wildcards: COLUMNS.get(wildcards.kind, ""),
    group:
        "trait"
    resources:
        mem_mb=300,
        runtime=int(3 * PLAN.picture / 60 + 2),
        small=1,
    shell:
        "{JOB} {log} -- morvel-plot {wildcards.kind} -file {input} {params.columns}"
        " -title {wildcards.trait} -out {output}"


rule report:
    input:
        fixed(step.made for step in PLAN.steps.values()),
        SUMMARIES,
    output:
        f"{OUT}/report.html",
    log:
        f"{OUT}/logs/report/all.log",
    params:
        prefix=words(PREFIX),
        title=words(config.get("report", "")),
    resources:
        mem_mb=1000,
        runtime=int(10 * PLAN.picture / 60 + 10),
    shell:
        "{JOB} {log} -- morvel-plot report -file {params.prefix} -out {output} -title {params.title}"
