#!/usr/bin/env bash
# Builds MORVEL for arm64, riscv64 and s390x (big-endian) with cross-compilers in roots that debootstrap makes, runs the
# tests there under emulation, and compares all modes with the native build in build/, byte for byte: on small and
# larger inputs, and on random changes of inputs and options. As root. MORVEL_ROOTS names a folder that keeps the roots.
#   scripts/portability.sh [SECONDS A MODE OF RANDOM CHANGES] [ARCHITECTURE...]
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
seconds=${1:-60}
shift || true
[ $# -gt 0 ] || set -- arm64 riscv64 s390x
install_packages $build_packages libgtest-dev libgmock-dev qemu-user-static debootstrap debian-archive-keyring python3
declare -A suite=([arm64]=bookworm [s390x]=bookworm [riscv64]=trixie)  # the first that has it
declare -A processor=([arm64]=aarch64 [s390x]=s390x [riscv64]=riscv64)
# This one leaves the program half a second to start.
not_emulated=Progress.ShowsOnATerminalAfterTwoSecondsOnly

# The system starts programs of a processor by its emulator, also those that a program starts. systemd tells it so.
emulate() {
    local formats=/proc/sys/fs/binfmt_misc
    [ -e $formats/register ] || mount -t binfmt_misc none $formats
    [ -e "$formats/qemu-$1" ] || cat "/usr/lib/binfmt.d/qemu-$1.conf" >$formats/register
}

# cross_build SOURCE FOLDER OPTION...: for the processor `name`, in `root`. The compiler links its own C library, which
# may be older than the one that the root's libraries need, and have when the program runs.
cross_build() {
    logged cmake -S "$1" -B "$2" -DCMAKE_SYSTEM_NAME=Linux -DCMAKE_SYSTEM_PROCESSOR="$name" \
        -DCMAKE_CXX_COMPILER="$name-linux-gnu-g++" -DCMAKE_SYSROOT="$root" -DCMAKE_FIND_ROOT_PATH_MODE_PROGRAM=NEVER \
        -DCMAKE_FIND_ROOT_PATH_MODE_LIBRARY=ONLY -DCMAKE_FIND_ROOT_PATH_MODE_INCLUDE=ONLY \
        -DCMAKE_FIND_ROOT_PATH_MODE_PACKAGE=ONLY -DCMAKE_CROSSCOMPILING_EMULATOR="qemu-$name-static" \
        -DCMAKE_EXE_LINKER_FLAGS=-Wl,--allow-shlib-undefined "${@:3}"
    logged cmake --build "$2" --parallel "$(nproc)"
}

# make_root ARCHITECTURE: the packages are unpacked, not set up: nothing in them has to run.
make_root() {
    rm -rf "$root"
    mkdir -p "$root"
    local packages="$build_packages googletest"
    [ "$1" = arm64 ] || packages=${packages/ libisal-dev/}
    logged debootstrap --foreign --variant=minbase --arch="$1" --include="${packages// /,}" "${suite[$1]}" "$root"
    local package link
    for package in "$root"/var/cache/apt/archives/*.deb; do
        dpkg-deb --fsys-tarfile "$package" | tar -x --keep-directory-symlink -C "$root"
    done
    find "$root/usr/lib" -lname '/*' | while read -r link; do
        ln -sfn "$(realpath -m --relative-to="$(dirname "$link")" "$root$(readlink "$link")")" "$link"
    done
    # Not the suite's archives: the exception tables of Debian 13's have relocations (R_RISCV_SET_ULEB128) that the
    # linker of Debian 12 does not know and dies of.
    cross_build "$root/usr/src/googletest" "$root/googletest"
    logged cmake --install "$root/googletest" --prefix "$root/usr"
    touch "$root/made"
}

echo "== native: building"
logged cmake -S . -B build -DMORVEL_TESTS=ON
logged cmake --build build --parallel "$(nproc)"
status=0
for architecture in "$@"; do
    name=${processor[$architecture]}
    install_packages "g++-$name-linux-gnu"
    emulate "$name"
    root=${MORVEL_ROOTS:-$PWD/build-roots}/$architecture
    folder=build-$architecture
    export QEMU_LD_PREFIX=$root  # where the emulator finds the libraries
    echo "== $architecture: building"
    [ -e "$root/made" ] || make_root "$architecture"
    cross_build . "$folder" -DMORVEL_TESTS=ON \
        -DQT_HOST_PATH=/usr -DQT_HOST_PATH_CMAKE_DIR="/usr/lib/$(gcc -print-multiarch)/cmake"
    echo "== $architecture: the tests"
    ctest --test-dir "$folder" --label-exclude package --exclude-regex "$not_emulated" --parallel "$(nproc)" \
        --output-on-failure || status=1
    echo "== $architecture: all modes against the native build"
    python3 tests/faults/faults.py --program build/morvel --failcalls build/tests/faults/failcalls \
        --compare "$folder/morvel" --fuzz "$seconds" --only "environments mutations" || status=1
done
exit $status
