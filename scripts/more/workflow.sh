#!/usr/bin/env bash
# Runs the workflow on this machine: it makes the bytes of one run of each mode, goes on after a kill without doing anything
# twice, and tells what is wrong with a study before any job starts.
set -euo pipefail
cd "$(dirname "$0")/../.."
. scripts/packages.sh
start_log build/workflow.log
install_packages $build_packages snakemake tabix gnuplot-nox fonts-dejavu-core
logged cmake -S . -B build
logged cmake --build build --parallel "$(nproc)" --target morvel morvel-plot morvel-gather
source=$PWD PATH=$PWD/build:$PATH
. tests/workflow/study.sh
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
ln -s "$source/examples" examples

make_data 400 150 9
write_costs 1200 150 9 >costs
files="chr1.gen chr2.gen.gz chr3.gen.gz" maps='{maps: "map.{chromosome}", threshold: 0.0008}'
write_study made "${files// /, }" traits trait3 "costs: costs" '  maps: map.{chromosome}
  threshold: 0.0008'
one_run one traits trait3 maps $files
grep -q . one/peaks.ranges && grep -q . one/thinned.removed # there is something to compare

# The program as it is, but that one part of the dosages dies once, and one of the p-values kills Snakemake once.
mkdir bin
cat >bin/morvel <<B
#!/usr/bin/env bash
case "\$*" in
    *-out\ made/parts/dosages.*/2.gz) mkdir "$work/died" 2>/dev/null && kill -9 \$\$ ;;
    *-out\ made/parts/pvalues.*/2.gz*) mkdir "$work/killed" 2>/dev/null && kill -9 \$(cat "$work/main") && sleep 1 ;;
esac
exec "$source/build/morvel" "\$@"
B
chmod +x bin/morvel
PATH=$work/bin:$PATH

# What is complete, with the times of its making: results, and the logs of parts that have a record.
complete() {
    find made -type f \( -name 'made.*' -o -name '*.svg' \) ! -name '*.log' -printf '%p %T@\n'
    find made/parts -name '*.part' | sed -E 's,parts/(thin|peaks)\.([^/]*)/([0-9]+).part,logs/\1/\2.\3.log,
        s,parts/([a-zA-Z]+)\.[0-9]+/(.*)\.part,logs/\1/\2.log,' | xargs -r stat -c '%n %Y %i %s'
}

run_study made.yaml --cores 2 && { echo "a job that was killed went unnoticed"; exit 1; }
grep -q 'not complete: made/logs/dosages/2.gz.log' made/summary.txt
complete >before-1
run_study made.yaml --cores 2 && { echo "Snakemake has survived"; exit 1; }
sleep 2 # for the job that is left
complete >before-2
[ -s before-1 ] && [ -s before-2 ]
run_study made.yaml --cores 2
cat made/summary.txt
for before in before-1 before-2; do
    while read -r name times; do
        [[ $name = *.log ]] && now=$(stat -c '%Y %i %s' "$name") || now=$(find "$name" -printf '%T@')
        [ "$times" = "$now" ] || { echo "$name has been made again"; exit 1; }
    done <$before
done
compare_with_one_run made one trait3 maps
run_study made.yaml --cores 2
grep -q 'Nothing to be done' made.yaml.log

write_study example examples/example.gen examples/example.pheno height "" ""
run_study example.yaml --cores 2
one_run one-example examples/example.pheno height "" examples/example.gen
compare_with_one_run example one-example height ""
# Dosages in three kinds of files, the first without its last line end, and packed phenotypes come to the same.
for c in 1 2 3; do morvel -M gentoAD -file chr$c.gen* -out $c.ad >/dev/null; done
truncate -s -1 1.ad
gzip 2.ad
bgzip 3.ad
gzip -c traits >traits.gz
sed -E 's/^name: .*/name: dos\ncontent: dosages/; s/^out: .*/out: dos/; s/^phenotypes: .*/phenotypes: traits.gz/
    s/^genotypes: .*/genotypes: ["[123].ad*"]/; s/^conversions.*//; /classes/d' made.yaml >dos.yaml
run_study dos.yaml --cores 2
for name in bins bins.stats each exact exact.stats; do cmp dos/dos.$name one/$name; done
gzip -dc dos/dos.pvalues.gz | cmp - one/pvalues

sed 's/^#programs.*//' "$source/workflow/example.yaml" >ours.yaml # the one that the guide starts from
run_study ours.yaml --cores 2

# wrong MESSAGE EDIT: the study file after sed's edit ends in one line with this message, and nothing is touched.
wrong() {
    sed -E "$2" made.yaml >wrong.yaml
    rm -rf made
    run_study wrong.yaml --cores 2 && { echo "this passes: $2"; exit 1; }
    [ "$(wc -l <wrong.yaml.log)" -eq 1 ] && grep -qF -- "wrong.yaml: $1" wrong.yaml.log && [ ! -e made ] || {
        echo "instead of '$1':"
        cat wrong.yaml.log
        exit 1
    }
}
head -n 1 chr1.gen | cut -d ' ' -f 1-452 >narrow.gen
sed 's/^1 /2 /' chr1.gen >second.gen
: >empty.gen
head -c -28 chr2.gen.gz >cut.gen.gz
{ cat traits; echo "trait3 1 2"; } >uneven
wrong "unknown key 'phenotype'; did you mean 'phenotypes'?" 's/^phenotypes:/phenotype:/'
wrong "'scans: exact': unknown key 'statlimits'; did you mean 'statlimit'?" 's/statlimit:/statlimits:/'
wrong "'scans: bins': gwas2 has no option 'type'" 's/mode: gwas2/mode: gwas2, type: rank/'
wrong "'minutes': this must be how long a job should take" 's/^minutes: 1/minutes: soon/'
wrong "'name' is missing" '/^name/d'
wrong "the phenotype file 'nosuch' cannot be opened: No such file" 's/^phenotypes: .*/phenotypes: nosuch/'
wrong "the genotype file 'chr4.gen' cannot be opened" 's/chr1.gen/chr4.gen/'
wrong "the genetic map 'maps.1' cannot be opened" 's/map\./maps./'
wrong "the genotype file 'empty.gen' holds no markers" 's/chr1.gen/empty.gen/'
wrong "'cut.gen.gz' has been cut" 's/chr2.gen.gz/cut.gen.gz/'
wrong "'narrow.gen' has 149 individuals, and 'chr2.gen.gz' has 150" 's/chr1.gen, (.*)]/\1, narrow.gen]/'
wrong "'second.gen' and 'chr2.gen.gz' both begin with chromosome '2'" 's/chr1.gen/second.gen/'
wrong "'examples/example.pheno' has 120 values in line 1, and the genotype files have 150 individuals" \
    's,^phenotypes: .*,phenotypes: examples/example.pheno,'
wrong "'uneven' has 2 values in line 10" 's/^phenotypes: .*/phenotypes: uneven/'
wrong "'peaks': 'traits' has no phenotype 'trait33'; did you mean 'trait3'?" 's/\[trait3\]/[trait33]/'
wrong "'scans: classes': gwas3 needs triplets" 's/^name/content: dosages\nname/'
echo "16 studies that cannot run: one line each, before any job"
