#!/usr/bin/env bash
# Motion from elsewhere: guide points, vectors in and out.
. "$(dirname "$0")/support.sh" "$1"

in=$scratch/in
out=$scratch/out
mkdir "$out"
make_clip "$in" 48 32 4 101
make_clip "$scratch/wide" 49 32 4 0
frames=$out/slow.%04d.ppm
retime() { expect "$1" "$2" retime "$in" -o "$frames" --speed 0.5 --overwrite "${@:3}"; }

# How many bytes of the frames in two folders differ by more than LEAST.
differing() {  # FOLDER OTHER LEAST
    local file
    for file in "$1"/*; do
        cmp -l "$file" "$2/${file##*/}"
    done | awk -v least="$3" '{
        a = $2; b = $3
        for (n = v = 0; n < length(a); ++n) v = v * 8 + substr(a, n + 1, 1)
        for (n = w = 0; n < length(b); ++n) w = w * 8 + substr(b, n + 1, 1)
        if (v - w > least || w - v > least) ++count
    } END { print count + 0 }'
}

# Guide points.
points=$scratch/points.txt
printf '# a drift\na 101 10 10\na 102 12 10\nb 101 60 10\nb 102 61 10\n' >"$points"
retime 3 'points.txt: has positions from frame 101 to 102 .*--guides-first' --guides "$points"
retime 0 '' --guides "$points" --guides-first 101
grep -q 'points.txt: 2 positions lie outside the frame and are dropped' "$scratch/stderr" ||
    fail "nothing said of points outside: $(cat "$scratch/stderr")"
grep -q 'points.txt: no point is on both frames of 2 of 3 pairs .* first of 1 and 2;' "$scratch/stderr" ||
    fail "nothing said of pairs without points: $(cat "$scratch/stderr")"
printf 'a 0 10 10\na 2 12 10\nb 1 10 10\nb 3 12 10\n' >"$scratch/gaps.txt"
retime 3 'gaps.txt: no point has a position on two frames that follow' --guides "$scratch/gaps.txt"
printf 'a 0 10 10\na 1 twelve 10\n' >"$scratch/bad.txt"
retime 3 'bad.txt.*line 2.*a 1 twelve 10' --guides "$scratch/bad.txt"
retime 3 'nowhere.txt' --guides "$scratch/nowhere.txt"

# A few points alone move the frame: frame 0, one pixel to the right, half-way.
for x in 4 12 20 28 36 44; do
    for y in 4 12 20 28; do printf 'a%d.%d 0 %d %d\na%d.%d 1 %d %d\n' $x $y $x $y $x $y $((x + 2)) $y; done
done >"$points"
retime 0 '' --guides "$points" --flow points --interp nearest --frames 0-1 --sensitivity 100
row() { tail -c $((48 * 32 * 3)) "$1" | tail -c +$((48 * 3 * 16 + 1)) | head -c 144 | od -An -v -tu1 -w3; }
row "$out/slow.0101.ppm" | head -n 40 | tail -n 20 >"$scratch/still"
row "$out/slow.0102.ppm" | head -n 41 | tail -n 20 >"$scratch/moved"
paste "$scratch/still" "$scratch/moved" |
    awk '{ for (c = 1; c <= 3; ++c) if ($c - $(c + 3) > 9 || $(c + 3) - $c > 9) exit 1 }' ||
    fail "points alone do not move the frame: $(paste "$scratch/still" "$scratch/moved")"

# Vectors out, and in again: at full size the same pictures but for roundings.
flow=$scratch/flow.%04d.exr
expect 0 '' vectors "$in" -o "$flow" --quality full
[ "$(ls "$scratch" | grep -c '^flow.*exr$')" -eq 4 ] || fail 'not one file a frame'
expect 4 'flow.0101.exr' vectors "$in" -o "$flow"
expect 2 '-o .*flow.%04d.png: .*as in .*flow.%04d.exr' vectors "$in" -o "$scratch/flow.%04d.png"
expect 2 '-o .*flow.exr: .*as in .*flow.%04d.exr' vectors "$in" -o "$scratch/flow.exr"
expect 2 'vectors needs motion' vectors "$in" -o "$flow" --quality none --overwrite
retime 0 '' --quality full
mv "$out" "$scratch/direct" && mkdir "$out"
both=(--vectors-format pixels --forward-vectors "$flow" --backward-vectors "$flow")
retime 0 '' "${both[@]}"
[ "$(differing "$out" "$scratch/direct" 1)" -eq 0 ] || fail 'vectors read back render otherwise'
[ "$(differing "$out" "$scratch/direct" 0)" -lt 20 ] || fail 'vectors read back are not exact'
# Mirrored upside down they are other vectors; so are those of one way alone, but not by much.
retime 0 '' "${both[@]}" --vector-y down
[ "$(differing "$out" "$scratch/direct" 8)" -gt 250 ] || fail "--vector-y changes too little: $(differing "$out" "$scratch/direct" 8)"
retime 0 '' "${both[@]:0:4}"
[ "$(differing "$out" "$scratch/direct" 24)" -lt 2000 ] || fail 'a forward clip alone fails'

expect 3 'in: --forward-vectors has frames of 48x32 .*wide of 49x32' \
    retime "$scratch/wide" -o "$frames" --forward-vectors "$in"
retime 3 'flow.*forward.u.*--vector-channels' "${both[@]}" --vector-channels east,north
retime 2 'both would take forward.u and forward.v of ' "${both[@]}" --vector-channels forward.u,forward.v
retime 0 '' "${both[@]}" --vector-channels forward.u,forward.v --vector-channels backward.u,backward.v
[ "$(differing "$out" "$scratch/direct" 1)" -eq 0 ] || fail 'channels chosen for each clip render otherwise'
retime 0 '' "${both[@]}" --vector-y down --vector-scale 2 -v
grep -q 'backward vectors: .*format pixels, channels backward.u and backward.v, scale 2,.* y down' "$scratch/stderr" ||
    fail "-v does not tell how vectors are read: $(cat "$scratch/stderr")"
retime 2 'both would take RGB of ' --forward-vectors "$in" --backward-vectors "$in"
retime 2 '--input-fields: vectors lead' "${both[@]}" --input-fields upper
retime 0 '' --forward-vectors "$in"
grep -q 'forward-vectors: coded vectors reach one pixel' "$scratch/stderr" ||
    fail "nothing said of the scale: $(cat "$scratch/stderr")"
expect 0 '' compare "$in" --at 1.5 -o "$scratch/sheet.png" "${both[@]}"
finish
