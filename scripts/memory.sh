#!/usr/bin/env bash
# Renders drawn clips at half speed and prints the program's peak resident memory: a clip ten times
# as long should not need more. With --write the table replaces the one in docs/performance.md.
source "$(dirname "$0")/setup.sh"

# peak SIZE FRAMES: mebibytes.
peak() {
    local clip="$build/clips/moving-$1-$2.mp4"
    mkdir -p "$build/clips" "$build/out"
    [ -f "$clip" ] || ffmpeg -v error -f lavfi -i "testsrc2=size=$1:rate=24" -frames:v "$2" \
        -c:v libx264 -preset ultrafast -pix_fmt yuv420p "$clip"
    /usr/bin/time -f %M -o "$build/peak" "$build/release/velorin" retime "$clip" \
        -o "$build/out/memory.mp4" --speed 0.5 --overwrite --progress none
    awk '{ printf "%.0f", $1 / 1024 }' "$build/peak"
}

print_table() {
    printf '%s threads, %s\n\n' "$(nproc)" "$(date +%Y-%m-%d)"
    printf '| clip | frames | peak |\n|---|---:|---:|\n'
    while read -r size frames; do
        printf '| %s | %s | %s MiB |\n' "$size" "$frames" "$(peak "$size" "$frames" </dev/null)"
    done <<<$'1920x1080 20\n1920x1080 200\n3840x2160 20\n3840x2160 60'
}

install_missing "${buildPackages[@]}" time
build_preset release velorin >&2
print_section memory print_table "$@"
