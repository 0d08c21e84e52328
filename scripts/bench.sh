#!/usr/bin/env bash
# Times every operation with one thread and with all, and prints a table of nanoseconds a pixel.
# With --write the table replaces the one in docs/performance.md. An idle machine, please.
source "$(dirname "$0")/setup.sh"

# measure THREADS: "OPERATION|NS A PIXEL" for each operation.
measure() {
    local json="$build/bench-$1.json"
    "$build/release/velorin_bench" "--threads=$1" --benchmark_out="$json" \
        --benchmark_out_format=json >/dev/null 2>&1
    awk '
        /"name":/ { sub(/.*"name": "/, ""); sub(/(\/real_time)?",?$/, ""); name = $0 }
        /"ns\/px":/ { sub(/.*: /, ""); printf "%s|%.3g\n", name, $0 }
    ' "$json"
}

print_table() {
    local cores one all
    cores=$(nproc)
    one=$(measure 1)
    all=$(measure "$cores")
    printf '%s, %s cores, %s, %s\n\n' "$(lscpu | sed -n 's/^Model name: *//p')" "$cores" \
        "$("${CXX:-c++}" --version | head -n 1)" "$(date +%Y-%m-%d)"
    printf '| operation | 1 thread | %s threads |\n|---|---:|---:|\n' "$cores"
    paste -d '|' <(echo "$one") <(echo "$all") |
        awk -F '|' '{ printf "| %s | %s | %s |\n", $1, $2, $4 }'
}

install_missing "${buildPackages[@]}"
build_preset release velorin_bench >&2
print_section timings print_table "$@"
