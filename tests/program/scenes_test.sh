#!/usr/bin/env bash
# Cuts are found and never mixed over; repeated frames are computed anew.
. "$(dirname "$0")/support.sh" "$1"

# Two shots of noise-free waves that share no tone: red is 0 to 99 in the first, 150 to 249 in the
# other, so that a pixel of both would lie between. FRAMES frames, the second from CUT on.
make_cut() {  # FOLDER FRAMES CUT
    mkdir -p "$1"
    local frame
    for ((frame = 0; frame < $2; ++frame)); do
        awk -v w=48 -v h=32 -v t="$frame" -v b=$((frame >= $3 ? 150 : 0)) 'BEGIN {
            print "P3", w, h, 255
            for (y = 0; y < h; ++y)
                for (x = 0; x < w; ++x) {
                    v = int(b + 50 + 24 * sin((x + 2 * t) / (b ? 3 : 5)) + 24 * cos(y / (b ? 6 : 3) + x / 9))
                    print v, v, v
                }
        }' >"$1/shot.$(printf %04d "$frame").ppm"
    done
}
cut=$scratch/cut
make_cut "$cut" 9 5
out=$scratch/out
mkdir "$out"

expect 0 '' scenes "$cut" -o "$scratch/scenes.toml"
grep -q '^ *2 *5 *8 *4 ' "$scratch/stdout" || fail "table: $(cat "$scratch/stdout")"
grep -q '{frame = 5, value = "B"}' "$scratch/scenes.toml" || fail "$(cat "$scratch/scenes.toml")"
expect 4 'scenes.toml' scenes "$cut" -o "$scratch/scenes.toml"
expect 0 '' scenes "$cut" --json --threshold 100 -q
grep -q '"cuts": \[\]' "$scratch/stdout" || fail "json: $(cat "$scratch/stdout")"

# Tones of the one side go up to 98, of the other from 152 on; sharpening goes beyond both.
plain() {  # FILE: the samples of a binary pixmap, one a line
    tail -c $((48 * 32 * 3)) "$1" | od -An -v -tu1 | tr -s ' ' '\n' | sed '/^$/d'
}
mkdir "$scratch/matte"
for frame in 0 1 2 3 4 5 6 7 8; do
    awk 'BEGIN {print "P3", 48, 32, 255; for (i = 0; i < 48 * 32; ++i) print (i % 48 < 20) * 255, 0, 0}' \
        >"$scratch/matte/matte.000$frame.ppm"
done
number=0
while read -r low high words; do
    number=$((number + 1))
    expect 0 '' retime "$cut" -o "$out/$number.%04d.ppm" --scenes auto -q $words
    for file in "$out/$number".*.ppm; do
        plain "$file" | awk -v low="$low" -v high="$high" '{if ($1 <= low) a = 1; else if ($1 >= high) b = 1; else bad = 1}
            END {exit bad || a + b > 1}' || fail "$words: ${file##*/} mixes both sides"
    done
done <<END
98 152 --speed 0.25
98 152 --speed 0.25 --warp smart
98 152 --speed 0.25 --warp forward --interp energy
124 126 --speed 0.25 --compensate 5
124 126 --speed 1.75 --compensate 5
98 152 --speed 0.25 --input-fields lower
98 152 --speed 0.25 --matte $scratch/matte --matte-shrink 2
END

# What is found stands in the setup; a file of scenes and their keys give the same pixels.
expect 0 '' retime "$cut" -o "$out/auto.%04d.ppm" --speed 0.5 --scenes auto --write-setup "$scratch/s.toml"
grep -q '{frame = 5, value = "B"}' "$scratch/s.toml" || fail "setup: $(cat "$scratch/s.toml")"
expect 0 '' retime "$cut" -o "$out/auto.%04d.ppm" --speed 0.5 --scenes 0:A,5:B --resume
grep -q '17 frames kept' "$scratch/stderr" || fail "resume: $(cat "$scratch/stderr")"
expect 0 '' retime "$cut" -o "$out/auto.%04d.ppm" --speed 0.5 --scenes "$scratch/scenes.toml" --resume
grep -q '17 frames kept' "$scratch/stderr" || fail "resume: $(cat "$scratch/stderr")"
expect 0 '' plan "$cut" --speed 0.5 --scenes auto -q
grep -q '4\.5[0 ]* 4 *5 .* copy' "$scratch/stdout" || fail "plan: $(cat "$scratch/stdout")"
sed -i 's/frame = 5/frame = 50/' "$scratch/scenes.toml"
expect 2 'scenes.toml: 50:B: lies past frame 8' plan "$cut" --scenes "$scratch/scenes.toml"
expect 3 'none.toml' plan "$cut" --scenes "$scratch/none.toml"

# Frames 2, 5, 8 and so on of a clip repeat the one before: computed anew, each lies between.
make_clip "$scratch/even" 48 32 9 0
mkdir "$scratch/held"
for ((frame = 0; frame < 13; ++frame)); do
    cp "$scratch/even/shot.$(printf %04d $((frame * 2 / 3 + (frame % 3 == 1 ? 1 : 0)))).ppm" \
        "$scratch/held/shot.$(printf %04d "$frame").ppm"
done
expect 0 '' retime "$scratch/held" -o "$out/held.%04d.ppm" --dedupe
grep -q 'dedupe: 4 repeated frames, every 3rd frame' "$scratch/stderr" || fail "$(cat "$scratch/stderr")"
for ((frame = 0; frame < 13; ++frame)); do
    name=$(printf %04d "$frame")
    plain "$out/held.$name.ppm" >"$scratch/got"
    expect 0 '' retime "$scratch/held" -o "$out/same.%04d.ppm" --frames "$frame" -q
    plain "$out/same.$name.ppm" >"$scratch/was"
    kept=$(cmp -s "$scratch/got" "$scratch/was" && echo yes || echo no)
    [ $kept = "$([ $((frame % 3)) -eq 2 ] && echo no || echo yes)" ] || fail "frame $frame kept: $kept"
done
expect 0 '' plan "$scratch/held" --dedupe --json -q
grep -q '"repeated": \[2, 5, 8, 11\]' "$scratch/stdout" || fail "plan: $(head -12 "$scratch/stdout")"
expect 2 '--dedupe and --matte' plan "$cut" --dedupe --matte "$scratch/matte"
expect 2 'dedupe-tolerance needs --dedupe' plan "$cut" --dedupe-tolerance 2
finish
