# Installs Debian packages that are missing, asking nothing. Sourced by the entry scripts.

as_root() {
    if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}

# need PACKAGE...: installs those that are not there yet; does nothing when all are.
need() {
    local missing=() package
    for package in "$@"; do
        dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null | grep -qx installed ||
            missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    echo "Installing ${missing[*]}"
    as_root env DEBIAN_FRONTEND=noninteractive apt-get update -qq
    as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends \
        "${missing[@]}" >/dev/null
}

BUILD_PACKAGES=(g++ cmake ninja-build pkg-config zlib1g-dev googletest libcli11-dev libtomlplusplus-dev nlohmann-json3-dev)
