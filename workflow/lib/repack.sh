# repack.sh READER FILE: a compressed file in blocks that can be entered in the middle.
set -euo pipefail
$1 -- "$2" | bgzip -c -l 1
