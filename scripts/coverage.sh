#!/usr/bin/env bash
# Runs all tests on a build that counts the lines and branches run, and lists those of src/ that none has reached.
# Branches that only an exception takes are left out.
set -euo pipefail
cd "$(dirname "$0")/.."
sed -n '2,3s/^# //p' "$0"
. scripts/packages.sh
install_packages $build_packages libgtest-dev libgmock-dev python3 locales gcovr

cmake --preset coverage
# What earlier runs counted goes, and the pages are made anew: that counts as well.
find build-coverage -name '*.gcda' -delete
rm -f build-coverage/morvel.1 build-coverage/morvel.bash
cmake --build build-coverage --parallel "$(nproc)"
status=0
ctest --preset coverage --parallel "$(nproc)" || status=$?  # a limit on file sizes stops the counts as well
figures() {
    gcovr build-coverage --root . --filter src/ --exclude-throw-branches --exclude-unreachable-branches "$@"
}
figures
figures --branches
exit $status
