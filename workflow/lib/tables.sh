# tables.sh PVALUES NAMES (FILE PHENOTYPE)... -- LABEL...: the markers of each phenotype and chromosome that have a
# p-value, one by one with name, chromosome, position and p: NAMESFILE.1 for the first chromosome and so on. A file
# appears under its name when all are complete.
set -euo pipefail
values=$1 names=$2
shift 2
mkdir -p "$(dirname "${names}x")"
gzip -dc -- "$values" | awk -F '\t' -v names="$names" '
    BEGIN {
        for (i = 1; ARGV[i] != "--"; i += 2) trait[ARGV[i + 1]] = ARGV[i]
        for (k = i + 1; k < ARGC; ++k) {
            number[ARGV[k]] = k - i
            for (t in trait) printf "" > (names trait[t] "." (k - i) ".new")
        }
        ARGC = 1
    }
    NR == 1 || $13 == "NA" { next }
    $1 "" != last "" || $2 "" != chromosome "" {
        if (out) close(out)
        if (!($2 in number)) { print "no genotype file begins with chromosome " $2 " of marker " $3; exit 1 }
        last = $1; chromosome = $2; out = names trait[$1] "." number[$2] ".new"
    }
    { print $3, $2, $4, $13 >> out }' "$@"
for file in "$names"*.new; do
    mv -- "$file" "${file%.new}"
done
