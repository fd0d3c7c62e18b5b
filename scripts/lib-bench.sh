# shellcheck shell=bash
# Shared by scripts/bench and scripts/bench-peers.

# shellcheck source=scripts/lib-setup.sh
. "$(dirname "${BASH_SOURCE[0]}")/lib-setup.sh"

# Whether these arguments have programs run.
measures() {
    local argument
    for argument in "$@"; do
        case $argument in
            --no-run | --last-run | --help | -h) return 1 ;;
        esac
    done
}

# prepare PRESET PACKAGE...: installs, builds, and says what is missing all the same.
prepare() {
    local preset=$1
    shift
    require_packages "$@"
    # Configuring finds the packages that have come since the last time.
    if [ /var/lib/dpkg/status -nt "$ROOT/build/$preset/build.ninja" ]; then
        configure "$preset" || die "configuring build/$preset failed"
    fi
    build "$preset"
    say_missing_peers "$preset" >&2
}

# report PRESET ARGUMENT...: runs the programs, if asked, and shows what they measured.
report() {
    require_packages python3
    exec python3 -B "$ROOT/scripts/lib_bench" "$@"
}
