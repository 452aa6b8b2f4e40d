# lines.sh READER FILE NUMBER...: the lines of these numbers, empty ones not counted; the numbers rise.
set -euo pipefail
numbers="${*:3}"
$1 -- "$2" | awk -v wanted="$numbers" '
    BEGIN { split(wanted, number, " "); next_ = 1 }
    /[^ \t\r]/ && ++line == number[next_] { print; ++next_ }'
