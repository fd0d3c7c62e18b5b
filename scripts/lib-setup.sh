# shellcheck shell=bash
# Shared by ./run, ./test, .ci/run and the other scripts: packages, configuring, building.

ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

# The Debian packages of each purpose; their one list.
BUILD_PACKAGES=(g++ cmake ninja-build libicu-dev libgtest-dev libsimde-dev locales pkg-config
    valgrind)
BENCH_PACKAGES=(libbenchmark-dev python3)
# shellcheck disable=SC2034 # used by scripts/bench-peers
PEER_PACKAGES=(libabsl-dev libboost-dev libboost-locale-dev libfast-float-dev libfmt-dev libglib2.0-dev
    libpoco-dev qt6-base-dev)
# shellcheck disable=SC2034 # used by scripts/packages and scripts/screenshots
MANUAL_PACKAGES=(doxygen python3)
# shellcheck disable=SC2034 # used by .ci/run
CI_PACKAGES=("${BUILD_PACKAGES[@]}" "${BENCH_PACKAGES[@]}" "${MANUAL_PACKAGES[@]}" abigail-tools ccache clang
    clang-format clang-tidy gdb libclang-rt-dev shellcheck)

say() { printf '%s\n' "$*"; }

die() {
    printf '%s: %s\n' "$(basename "$0")" "$*" >&2
    exit 1
}

# quietly COMMAND...: shows the output only when the command fails.
quietly() {
    local output status=0
    output=$("$@" 2>&1) || status=$?
    [ "$status" -eq 0 ] || printf '%s\n' "$output" >&2
    return "$status"
}

is_installed() {
    [ "$(dpkg-query --show --showformat='${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

# require_packages PACKAGE...: installs those that are missing, or says how and ends.
require_packages() {
    command -v dpkg-query >/dev/null || return 0 # not Debian: the build says what it misses
    local missing=() package as_root=()
    for package in "$@"; do
        is_installed "$package" || missing+=("$package")
    done
    [ "${#missing[@]}" -gt 0 ] || return 0
    local install=(apt-get -o DPkg::Lock::Timeout=300 install --yes --no-install-recommends "${missing[@]}")
    if [ "$(id -u)" -ne 0 ]; then
        sudo -n true 2>/dev/null ||
            die "packages are missing; install them with: sudo apt-get update && sudo ${install[*]}"
        as_root=(sudo -n)
    fi
    as_root+=(env DEBIAN_FRONTEND=noninteractive)
    printf 'Installing %s\n' "${missing[*]}" >&2
    quietly "${as_root[@]}" apt-get -o DPkg::Lock::Timeout=300 update ||
        die "updating the package lists failed"
    quietly "${as_root[@]}" "${install[@]}" || die "installing packages failed"
}

# As many jobs as processors, but no more than the free memory serves at 1 GiB for each.
job_count() {
    local processors memory
    processors=$(nproc)
    memory=$(awk '/^MemAvailable:/ { print int($2 / 1048576) }' /proc/meminfo)
    ((memory >= 1)) || memory=1
    echo $((processors < memory ? processors : memory))
}

# Whether the build folder was made from these presets for this source folder.
is_configured() {
    local folder=$1
    [ -f "$folder/build.ninja" ] && [ "$folder/build.ninja" -nt "$ROOT/CMakePresets.json" ] &&
        grep -qxF "CMAKE_HOME_DIRECTORY:INTERNAL=$ROOT" "$folder/CMakeCache.txt"
}

# Whether the release build was configured by hand without a part, for an installation say.
lacks_a_part() {
    [ "$1" = release ] &&
        grep -qE '^KELINFRA_BUILD_(TESTS|EXAMPLES|TOOLS):BOOL=(OFF|0|NO|FALSE)$' "$ROOT/build/$1/CMakeCache.txt"
}

configure() {
    local launcher=()
    if command -v ccache >/dev/null; then
        launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
    fi
    (cd "$ROOT" && quietly cmake --fresh --preset "$1" "${launcher[@]}")
}

# The libraries that benchmarks would measure beside if they were there.
say_missing_peers() {
    sed -n 's/^KELINFRA_PEERS_MISSING:INTERNAL=\(..*\)/benchmarks leave out, as not installed: \1/p' \
        "$ROOT/build/$1/CMakeCache.txt"
}

# build PRESET [TARGET...]: configures when needed, then builds; silent when all is well and the folder
# is there already.
build() {
    local preset=$1 folder=$ROOT/build/$1 targets=()
    shift
    [ $# -eq 0 ] || targets=(--target "$@")
    if ! is_configured "$folder"; then
        printf 'Building in build/%s\n' "$preset" >&2
        configure "$preset" || die "configuring build/$preset failed"
    elif lacks_a_part "$preset"; then
        printf 'Building what build/%s lacks\n' "$preset" >&2
        quietly cmake "$folder" -DKELINFRA_BUILD_TESTS=ON -DKELINFRA_BUILD_EXAMPLES=ON -DKELINFRA_BUILD_TOOLS=ON ||
            die "configuring build/$preset failed"
    fi
    quietly cmake --build "$folder" --parallel "$(job_count)" "${targets[@]}" -- --quiet ||
        die "building build/$preset failed"
}
