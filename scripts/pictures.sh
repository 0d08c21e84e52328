#!/usr/bin/env bash
# Draws the pictures of the README anew, into docs/pictures, out of a clip that it draws too.
source "$(dirname "$0")/setup.sh"

program="$build/release/velorin"
pictures="$root/docs/pictures"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# A turning and sliding detail of a fractal, which has both smooth and very dense parts.
draw_clip() {
    ffmpeg -v error -f lavfi \
        -i mandelbrot=size=1600x900:start_scale=0.004:maxiter=600:outer=normalized_iteration_count \
        -frames:v 1 -vf "hue=s=0.35,eq=contrast=0.9" "$work/still.png"
    ffmpeg -v error -loop 1 -i "$work/still.png" -t 1 -r 24 -c:v ffv1 \
        -vf "rotate=0.018*n,crop=960:540:200+14*n:150+3*n" "$work/spiral.mkv"
}

# The moment between source frames 9 and 10: both laid over each other, and what Velorin makes of it.
draw_halfway() {
    "$program" retime "$work/spiral.mkv" -o "$work/mixed.%04d.png" -q --speed 0.5 --frames 19 \
        --quality none
    "$program" retime "$work/spiral.mkv" -o "$work/moved.%04d.png" -q --speed 0.5 --frames 19
    ffmpeg -v error -y -i "$work/mixed.0019.png" -i "$work/moved.0019.png" -q:v 4 -filter_complex \
        "[0]crop=500:420:60:60[left];[1]crop=500:420:60:60[right];[left][right]hstack" \
        "$pictures/halfway.jpg"
}

draw_ramp() {
    (cd "$work" && "$program" plan spiral.mkv --speed-curve 0:1,8:0.25~,40:1 \
        --plot "$work/ramp.png" >/dev/null)
    ffmpeg -v error -y -i "$work/ramp.png" -vf scale=1000:-1 "$pictures/ramp.png"
}

install_missing "${buildPackages[@]}"
build_preset release velorin
mkdir -p "$pictures"
draw_clip
draw_halfway
draw_ramp
ls -l "$pictures"
