# What the scripts share: installing what is missing, configuring and building, silent when there is nothing to do.
# Source this file; it sets $root.

set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
unset ZELVAN_PLUGIN_PATH # another build's pool would be found beside this one's

# Debian packages by what they are for.
build_packages="g++ cmake ninja-build libeigen3-dev libpugixml-dev libcli11-dev nlohmann-json3-dev libtomlplusplus-dev zlib1g-dev libjs-dygraphs pkg-config
librsvg2-dev libutf8proc-dev"
python_packages="python3-dev python3-numpy pybind11-dev" # without them the Python module is left out
test_packages="libgtest-dev libgmock-dev dpkg-dev file lintian man-db python3-jsonschema"
docs_packages="doxygen" # without it the documents of the headers are left out

# need PACKAGE...: installs those that are missing; says so.
need() {
    local missing=() package
    for package in "$@"; do
        dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q ' installed$' || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return
    echo "Installing Debian packages: ${missing[*]}" >&2
    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        if ! command -v sudo >/dev/null || ! sudo -n true 2>/dev/null; then
            echo "These packages are missing and only root may install them. Please run:" >&2
            echo "  sudo apt-get install ${missing[*]}" >&2
            exit 3
        fi
        as_root=(sudo -n)
    fi
    local log
    log=$(mktemp)
    if ! { "${as_root[@]}" apt-get update -qq && "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
            apt-get install -y -qq --no-install-recommends "${missing[@]}"; } >"$log" 2>&1; then
        cat "$log" >&2
        rm -f "$log"
        echo "Could not install: ${missing[*]}" >&2
        exit 3
    fi
    rm -f "$log"
}

# build PRESET [TARGET...]: configures when needed and builds; shows the compiler's output only when it fails. An option
# for the first configuration may stand in ZELVAN_CMAKE_ARGS.
build() {
    local preset=$1 dir="$root/build/$1" log
    shift
    log=$(mktemp)
    local first=""
    [ -f "$dir/build.ninja" ] || first=yes
    [ -z "$first" ] || echo "Building ($preset); the first time takes a few minutes." >&2
    if ! { { [ -z "$first" ] || cmake -S "$root" --preset "$preset" ${ZELVAN_CMAKE_ARGS:+"$ZELVAN_CMAKE_ARGS"}; } \
            && cmake --build "$dir" ${1:+--target "$@"}; } >"$log" 2>&1; then
        cat "$log" >&2
        rm -f "$log"
        echo "The build failed." >&2
        exit 3
    fi
    rm -f "$log"
}
