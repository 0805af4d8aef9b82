# What ./test, ./demo and .ci/run share; sourced with the repository's top as the current directory.

# need PACKAGE=COMMAND|PATH ...: installs the Debian packages whose command or file is missing. Quiet when all is there.
need() {
    local pair missing=() sudo=() log
    for pair; do
        command -v "${pair#*=}" >/dev/null || [ -e "${pair#*=}" ] || missing+=("${pair%%=*}")
    done
    [ ${#missing[@]} -gt 0 ] || return 0
    if ! command -v apt-get >/dev/null; then
        echo "Please install what these Debian packages hold: ${missing[*]}" >&2
        return 1
    fi
    [ "$(id -u)" = 0 ] || sudo=(sudo)
    echo "Installing ${missing[*]} ..."
    log=$(mktemp)
    if ! { "${sudo[@]}" apt-get update && "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y --no-install-recommends "${missing[@]}"; } >"$log" 2>&1 </dev/null; then
        cat "$log" >&2
        rm -f "$log"
        return 1
    fi
    rm -f "$log"
}

# build TARGET [CMAKE-OPTION ...]: configures build/ and builds the target; quiet unless it fails.
build() {
    local target=$1 log=build/build.log launcher=()
    shift
    need g++=c++ cmake=cmake ninja-build=ninja || return 1
    if command -v ccache >/dev/null; then launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache); fi
    mkdir -p build
    echo "Building $target in build/ (details in $log) ..."
    if ! { cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Release "${launcher[@]}" "$@" &&
        cmake --build build --target "$target"; } >"$log" 2>&1; then
        cat "$log" >&2
        return 1
    fi
}
