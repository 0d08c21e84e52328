#!/usr/bin/env bash
# Prints two tables: every operation in nanoseconds a pixel, with one thread and with all; and whole
# renders against other programs that make frames, as far as these are installed.
#
#   --clip FOLDER  renders frames of yours instead of drawn ones
#   --write        puts the tables into docs/performance.md
#
# An idle machine, please.
source "$(dirname "$0")/setup.sh"

clip=()
write=()
while [ $# -gt 0 ]; do
    case $1 in
        --clip) clip=(--clip "${2:?bench.sh: --clip needs a folder}"); shift ;;
        --write) write=(--write) ;;
        *) echo "usage: scripts/bench.sh [--clip FOLDER] [--write]" >&2; exit 2 ;;
    esac
    shift
done

# measure THREADS: "OPERATION|NS A PIXEL" for each operation, the median of several short goes.
measure() {
    local json="$build/bench-$1.json"
    "$build/release/velorin_bench" "--threads=$1" --benchmark_out="$json" \
        --benchmark_out_format=json --benchmark_min_time=0.1 --benchmark_repetitions=5 \
        --benchmark_report_aggregates_only=true >/dev/null 2>&1
    awk '
        /"name":/ { sub(/.*"name": "/, ""); sub(/",?$/, ""); name = $0 }
        /"ns\/px":/ && sub(/(\/real_time)?_median$/, "", name) {
            sub(/.*: /, "")
            printf "%s|%.3g\n", name, $0
        }
    ' "$json"
}

print_machine() {
    printf '%s, %s cores, %s, %s\n\n' "$(lscpu | sed -n 's/^Model name: *//p')" "$(nproc)" \
        "$("${CXX:-c++}" --version | head -n 1)" "$(date +%Y-%m-%d)"
}

print_operations() {
    local cores one all
    cores=$(nproc)
    one=$(measure 1)
    all=$(measure "$cores")
    print_machine
    printf '| operation | 1 thread | %s threads |\n|---|---:|---:|\n' "$cores"
    paste -d '|' <(echo "$one") <(echo "$all") |
        awk -F '|' '{ printf "| %s | %s | %s |\n", $1, $2, $4 }'
}

print_programs() {
    print_machine
    /usr/bin/python3 "$root/bench/peers/programs.py" "$build/release/velorin" "${clip[@]}"
}

install_missing "${buildPackages[@]}" python3 python3-numpy
build_preset release velorin velorin_bench >&2
print_section programs print_programs "${write[@]}"
print_section timings print_operations "${write[@]}"
