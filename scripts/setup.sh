# shellcheck shell=bash
# Sourced by the other scripts: what a bare Debian 12 lacks, and the steps that they share. Leaves
# the caller in the folder it was started from, so that relative paths on its command line hold.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
# shellcheck disable=SC2034
build="$root/build"

# shellcheck disable=SC2034  # used by those that source this
buildPackages=(g++ cmake ninja-build pkg-config libavformat-dev libavcodec-dev libavfilter-dev
    libavutil-dev libswscale-dev libopenimageio-dev libxxhash-dev libcli11-dev libtomlplusplus-dev
    nlohmann-json3-dev libgtest-dev libbenchmark-dev ffmpeg fonts-dejavu-core)

as_root() {
    if [ "$(id -u)" = 0 ]; then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        echo "$(basename "$0"): '$*' needs root; run it as root once" >&2
        return 1
    fi
}

# Installs those of the named packages that are not there; quick and silent when all are.
install_missing() {
    local present missing=() name
    present=$(dpkg-query -W -f='${Package} ${db:Status-Status}\n' "$@" 2>/dev/null || true)
    for name in "$@"; do
        grep -qx "$name installed" <<<"$present" || missing+=("$name")
    done
    [ ${#missing[@]} -gt 0 ] || return 0
    echo "installing ${missing[*]}" >&2
    as_root apt-get update -qq >&2
    as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends \
        "${missing[@]}" >"${TMPDIR:-/tmp}/velorin-install.log" 2>&1 || {
        tail -n 20 "${TMPDIR:-/tmp}/velorin-install.log" >&2
        return 1
    }
}

# build_preset PRESET [TARGET...]: configures and builds into build/PRESET.
build_preset() {
    local preset=$1
    shift
    cmake -S "$root" --preset "$preset" >/dev/null
    cmake --build "$build/$preset" -j "$(nproc)" ${1:+--target "$@"}
}

# run_tests PRESET [CTEST OPTION...]
run_tests() {
    local preset=$1
    shift
    ctest --test-dir "$build/$preset" --output-on-failure -j "$(nproc)" "$@"
}

# print_section NAME COMMAND [--write]: prints what the command prints; with --write also puts it
# between the marks NAME and /NAME of docs/performance.md.
print_section() {
    local table page="$root/docs/performance.md"
    table=$("$2")
    printf '%s\n' "$table"
    [ "${3:-}" = --write ] || return 0
    sed -i -e "/^<!-- $1 -->/,/^<!-- \/$1 -->/{//!d}" "$page"
    sed -i -e "/^<!-- $1 -->/r /dev/stdin" "$page" <<<$'\n'"$table"$'\n'
}
