#!/usr/bin/env bash
# Renders small clips with two builds of the program and fails unless all frames are the same to the
# last byte: scripts/compare_builds.sh PROGRAM PROGRAM
#
# Each build renders with the kernels of every instruction set that this processor runs. The inverse
# warp has to give the same frames with 1, 2 and 8 threads. The others do so but for the last unit of
# some pixels, and are rendered with one.
set -euo pipefail
[ $# = 2 ] || { echo "usage: scripts/compare_builds.sh PROGRAM PROGRAM" >&2; exit 2; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# draw SUFFIX PIXEL_FORMAT: five frames that zoom, as bytes, 16 bits or floats.
draw() {
    mkdir "$work/$1"
    ffmpeg -v error -f lavfi -i mandelbrot=size=322x182:rate=24 -frames:v 5 \
        -vf "format=$2" "$work/$1/in.%04d.${1#*-}"
}

# render PROGRAM SET THREADS CLIP OPTION...: prints a checksum of each frame.
render() {
    local program=$1 set=$2 threads=$3 clip=$4
    shift 4
    VELORIN_INSTRUCTION_SET=$set "$program" retime "$work/$clip/in.%04d.${clip#*-}" -o "$work/$clip/out.%04d.${clip#*-}" \
        --speed 0.4 --threads "$threads" --overwrite --progress none --quiet "$@"
    (cd "$work/$clip" && sha256sum -- out.*)
}

draw bytes-png rgb24
draw shorts-png rgb48be
draw floats-exr gbrpf32le
failed=0
read -ra sets < <("$1" --version | sed -n 's/^instructions: .*, of //p') || sets=(baseline)
clips=(bytes-png shorts-png floats-exr)
cell=0
for interp in nearest blend energy; do
    for warp in inverse smart forward; do
        # Each type of pixel meets each method in one cell or another.
        words=("${clips[(cell + cell / 3) % 3]}" --interp "$interp" --warp "$warp")
        cell=$((cell + 1))
        case $warp in
            inverse) counts=(1 2 8) ;;
            *) counts=(1) ;;
        esac
        expected=$(render "$1" baseline 1 "${words[@]}")
        [ "$(wc -l <<<"$expected")" = 11 ] || { echo "compare_builds: 11 frames expected" >&2; exit 1; }
        for threads in "${counts[@]}"; do
            for program in "$1" "$2"; do
                for set in "${sets[@]}"; do
                    if [ "$(render "$program" "$set" "$threads" "${words[@]}")" != "$expected" ]; then
                        echo "compare_builds: $program, $set, $threads threads, ${words[*]}: other files" >&2
                        failed=1
                    fi
                done
            done
        done
    done
done
[ "$failed" = 1 ] || echo "the same files from every method, in bytes, 16 bits and floats, by ${sets[*]}"
exit "$failed"
