#!/usr/bin/env bash
# Long jobs: in chunks, begun again, with failures on the way, looked through and told of.
. "$(dirname "$0")/support.sh" "$1"

in=$scratch/in
make_clip "$in" 48 36 9 101
whole=$scratch/whole
mkdir "$whole"
expect 0 '' retime "$in" -o "$whole/slow.%04d.png" --speed 0.3

said() { grep -q "$1" "$scratch/stderr" || fail "not said: $1 ($(cat "$scratch/stderr"))"; }
verify() {  # CODE TEXT ARGUMENT...
    "$program" verify "${@:3}" >"$scratch/report"
    local got=$?
    [ $got -eq "$1" ] && grep -q "$2" "$scratch/report" ||
        fail "verify ended with $got, not $1 and \"$2\": $(cat "$scratch/report")"
}

# Chunks at once, one of them by two runs.
parts=$scratch/parts
mkdir "$parts"
for format in png ppm; do
    runs=()
    for chunk in 1/3 2/3 2/3 3/3; do
        "$program" retime "$in" -o "$parts/slow.%04d.$format" --speed 0.3 -q --resume \
            --chunk $chunk &
        runs+=($!)
    done
    for run in "${runs[@]}"; do wait "$run" || fail "a chunk ended with $?"; done
    verify 0 'all 27 frames' "$parts/slow.%04d.$format"
