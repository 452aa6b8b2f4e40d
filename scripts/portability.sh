#!/usr/bin/env bash
# Builds MORVEL for arm64, riscv64 and s390x (big-endian) with cross-compilers in roots that debootstrap makes, runs the
# test program there under emulation, and compares all modes with the native build in build/, byte for byte: on small and
# larger inputs, and on random changes of inputs and options.
#   scripts/portability.sh [SECONDS A MODE OF RANDOM CHANGES] [ARCHITECTURE...]
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
seconds=${1:-60}
shift || true
[ $# -gt 0 ] || set -- arm64 riscv64 s390x
install_packages $build_packages qemu-user-static debootstrap debian-archive-keyring python3
declare -A suite=([arm64]=bookworm [s390x]=bookworm [riscv64]=trixie)  # the first that has it
declare -A processor=([arm64]=aarch64 [s390x]=s390x [riscv64]=riscv64)

# make_root ARCHITECTURE FOLDER: the packages are unpacked, not set up: nothing in them has to run.
make_root() {
    rm -rf "$2"
    local packages=${build_packages/ libisal-dev/}  # not everywhere, and not required
    debootstrap --foreign --variant=minbase --arch="$1" --include="${packages// /,},libgtest-dev,libgmock-dev" \
        "${suite[$1]}" "$2"
    local package link
    for package in "$2"/var/cache/apt/archives/*.deb; do
        dpkg-deb --fsys-tarfile "$package" | tar -x --keep-directory-symlink -C "$2"
    done
    find "$2/usr/lib" -lname '/*' | while read -r link; do
        ln -sfn "$(realpath -m --relative-to="$(dirname "$link")" "$2$(readlink "$link")")" "$link"
    done
    touch "$2/made"
}

cmake -S . -B build -DMORVEL_TESTS=ON >/dev/null
cmake --build build --parallel "$(nproc)"
for architecture in "$@"; do
    name=${processor[$architecture]}
    install_packages "g++-$name-linux-gnu"
    root=${MORVEL_ROOTS:-$PWD/build-roots}/$architecture
    [ -e "$root/made" ] || make_root "$architecture" "$root"
    folder=build-$architecture
    cmake -S . -B "$folder" -DMORVEL_TESTS=ON -DCMAKE_SYSTEM_NAME=Linux -DCMAKE_SYSTEM_PROCESSOR="$name" \
        -DCMAKE_CXX_COMPILER="$name-linux-gnu-g++" -DCMAKE_SYSROOT="$root" -DCMAKE_FIND_ROOT_PATH="$root" \
        -DCMAKE_FIND_ROOT_PATH_MODE_PROGRAM=NEVER -DCMAKE_FIND_ROOT_PATH_MODE_LIBRARY=ONLY \
        -DCMAKE_FIND_ROOT_PATH_MODE_INCLUDE=ONLY -DCMAKE_FIND_ROOT_PATH_MODE_PACKAGE=ONLY \
        -DCMAKE_LIBRARY_ARCHITECTURE="$name-linux-gnu" -DCMAKE_CROSSCOMPILING_EMULATOR="qemu-$name-static;-L;$root" \
        -DQT_HOST_PATH=/usr -DQT_HOST_PATH_CMAKE_DIR="/usr/lib/$(gcc -print-multiarch)/cmake"
    cmake --build "$folder" --parallel "$(nproc)"
    # As a program of its own: the tests and checks start it by its name.
    printf '#!/bin/sh\nexec qemu-%s-static -0 "$0" -L %s %s "$@"\n' "$name" "$root" "$PWD/$folder/morvel" >"$folder/emulated"
    chmod +x "$folder/emulated"
    echo "== $architecture: the test program"
    export QEMU_LD_PREFIX=$root  # for the companions, which the system starts by itself
    MORVEL_PROGRAM=$PWD/$folder/emulated qemu-"$name"-static -L "$root" "$folder/tests/morvel-tests" --gtest_brief=1 \
        --gtest_filter="${MORVEL_PORTABLE_TESTS:-*}"
    echo "== $architecture: all modes against the native build"
    python3 tests/faults/faults.py --program build/morvel --failcalls build/tests/faults/failcalls \
        --compare "$folder/emulated" --fuzz "$seconds" --only "environments mutations"
done
