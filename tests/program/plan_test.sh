#!/usr/bin/env bash
# The laws of time, and what is told of them without rendering.
. "$(dirname "$0")/support.sh" "$1"

in=$scratch/in
make_clip "$in" 24 16 5 101
out=$scratch/out
mkdir "$out"

# Field KEY of the only frame of a plan in JSON.
field() { sed -n "s/.*{\"frame\".*\"$1\": \"\\?\\([^,\"}]*\\).*/\\1/p" "$scratch/stdout"; }

expect 0 '' plan "$in" --speed 0.999 --length 100101 --frames 100100 --json
[ "$(field time)" = 99999.900000000 ] || fail "frame 100100 at $(field time)"
expect 0 '' plan "$in" --frame-curve '0:0|,4:1.25' --frames 4 --json --quiet
[ "$(field floor) $(field ceil) $(field floorShare) $(field flows)" = '1 2 0.75 2' ] ||
    fail "plan: $(cat "$scratch/stdout")"
[ ! -s "$scratch/stderr" ] || fail "-q said $(cat "$scratch/stderr")"
expect 0 '' plan "$in" --speed-curve 0:0.25,20:0.25 --scenes 0:A,2:B
[ "$(grep -c ' 1 *2 .* A  *copy ' "$scratch/stdout")" -eq 4 ] ||
    fail "cut: $(cat "$scratch/stdout")"
[ "$(wc -l <"$scratch/stdout")" -eq 18 ] || fail "$(wc -l <"$scratch/stdout") lines, not 18"

# Backwards and frozen frames are the source's own, by keys and by a file with the same curve.
printf 'output source\n0 4\n4 0\n6 0\n' >"$scratch/curve.txt"
expect 0 '' retime "$in" -o "$out/keys.%04d.ppm" --frame-curve 0:4,4:0,6:0
expect 0 '' retime "$in" -o "$out/file.%04d.ppm" --curve-file "$scratch/curve.txt"
expect 0 '' retime "$in" -o "$out/same.%04d.ppm"
for pair in 0101:0105 0102:0104 0105:0101 0107:0101; do
    for name in keys file; do
        cmp -s "$out/$name.${pair%:*}.ppm" "$out/same.${pair#*:}.ppm" ||
            fail "$name ${pair%:*} is not source frame ${pair#*:}"
    done
done
[ ! -e "$out/keys.0108.ppm" ] || fail "a frame past the last key"

# Outside the clip its ends hold, and this is said once.
expect 0 '' retime "$in" -o "$out/wide.%04d.ppm" --frame-curve 0:-1.5,8:6.5
[ "$(grep -c 'leads outside the clip' "$scratch/stderr")" -eq 1 ] || fail "not said once"
cmp -s "$out/wide.0101.ppm" "$out/same.0101.ppm" && cmp -s "$out/wide.0109.ppm" "$out/same.0105.ppm" ||
    fail "the ends do not hold"

# A rate is kept to the last digit, and the time is.
expect 0 '' retime "$in" -o "$out/ntsc.mkv" --fit-rate 24000/1001
expect 0 '' plan "$out/ntsc.mkv" --fit-rate 60000/1001 --json -q
grep -q '"sourceRate": "24000/1001",' "$scratch/stdout" &&
    grep -q '"law": "speed 2/5, from 24000/1001 to 60000/1001 frames a second",' \
        "$scratch/stdout" || fail "rates: $(cat "$scratch/stdout")"
expect 0 '' retime "$in" -o "$out/fit.%04d.ppm" --fit-length 3
cmp -s "$out/fit.0103.ppm" "$out/same.0105.ppm" || fail "--fit-length ends elsewhere"

expect 0 '' plan "$in" --speed-curve 0:1~,4:0.5 --plot "$out/plot.png"
[ "$(head -c 4 "$out/plot.png" | tail -c 3)" = PNG ] || fail "no plot"
expect 4 'plot.png' plan "$in" --plot "$out/plot.png"
expect 2 '--plot' plan "$in" --plot "$out/plot.exr"
expect 2 '--speed-curve ends with speed 0.*--length' plan "$in" --speed-curve 0:1,2:0
expect 2 '--scenes 5:B: .* frame 4' plan "$in" --scenes 0:A,5:B
expect 2 '--speed and --frame-curve' plan "$in" --speed 1 --frame-curve 0:1
echo 4 5 6 >>"$scratch/curve.txt"
expect 3 'curve.txt: line 5' plan "$in" --curve-file "$scratch/curve.txt"
finish
