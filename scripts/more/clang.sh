#!/usr/bin/env bash
# Builds everything with clang, where a warning is an error, and runs the tests of the shell, the text layer and the
# kernels; then the program with link-time optimisation and with the thread sanitizer, without a warning.
set -euo pipefail
cd "$(dirname "$0")/../.."
. scripts/packages.sh
start_log build-clang/test.log
install_packages $build_packages clang libgtest-dev libgmock-dev

# build FOLDER TARGET OPTION...
build() {
    logged cmake -S . -B "$1" -DCMAKE_COMPILE_WARNING_AS_ERROR=ON "${@:3}"
    logged cmake --build "$1" --parallel "$(nproc)" --target "$2"
}

build build-clang all -DMORVEL_TESTS=ON -DCMAKE_CXX_COMPILER=clang++
ctest --test-dir build-clang --parallel "$(nproc)" --output-on-failure --no-tests=error \
    -R '^(Shell|Failure|Options|Line|Field|Read|Write|Decimal|BinSums|ClassSums|Regression|Logistic|Search|MixFit)'

# The linker tells of names with two meanings, and says so as a warning.
start_log build-lto/build.log
build build-lto morvel -DCMAKE_INTERPROCEDURAL_OPTIMIZATION=ON
if grep 'warning:' build-lto/build.log; then
    exit 1
fi

build build-thread morvel -DMORVEL_SANITIZE=thread -DCMAKE_BUILD_TYPE=RelWithDebInfo
for mode in "gwas3" "gwas2 -format triplet"; do
    for program in build-thread build-clang; do
        $program/morvel -M $mode -pfile examples/example.pheno -gfile examples/example.gen -out "build-thread/$program" \
            >/dev/null
    done
    cmp build-thread/build-thread build-thread/build-clang
done
echo "clang, link-time optimisation and the thread sanitizer: no warning, same bytes"
