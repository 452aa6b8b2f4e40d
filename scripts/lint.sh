#!/usr/bin/env bash
# Reads the source by cppcheck and clang-tidy (bugprone, performance, cert); any finding that is not silenced here, with
# its reason, is an error. Takes half an hour on a core. Files of src/ can be named as arguments.
set -euo pipefail
cd "$(dirname "$0")/.."
sed -n '2,3s/^# //p' "$0"
. scripts/packages.sh
start_log build-lint/lint.log
install_packages $build_packages clang clang-tidy cppcheck
[ $# -gt 0 ] || set -- src/*/*.cpp src/tools/*/*.cpp
status=0

# CHECK  REASON
silenced_cppcheck='
uninitMemberVar         buffers and marks that are written before they are read, which the fuzzers watch
uninitDerivedMemberVar  the declarations of options, whose base is an aggregate
bufferAccessOutOfBounds eight bytes of a struct of eight are copied from its first member on
arrayIndexThenCheck     the two operands of an order, not an index and its limit
uninitvar               an array that is handed over to be written
syntaxError             a lambda that makes a constant where it is defined is beyond cppcheck 2.10
'
silenced_clang_tidy='
bugprone-branch-clone                 questions whose order matters, two with the same answer
bugprone-easily-swappable-parameters  names and units tell them apart
bugprone-implicit-widening-of-multiplication-result  twice a number of two digits
bugprone-incorrect-roundings          half and more upwards is the rule of the results
bugprone-integer-division             the whole part is meant
bugprone-macro-parentheses            macros that define functions for several processors
bugprone-misplaced-widening-cast      sums of numbers of four digits
bugprone-narrowing-conversions        told by the compiler (-Wconversion), without false alarms
bugprone-not-null-terminated-result   texts have a length, not an end mark
cert-dcl50-cpp                        messages in the form of printf, which the compiler checks
cert-err33-c                          the console looks for failed writes when it is flushed
cert-err34-c                          a colour that is a constant
cert-err58-cpp                        settings are texts, set before the run
cert-flp30-c                          steps of printed values, whose sums are what is printed
performance-inefficient-vector-operation      lists of a few names
performance-inefficient-string-concatenation  lines of help and of scripts
'
names() { awk 'NF { print $1 }' <<<"$1"; }

cppcheck --std=c++20 --language=c++ -Isrc --quiet --enable=warning,performance,portability --error-exitcode=1 \
    $(names "$silenced_cppcheck" | sed 's/^/--suppress=/') --template='{file}:{line}: {message} [{id}]' "$@" || status=1

logged cmake -S . -B build-lint -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_EXPORT_COMPILE_COMMANDS=ON
checks="-*,bugprone-*,performance-*,cert-*$(names "$silenced_clang_tidy" | sed 's/^/,-/' | tr -d '\n')"
printf '%s\n' "$@" | xargs -P "$(nproc)" -n 4 clang-tidy -p build-lint --quiet --checks="$checks" \
    --warnings-as-errors='*' 2>>"$log" || status=1
exit $status
