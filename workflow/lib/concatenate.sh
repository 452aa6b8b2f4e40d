# concatenate.sh FILE...: the content of files, plain or in bgzip blocks, one behind the other in bgzip blocks; a last
# line without an end gets one.
set -euo pipefail
for file; do
    gzip -dcf -- "$file" | sed '$a\'
done | bgzip -c -l 1
