# shellcheck shell=bash disable=SC2034 # sourced, its variables used elsewhere
# Sourced by the commands at the root: installs what is missing on a Debian machine.

native_packages="g++ cmake ninja-build python3 libcli11-dev nlohmann-json3-dev googletest"
windows_packages="g++-mingw-w64-x86-64-posix wine wine64"
lint_packages="clang-format clang-tidy shellcheck"

# need PACKAGE...: installs those that are missing, asking for root's rights if need be.
need() {
    missing=""
    for package in "$@"; do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' ||
            missing="$missing $package"
    done
    [ -n "$missing" ] || return 0

    as_root=""
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || {
            echo "Missing packages:$missing. Run this as root, install sudo, or install them." >&2
            return 1
        }
        as_root="sudo"
    fi
    echo "Installing$missing ..."
    # shellcheck disable=SC2086 # words are meant to split
    $as_root apt-get update -qq &&
        $as_root env DEBIAN_FRONTEND=noninteractive \
            apt-get install -y -qq --no-install-recommends $missing >/dev/null
}
