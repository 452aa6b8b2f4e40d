#!/usr/bin/env bash
# Makes the package twice, in different folders, at different times and under different users, and compares the bytes.
# As root; the second build runs as `nobody`.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
install_packages g++ cmake make qt6-base-dev dpkg-dev
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
chmod 755 "$scratch"
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
export SOURCE_DATE_EPOCH

# make_package FOLDER PREFIX...: from a copy of the committed tree, as PREFIX runs commands.
make_package() {
    local folder=$1
    shift
    mkdir -p "$folder"
    git archive HEAD | tar -x -C "$folder"
    [ $# -eq 0 ] || chown -R nobody "$folder"
    (cd "$folder" && HOME=$folder "$@" bash -c 'umask 0027; cmake -S . -B made >/dev/null &&
        cmake --build made --parallel "$(nproc)" >/dev/null && cd made && cpack -G DEB >/dev/null')
}
make_package "$scratch/first"
sleep 2
make_package "$scratch/another/folder of another length" setpriv --reuid nobody --clear-groups env TZ=Asia/Tokyo LC_ALL=C
first=$(echo "$scratch"/first/made/*.deb) second=$(echo "$scratch"/another/*/made/*.deb)
sha256sum "$first" "$second"
cmp "$first" "$second"
echo "the two packages are the same"
