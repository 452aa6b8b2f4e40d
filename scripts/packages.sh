# To be sourced: quiet steps, and the Debian packages that they need.

# The log of the script, in a folder of its build; scripts that name none share one.
start_log() {
    log=$1
    mkdir -p "$(dirname "$log")"
    : >"$log"
}
start_log build/script.log

# Runs a command with all that it says in the log. Where it fails, shows the end of that, names the log and ends the
# script with its status.
logged() {
    local status=0
    "$@" >>"$log" 2>&1 || status=$?
    [ $status -eq 0 ] && return
    tail -n 20 "$log"
    echo "Failed with status $status: $*"
    echo "All of it is in $log"
    exit $status
}

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
    logged "${as_root[@]}" apt-get update -q
    logged "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -q -y --no-install-recommends "${missing[@]}"
}
