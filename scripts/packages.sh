# shellcheck shell=bash disable=SC2034 # sourced, its variables used elsewhere
# Sourced by the commands at the root and in scripts/: installs what is missing on a Debian machine, and
# builds with a log.

native_packages="g++ cmake ninja-build python3 libboost-dev libcli11-dev nlohmann-json3-dev googletest"
windows_packages="g++-mingw-w64-x86-64-posix wine wine64"
# cq-station alone needs them; ./demo builds without.
station_packages="libmosquitto-dev"
bench_packages="g++ cmake ninja-build libbenchmark-dev liblcms2-dev libboost-dev libcli11-dev nlohmann-json3-dev"
deb_packages="dpkg-dev file pkg-config mono-mcs"
zip_packages="zip llvm mono-mcs"
lint_packages="clang-format clang-tidy shellcheck"
# Optional: without them the Python and C# bindings, and their examples, are tested in part or not at all.
bindings_packages="python3-numpy python3-matplotlib python3-pip python3-setuptools python3-wheel mono-mcs mono-runtime libmono-system4.0-cil libmono-system-core4.0-cil"
# Optional: without them the page of the station is not tested in a browser.
browser_packages="chromium nodejs npm"
# Optional: without them stations, broker and database are not tested together.
hall_packages="mosquitto openssl postgresql python3-paho-mqtt python3-psycopg2"
coverage_packages="gcovr"
fuzz_packages="clang libclang-rt-14-dev llvm g++ cmake ninja-build python3"
site_packages="doxygen doxygen-awesome-css python3-numpy python3-matplotlib"

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

# Where ccache is installed nothing is compiled twice, in whatever folder under build/.
use_ccache() {
    command -v ccache >/dev/null || return 0
    export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache
    export CCACHE_NOHASHDIR=1 CCACHE_BASEDIR=$PWD
}
use_ccache

# quietly LOG COMMAND...: what it prints goes to the log, whose end is shown when it fails.
quietly() {
    local log=$1
    shift
    mkdir -p "$(dirname "$log")"
    "$@" >"$log" 2>&1 || {
        tail -n 40 "$log" >&2
        echo "This failed: $*. Its log is $log." >&2
        return 1
    }
}

# build_native TARGET...
build_native() {
    cmake --preset native && cmake --build --preset native --target "$@"
}
