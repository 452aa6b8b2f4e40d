# To be sourced, with morvel in PATH: a made study, one run of each mode over all of it, and the comparison with what the
# workflow has made in parts.

# make_data MARKERS INDIVIDUALS PHENOTYPES: three chromosomes, plain, by bgzip and by gzip, with genetic maps. Every
# phenotype follows its own marker of chromosome 2 and the neighbours of that.
make_data() {
    awk -v markers="$1" -v people="$2" -v traits="$3" 'BEGIN {
        srand(20)
        for (i = 1; i <= people; ++i)
            for (t = 1; t <= traits; ++t) causal[t, i] = int(3 * rand())
        for (c = 1; c <= 3; ++c) {
            print "position rate cM" >("map." c)
            print "1 1 0\n100000000 1 " 100 >("map." c)
            for (m = 1; m <= markers; ++m) {
                line = c " rs" c "_" m " " 500 * m " A G"
                t = c == 2 ? int(m / 8) : 0
                for (i = 1; i <= people; ++i) {
                    g = t >= 1 && t <= traits && rand() < 0.9 ? causal[t, i] : int(3 * rand())
                    u = rand() < 0.1 ? 0.25 : 0
                    line = line " " (g == 0) * (1 - u) " " (g == 1) * (1 - u) + (g != 1) * u " " (g == 2) * (1 - u) + (g == 1) * u
                }
                print line >("chr" c ".gen")
            }
        }
        for (t = 1; t <= traits; ++t) {
            line = "trait" t
            for (i = 1; i <= people; ++i)
                line = line " " (rand() < 0.02 ? "NA" : sprintf("%.3f", causal[t, i] + 2 * rand()))
            print line >"traits"
        }
    }'
    bgzip chr2.gen
    gzip chr3.gen
}

# write_study NAME GENOTYPES PHENOTYPES TRAIT COSTS MAPS: its file, NAME.yaml.
write_study() {
    cat >"$1.yaml" <<Y
name: $1
out: $1
genotypes: [$2]
phenotypes: $3
minutes: 1
$5
conversions: [avgAD, avgGEN, gentoletters]
scans:
  bins: {mode: gwas2}
  each: {mode: gwas, autobins: 4}
  classes: {mode: gwas3}
  exact: {mode: regscan1, statlimit: 0.01}
peaks:
  phenotypes: [$4]
$6
report: A study
Y
}

# write_costs MARKERS INDIVIDUALS PHENOTYPES: of seconds per unit with which each step is cut into three or four jobs, whatever
# it takes.
write_costs() {
    awk -v markers="$1" -v people="$2" -v traits="$3" 'BEGIN {
        value = 200e9 / markers / people
        pair = 200e9 / markers / traits
        split("gentoAD avgAD avgGEN gentoletters", conversions)
        for (i in conversions) print conversions[i] ": {value: " value "}"
        split("gwas gwas2 gwas3 regscan1", scans)
        for (i in scans) print scans[i] ": {pair: " pair "}"
        print "pvalues: {pair: " pair * traits "}\npeakscan3: {row: " pair * traits "}"
    }'
}

# one_run FOLDER PHENOTYPES TRAIT MAPS GENOTYPES...: the same by one run of each mode, by hand.
one_run() (
    one=$1 pheno=$2 trait=$3 maps=$4
    mkdir "$one"
    for file in "${@:5}"; do gzip -dcf "$file"; done >"$one/gen"
    mode() { morvel -M "$@" >>"$one/log"; }
    mode gentoAD -file "$one/gen" -out "$one/ad" -statistics yes
    mode avgAD -file "$one/ad" -out "$one/avgAD"
    for name in avgGEN gentoletters; do mode $name -file "$one/gen" -out "$one/$name"; done
    mode gwas2 -pfile "$pheno" -gfile "$one/ad" -out "$one/bins"
    mode gwas -pfile "$pheno" -gfile "$one/ad" -out "$one/each" -autobins 4
    mode gwas3 -pfile "$pheno" -gfile "$one/gen" -out "$one/classes"
    mode regscan1 -pfile "$pheno" -gfile "$one/ad" -out "$one/exact" -statlimit 0.01
    grep "^$trait " "$pheno" >"$one/pheno"
    mode regscan1 -pfile "$one/pheno" -gfile "$one/ad" -out "$one/pvalues" -statlimit 1
    awk 'NR > 1 && $13 != "NA" { print $3, $2, $4, $13 }' "$one/pvalues" >"$one/results"
    cp "$one/results" "$one/thinned"
    if [ -n "$maps" ]; then
        : >"$one/thinned"
        : >"$one/thinned.removed"
        for c in 1 2 3; do
            awk -v c=$c '$2 == c' "$one/results" >"$one/c"
            mode ldprune -file "$one/c" -map map.$c -threshold 0.0008 -delim space -poscolumn 3 -pcolumn 4 -out "$one/k"
            cat "$one/k" >>"$one/thinned"
            cat "$one/k.removed" >>"$one/thinned.removed"
        done
    fi
    mode peakscan3 -file "$one/thinned" -delim space -chrcolumn 2 -lcolumn 3 -pcolumn 4 -out "$one/peaks"
    morvel-plot manhattan -file "$one/results" -namecolumn 1 -chrcolumn 2 -lcolumn 3 -pcolumn 4 -header no -delim space \
        -title "$trait" -out "$one/manhattan.svg"
)

# compare_with_one_run NAME ONE TRAIT MAPS: every byte.
compare_with_one_run() {
    local made count=0
    same() {
        made=$(mktemp)
        gzip -dcf "$1" >"$made"
        cmp "$made" "$2" || { echo "$1 is not what one run makes"; exit 1; }
        rm "$made"
        count=$((count + 1))
    }
    same "$1/dosages/$1.ad.gz" "$2/ad"
    same "$1/dosages/$1.ad.gz.stats" "$2/ad.stats"
    same "$1/$1.gentoletters.gz" "$2/gentoletters"
    for name in avgAD avgGEN bins bins.stats each each.stats classes classes.stats exact exact.stats; do
        same "$1/$1.$name" "$2/$name"
    done
    same "$1/$1.pvalues.gz" "$2/pvalues"
    same "$1/$1.pvalues.gz.stats" "$2/pvalues.stats"
    for name in results peaks peaks.ranges ${4:+thinned thinned.removed}; do
        same "$1/$1.$3.$name" "$2/$name"
    done
    same "$1/pictures/$3.manhattan.svg" "$2/manhattan.svg"
    [ -s "$1/report.html" ]
    echo "$1: $count files, every byte that of one run"
}

# run_study FILE WORD...: snakemake, its number in the file main and all that it says in FILE.log.
run_study() {
    snakemake -s "$source/workflow/Snakefile" --configfile "$1" "${@:2}" >"$1.log" 2>&1 &
    echo $! >main
    wait $!
}
