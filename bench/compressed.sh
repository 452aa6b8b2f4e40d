#!/usr/bin/env bash
# Times gentoAD from compressed triplets against the usual decompressor followed by gentoAD on the plain file, gentoAD
# into compressed dosages against gzip -1 on these, and gwas from compressed dosages: 750 individuals, 400 MB of triplets.
set -euo pipefail
cd "$(dirname "$0")/.."
. bench/timing.sh
build_for_bench
install_packages tabix zstd
morvel=$PWD/build/morvel
makedata=$PWD/build/bench/makedata
data=${1:-out/bench-compressed}
mkdir -p "$data"
cd "$data"
[ -s triplets ] || "$makedata" triplets 750 67000 >triplets
[ -s dosages ] || "$morvel" -M gentoAD -file triplets -out dosages >/dev/null
for file in triplets dosages; do
    [ -s $file.bgz ] || bgzip -c $file >$file.bgz
    [ -s $file.gzip ] || gzip -c $file >$file.gzip
    [ -s $file.zstd ] || zstd -qc $file >$file.zstd
done
for phenotypes in 1 2 10; do
    "$makedata" phenotypes 750 $phenotypes >phenotypes$phenotypes
done
ls -l triplets* dosages* | awk '{ printf "%s: %.0f MB\n", $NF, $5 / 1e6 }'

# What comes out is right, before the clock.
for packed in triplets.*; do
    "$morvel" -M gentoAD -file $packed -out result >/dev/null
    cmp result dosages
done
"$morvel" -M gentoAD -file triplets -out result.gz >/dev/null
"$morvel" -M gentoAD -file triplets -out result.zst >/dev/null
bgzip -dc result.gz | cmp - dosages
zstdcat result.zst | cmp - dosages
ls -l result.gz result.zst | awk '{ printf "%s: %.1f MB\n", $NF, $5 / 1e6 }'
gzip -1 <dosages | wc -c | awk '{ printf "dosages by gzip -1: %.1f MB\n", $1 / 1e6 }'

convert="$morvel -M gentoAD -out /dev/null -file"
echo "                                     morvel     against"
compare "gentoAD from bgzip" "sh -c 'bgzip -dc triplets.bgz >/dev/null; $convert triplets'" "$convert triplets.bgz"
compare "gentoAD from gzip" "sh -c 'zcat <triplets.gzip >/dev/null; $convert triplets'" "$convert triplets.gzip"
compare "gentoAD from Zstandard" "sh -c 'zstdcat triplets.zstd >/dev/null; $convert triplets'" "$convert triplets.zstd"
fresh='result.gz result.zst'
compare "gentoAD into .gz" "gzip -1c dosages" "$morvel -M gentoAD -file triplets -out result.gz"
compare "gentoAD into .zst" "gzip -1c dosages" "$morvel -M gentoAD -file triplets -out result.zst"
fresh=hits
for phenotypes in 1 2 10; do
    scan="$morvel -M gwas -pfile phenotypes$phenotypes -out hits -gfile"
    compare "gwas from bgzip, $phenotypes phenotypes" "$scan dosages" "$scan dosages.bgz"
done
