# To be sourced.

# What the build needs. ISA-L exists for two kinds of processor only; elsewhere the build does without.
build_packages="g++ cmake make qt6-base-dev libboost-dev zlib1g-dev libdeflate-dev libzstd-dev"
case $(dpkg --print-architecture) in amd64 | arm64) build_packages+=" libisal-dev" ;; esac

# Installs the named Debian packages that are missing, as root or with sudo.
install_packages() {
    local missing=() package
    for package in "$@"; do
        dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' \
            || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return
    echo "Installing Debian packages: ${missing[*]}"
    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || { echo "Please install them as root, or install sudo" >&2; exit 1; }
        as_root=(sudo)
    fi
    "${as_root[@]}" apt-get update -q
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -q -y --no-install-recommends "${missing[@]}"
}
