#!/usr/bin/env bash
# Foreground and background layers: what is refused, what is told, and what the views show.
. "$(dirname "$0")/support.sh" "$1"

in=$scratch/in
out=$scratch/out
mkdir "$out"
make_clip "$in" 48 32 4 101
make_clip "$scratch/wide" 49 32 4 0
frames=$out/slow.%04d.ppm

# Writes a matte of 48x32: in green WHITE on its left half, all else is LEAST.
make_matte() {  # NAME FRAMES WHITE LEAST
    mkdir "$scratch/$1"
    for ((frame = 0; frame < $2; ++frame)); do
        awk -v white="$3" -v least="$4" 'BEGIN {
            print "P3 48 32 255"
            for (i = 0; i < 48 * 32; ++i) print least, i % 48 < 24 ? white : least, least
        }' >"$scratch/$1/m.$frame.ppm"
    done
}
make_matte good 5 255 0
make_matte dim 4 200 0
make_matte black 4 0 0
make_matte white 4 255 255
make_matte short 3 255 0

for option in --matte --motion-from; do
    expect 3 "wide: $option has frames of 49x32 .*in of 48x32" \
        retime "$in" -o "$frames" $option "$scratch/wide"
    expect 3 "short: $option has 3 frames and .*in has 4" \
        compare "$in" --at 1 -o "$out/sheet.png" $option "$scratch/short"
    expect 3 'nowhere' retime "$in" -o "$frames" $option "$scratch/nowhere"
    expect 1 'm.1.ppm' retime "$in" -o "$scratch/good/m.%d.ppm" --start-number 1 --overwrite \
        $option "$scratch/good"
done
[ -z "$(ls -A "$out")" ] || fail "something is left: $(ls -A "$out")"

# Retimes with mattes and expects COUNT lines about them, with TEXT on the error stream.
said() {  # COUNT TEXT OPTION...
    local count=$1 text=$2
    shift 2
    expect 0 '' retime "$in" -o "$frames" --speed 0.5 --overwrite --matte-channel green "$@"
    [ "$(grep -c ' matte it ' "$scratch/stderr")" -eq "$count" ] &&
        grep -q -e "$text" "$scratch/stderr" ||
        fail "not $count lines with \"$text\": $(cat "$scratch/stderr")"
}
dim=$scratch/dim
said 1 'dim: .* 200 at most on the 4 frames .* white is 255: .* --matte-levels 0,200 would' \
    --matte "$dim"
said 0 'frames a second' --matte "$dim" --matte-levels 10,200
said 1 '--matte-levels makes 220 white: .* --matte-levels 50,220 --matte-levels 50,200 would' \
    --matte "$scratch/good" --matte "$dim" --matte-levels 50,220
said 2 'black: .* is black on .*' --matte "$scratch/black" --matte "$scratch/white"
grep -q 'white: .* is white on' "$scratch/stderr" || fail "nothing said of white"
said 0 'matte: changes nothing' --matte "$dim" --quality none

# Red, green and blue in the middle of the left and the right half of a frame.
halves() {
    local file=$out/slow.0102.ppm x
    for x in 12 36; do
        tail -c +$(($(head -n 3 "$file" | wc -c) + 3 * (48 * 16 + x) + 1)) "$file" | od -An -tu1 -N3
    done | xargs
}
said 0 '' --matte "$scratch/good" --view foreground
[[ $(halves) =~ ^[1-9].*' 0 0 0'$ ]] || fail "foreground: $(halves)"
said 1 '' --matte "$dim" --matte "$scratch/good" --view matte
[ "$(halves)" = '200 55 0 0 0 0' ] || fail "mattes: $(halves)"
finish
