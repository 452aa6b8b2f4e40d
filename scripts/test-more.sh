#!/usr/bin/env bash
# Runs the tests that need more tools than test.sh: the parts in scripts/more, or those named as arguments. Each installs
# what it is missing and uses the builds that test.sh has made, or makes them.
set -euo pipefail
cd "$(dirname "$0")/.."
sed -n '2,3s/^# //p' "$0"
[ $# -gt 0 ] || set -- $(cd scripts/more && ls -- *.sh)
for part in "$@"; do
    echo "== ${part%.sh}"
    bash "scripts/more/${part%.sh}.sh"
done