done
rm "$parts"/*.ppm
same_files "$whole" "$parts"
mkdir "$scratch/some"
expect 0 '' retime "$in" -o "$scratch/some/slow.%04d.png" --speed 0.3 --chunk 2/2 --frames 0-9
[ "$(ls "$scratch/some" | paste -sd' ')" = "$(echo slow.01{05,06,07,08,09,10}.png)" ] ||
    fail "chunk 2/2 of ten frames: $(ls "$scratch/some")"
expect 2 '--chunk 0/2' retime "$in" -o "$scratch/some/x.%04d.png" --chunk 0/2
expect 2 'sequence' retime "$in" -o "$scratch/some/x.mkv" --chunk 1/2
expect 2 '--resume' retime "$in" -o "$scratch/some/x.%04d.png" --resume --overwrite

# A frame counts as finished whatever has no say in its pixels, and only then.
again() {  # KEPT OPTION...
    expect 0 '' retime "$in" -o "$parts/slow.%04d.png" --resume "${@:2}"
    said "^--resume: $1 frames\? kept"
}
again 27 --speed .30 --threads 1 --no-cache --interp blend --quality best
again 27 --speed 0.3 --length 30
verify 0 'all 30 frames' "$parts/slow.%04d.png"
touch -d '2001-01-01' "$in/shot.0105.ppm"
again 24 --speed 0.3 --length 30
again 1 --speed 0.5 --frames 0-2
verify 1 '^of other settings: 1-2$' "$parts/slow.%04d.png"
head -c 600 "$parts/slow.0110.png" >"$scratch/cut"
cp "$scratch/cut" "$parts/slow.0110.png"
cp "$parts/slow.0112.png" "$parts/slow.0113.png"
cp "$in/shot.0101.ppm" "$parts/slow.0114.png"
rm "$parts/slow.0115.png"
verify 1 '^missing: 14$' "$parts/slow.%04d.png"
verify 1 '^unreadable: 9$' "$parts/slow.%04d.png"
verify 1 '^of other settings: 1-2, 12$' "$parts/slow.%04d.png"
verify 1 '"missing":\[14\].*"frame":9,.*"otherSettings":\[12\]' "$parts/slow.%04d.png" --frames 5-14 --json
again 24 --speed 0.3 --length 30
verify 0 'all 30 frames' "$parts/slow.%04d.png"
expect 3 'nothing' verify "$scratch/nothing.%04d.png"

# Threads count where they show, and there for what is not a source frame alone.
forward() { expect 0 '' retime "$in" -o "$scratch/f.%d.png" --frames 0-3 --speed 0.3 --warp forward "$@"; }
forward --threads 1
forward --threads 2 --resume
said '1 frame kept'
forward --threads 2 --resume
said '4 frames kept'

# What other numbers left beside a whole output does not count.
expect 0 '' retime "$in" -o "$scratch/moved.%d.png" --speed 0.5
expect 0 '' retime "$in" -o "$scratch/moved.%d.png" --speed 0.5 --resume --start-number 103
verify 0 'all 17 frames' "$scratch/moved.%d.png"

# A byte that changed in a movie shows, though decoders patch it up.
lossless=$scratch/slow.mkv
expect 0 '' retime "$in" -o "$lossless" --speed 0.3
verify 0 'all 27 frames' "$lossless"
printf '\xa5\x5a\xa5' | dd of="$lossless" bs=1 seek=$(($(stat -c %s "$lossless") / 2)) \
    conv=notrunc status=none
verify 1 'unreadable: ' "$lossless"

# A movie is whole or not there.
movie=$scratch/slow.mov
expect 0 '' retime "$in" -o "$movie" --speed 0.3
expect 0 '' retime "$in" -o "$movie" --speed 0.3 --resume
said 'is kept'
verify 0 'all 27 frames' "$movie"
head -c $(($(stat -c %s "$movie") * 9 / 10)) "$movie" >"$scratch/cut.mov"
verify 1 'unreadable: .*26' "$scratch/cut.mov"
mv "$scratch/cut.mov" "$movie"
expect 0 '' retime "$in" -o "$movie" --speed 0.3 --resume
said 'damaged'
verify 0 'all 27 frames' "$movie"

# Frames that cannot be read are left out and told, the others are there.
cp -r "$in" "$scratch/torn"
head -c 100 "$in/shot.0104.ppm" >"$scratch/torn/shot.0104.ppm"
mkdir "$scratch/rest"
rest=$scratch/rest/slow.%04d.png
"$program" retime "$scratch/torn" -o "$rest" --speed 0.3 --continue-on-error --progress json \
    --log "$scratch/log" 2>"$scratch/stderr"
[ $? -eq 5 ] || fail "exit with failed frames"
[ "$(grep -c '"event":"failed","frame":\(7\|8\|9\|10\|11\|12\|13\),.*shot.0104.ppm' "$scratch/stderr")" -eq 7 ] ||
    fail "failed frames: $(cat "$scratch/stderr")"
[ "$(ls "$scratch/rest" | wc -l)" -eq 20 ] || fail "$(ls "$scratch/rest" | wc -l) frames besides"
verify 1 '^missing: 7-13$' "$rest"
cp -p "$in/shot.0104.ppm" "$scratch/torn"
expect 0 '' retime "$scratch/torn" -o "$rest" --speed 0.3 --resume --log "$scratch/log"
grep -q 'Z [0-9]* frame 7 failed: .*shot.0104' "$scratch/log" &&
    grep -q 'ends with code 5' "$scratch/log" && grep -q 'ends with code 0' "$scratch/log" &&
    [ "$(grep -c 'frame [0-9]* rendered' "$scratch/log")" -eq 27 ] || fail "log: $(cat "$scratch/log")"
expect 2 'sequence' retime "$in" -o "$scratch/x.mkv" --continue-on-error
expect 1 'nowhere' retime "$in" -o "$scratch/some/x.%04d.png" --log "$scratch/nowhere/log"

# Holes of the input: refused, held, or as at the same place between the frames around.
holes=$scratch/holes
cp -rp "$in" "$holes"
rm "$holes"/shot.010[34].ppm
mkdir "$scratch/two" "$scratch/filled"
cp "$in/shot.0102.ppm" "$scratch/two/shot.0.ppm"
cp "$in/shot.0105.ppm" "$scratch/two/shot.1.ppm"
for warp in inverse smart; do
    how="--interp energy --warp $warp --threads 1"
    expect 3 '103-104.*--missing' retime "$holes" -o "$scratch/filled/slow.%04d.png"
    expect 0 '' retime "$holes" -o "$scratch/filled/$warp.%04d.ppm" --missing interpolate $how
    expect 0 '' retime "$scratch/two" -o "$scratch/filled/third.%d.ppm" --speed 0.333333333 $how \
        --overwrite
    cmp "$scratch/filled/$warp.0103.ppm" "$scratch/filled/third.1.ppm" >&2 || fail "hole: $warp"
    expect 0 '' retime "$holes" -o "$scratch/filled/$warp-slow.%04d.ppm" --missing interpolate \
        --speed 0.4 $how
    rm -rf "$scratch/mended"
    cp -r "$scratch/filled" "$scratch/mended" && rm "$scratch/mended"/*slow* "$scratch/mended"/third*
    expect 0 '' retime "$scratch/mended/$warp.%04d.ppm" -o "$scratch/mended/slow.%04d.ppm" \
        --speed 0.4 $how
    for frame in 0102 0105 0108 0112; do
        cmp "$scratch/filled/$warp-slow.$frame.ppm" "$scratch/mended/slow.$frame.ppm" >&2 ||
            fail "around holes: $warp $frame"
    done
done
expect 0 '' retime "$holes" -o "$scratch/filled/held.%04d.ppm" --missing hold
said '103-104'
cmp "$scratch/filled/held.0102.ppm" "$scratch/filled/held.0104.ppm" >&2 || fail "--missing hold"
expect 2 'hold' retime "$holes" -o "$scratch/x.%d.png" --missing interpolate --input-fields upper
expect 0 '' compare "$holes" --at 2.5 -o "$scratch/sheet.png" --missing interpolate

# At a cut a hole is filled out of its own scene.
for how in hold interpolate; do
    expect 0 '' retime "$holes" -o "$scratch/filled/cut-$how.%04d.ppm" --missing $how \
        --scenes 0:A,3:B
    expect 0 '' retime "$holes" -o "$scratch/filled/late-$how.%04d.ppm" --missing $how \
        --scenes 0:A,4:B
    for pair in cut-$how:0102:0103 cut-$how:0105:0104 late-$how:0102:0103 late-$how:0102:0104; do
        IFS=: read -r name one other <<<"$pair"
        cmp "$scratch/filled/$name".{$one,$other}.ppm >&2 || fail "hole at a cut: $pair"
    done
done

# A hole that is mended makes the frames around it anew, and no others.
expect 0 '' retime "$holes" -o "$scratch/filled/mend.%04d.png" --missing interpolate --speed 0.5
cp -p "$in"/shot.010[34].ppm "$holes"
expect 0 '' retime "$holes" -o "$scratch/filled/mend.%04d.png" --speed 0.5 --resume
said '12 frames kept'
finish
