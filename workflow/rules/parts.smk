# Every step that is cut: parts by morvel-gather run, put together by morvel-gather join. The record of a part is its
# output, since it appears when the part is complete.


def partWords(step, part):
    number = part.removesuffix(".gz")
    inputs = ["-inputs", PLAN.list] if step.inputs else []
    return words("morvel-gather", "run", "-part", number, "-of", step.parts, *inputs)


KINDS_OF_FILES = {file["name"]: file["kind"] for file in FACTS["files"]}
KINDS_OF_FILES[config["phenotypes"]] = FACTS["phenotypeKind"]

for index, (packed, made) in enumerate(PLAN.repacked.items(), 1):

    rule:
        name:
            f"repack_{index}"
        input:
            fixed([packed]),
        output:
            made,
        log:
            f"{OUT}/logs/repack/{index}.log",
        params:
            command=words("bash", f"{LIB}/repack.sh", study.reader(KINDS_OF_FILES[packed]), packed),
        resources:
            runtime=int(os.path.getsize(packed) * 2e-8 + 10),
        shell:
            "{JOB} {log} -o {output} -- {params.command}"


if config["content"] == "dosages" and len(FACTS["files"]) > 1:

    rule dosages:
        input:
            fixed(PLAN.genotypes()),
        output:
            PLAN.dosages,
        log:
            f"{OUT}/logs/dosages/all.log",
        params:
            command=words("bash", f"{LIB}/concatenate.sh", *PLAN.genotypes()),
        resources:
            runtime=int(PLAN.values * 5e-10 + 10),
        shell:
            "{JOB} {log} -o {output} -- {params.command}"


for step in PLAN.steps.values():
    memory, minutes = PLAN.resources(step)

    rule:
        name:
            f"part_{step.name}"
        input:
            fixed(step.needs),
        output:
            temp(f"{step.folder(PARTS)}/{{part}}.part"),
        log:
            f"{OUT}/logs/{step.name}/{{part}}.log",
        params:
            run=lambda wildcards, step=step: partWords(step, wildcards.part),
            command=step.command,
            out=f"{step.folder(PARTS)}/{{part}}",
        resources:
            mem_mb=lambda wildcards, attempt, memory=memory: memory * attempt,
            runtime=lambda wildcards, attempt, minutes=minutes: minutes * attempt,
        shell:
            "{JOB} {log} -- {params.run} -- {params.command} -out {params.out}"

    rule:
        name:
            f"join_{step.name}"
        input:
            step.records(PARTS),
        output:
            step.made,
            [step.made + side for side in step.sides],
        log:
            f"{OUT}/logs/{step.name}/join.log",
        params:
            command=step.command,
            parts=words(f"{step.folder(PARTS)}/%{step.ending}"),
            folder=step.folder(PARTS),
        resources:
            runtime=int(step.disk * 1e-9 + 10),
        shell:
            "{JOB} {log} -remove {params.folder} -- morvel-gather join -parts {params.parts} -out {output[0]}"
