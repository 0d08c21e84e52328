#!/usr/bin/env bash
# What cannot be done is refused with the right code, in one line that names what is wrong.
. "$(dirname "$0")/support.sh" "$1"

in=$scratch/in
out=$scratch/out
mkdir "$out"
make_clip "$in" 24 16 3 101
frames=$out/slow.%04d.png

expect 2 'verb'
expect 2 'play' play
expect 2 'INPUT' retime
expect 2 '-o' retime "$in"
expect 2 '--speed' retime "$in" -o "$frames" --speed 10.1
expect 2 '--length' retime "$in" -o "$frames" --speed 0
expect 2 '--frames' retime "$in" -o "$frames" --frames ''
expect 2 'standard output' vectors "$in" -o -
expect 2 '=' retime "$in" -o="$out/slow.mkv"
expect 2 'slow.%04d.png' retime "$in" -o "$out/slow.png"
expect 2 'slow.xyz' retime "$in" -o "$out/slow.xyz"
expect 2 '--depth' retime "$in" -o "$frames" --depth float
for option in --speed-curve --frame-curve --compensate --input-fields --output-fields --scenes \
    --missing --chunk; do
    expect 2 "$option" retime "$in" -o "$frames" "$option" x
done

expect 3 'nowhere' retime "$scratch/nowhere/shot.%04d.ppm" -o "$frames"
make_clip "$scratch/hole" 8 8 3 1
rm "$scratch/hole/shot.0002.ppm"
expect 3 '2' retime "$scratch/hole/shot.%04d.ppm" -o "$frames"
make_clip "$scratch/thin" 1 8 2 0
expect 3 '1x8' retime "$scratch/thin" -o "$frames"
make_clip "$scratch/small" 11 7 2 0
expect 3 '--quality best' retime "$scratch/small" -o "$frames" --speed 0.5 --quality high
expect 0 '' retime "$scratch/small" -o "$scratch/small/slow.%04d.png" --speed 0.5

expect 1 'missing' retime "$in" -o "$out/missing/slow.%04d.png"
expect 1 'slow.0101.png' retime "$in" -o "$scratch/stderr/slow.%04d.png"
expect 1 '/proc' retime "$in" -o "/proc/slow.%04d.png"

# A limit on the size of files is a failure that is told, and a long name no failure.
said=$( (ulimit -f 1; "$program" retime "$in" -o "$out/limited.%04d.ppm" -q) 2>&1)
[ $? -eq 1 ] && [[ $said == velorin:*limited.0101.ppm*"File too large"* ]] || fail "limit: $said"
long=$scratch/$(printf '%0240d' 0)
expect 0 '' retime "$in" -o "$long.%04d.ppm"
rm "$long".*

# A result that did not arrive is a failure.
for verb in --version "info $in" "plan $in -q"; do
    said=$("$program" $verb 2>&1 >/dev/full) && fail "$verb: code 0"
    [[ $said == velorin:*"standard output: cannot be written"* ]] ||
        fail "$verb: $said"
done

# A closed stream leaves its number to no file: messages would be written into that.
"$program" retime "$in" -o "$scratch/closed.%04d.png" --log "$scratch/log" --progress json 2>&-
grep -q '"event"' "$scratch/log" && fail "messages of a closed stream are in a file"

# Nothing but a log is added to, and nothing but a setup replaced by one.
cp "$in/shot.0101.ppm" "$scratch/kept"
expect 1 'no log' retime "$in" -o "$frames" --log "$in/shot.0101.ppm"
expect 1 'no setup' plan "$in" --write-setup "$in/shot.0101.ppm" --overwrite
cmp "$scratch/kept" "$in/shot.0101.ppm" || fail "a frame of the input was written to"

# A frame that cannot be read: what was rendered before it stays, whole.
make_clip "$scratch/torn" 24 16 4 0
head -c 100 "$in/shot.0101.ppm" >"$scratch/torn/shot.0002.ppm"
expect 3 'shot.0002.ppm' retime "$scratch/torn" -o "$scratch/rest.%04d.ppm" --speed 1 -q
[ -z "$(ls -A "$out")" ] || fail "something is left: $(ls -A "$out")"
[ -e "$scratch/rest.0000.ppm" ] || fail "the frames before a damaged one are missing"
[ ! -e "$scratch/rest.0002.ppm" ] || fail "there is a frame out of a damaged one"

# What is there already is replaced only when that is wanted, the input never.
expect 0 '' retime "$in" -o "$frames"
echo mine >"$out/slow.0102.png"
expect 4 'slow.010[12].png' retime "$in" -o "$frames"
grep -q mine "$out/slow.0102.png" || fail "an existing frame was overwritten"
expect 0 '' retime "$in" -o "$frames" --overwrite
grep -q mine "$out/slow.0102.png" && fail "--overwrite left a frame as it was"
expect 1 'input' retime "$in" -o "$in/shot.%04d.ppm" --overwrite

"$program" --version | grep -q '^velorin [0-9]' || fail "no version"
"$program" retime --help | head -n 4 | grep -q 'velorin retime shot' || fail "help without examples"
finish
