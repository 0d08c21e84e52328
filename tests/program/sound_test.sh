#!/usr/bin/env bash
# The sound of a movie goes with its pictures.
. "$(dirname "$0")/support.sh" "$1"

says() { grep -q -e "$1" "$scratch/stderr" || fail "no \"$1\" in $(cat "$scratch/stderr")"; }
sound_of() { ffmpeg -v error -i "$1" -vn -f s16le - | md5sum; }
movie() {  # NAME OPTION...
    local name=$1
    shift
    ffmpeg -v error -f lavfi -i testsrc2=s=32x32:r=24:d=2 -f lavfi -i \
        'aevalsrc=random(0)-0.5|sin(2000*t)/2:s=48000:d=2' "$@" "$scratch/$name"
}
movie a.mov -c:v ffv1 -strict -2 -f matroska -c:a pcm_s16le
movie two.mkv -map 0 -map 1 -map 1 -c:v ffv1 -c:a flac -metadata:s:a:0 language=deu

run=(--quality none --overwrite)
expect 0 '' retime "$scratch/a.mov" -o "$scratch/same.mov" "${run[@]}"
[ "$(sound_of "$scratch/a.mov")" = "$(sound_of "$scratch/same.mov")" ] || fail "speed 1 changes sound"
for how in pitch stretch; do
    expect 0 '' retime "$scratch/a.mov" -o "$scratch/half.mkv" --speed 0.5 --audio $how "${run[@]}" -v
    says "^sound: pcm_s16le, 48000 Hz, stereo, 16 bits; retimed"
    bytes=$(ffmpeg -v error -i "$scratch/half.mkv" -vn -f s16le - | wc -c)
    [ "$bytes" -eq $((95 * 2000 * 4)) ] || fail "$bytes bytes of sound with $how"
done
expect 0 '' retime "$scratch/a.mov" -o "$scratch/none.mkv" --audio drop "${run[@]}"
"$program" info "$scratch/none.mkv" | grep -q '^sound  *none' || fail "drop leaves sound"

expect 0 '' retime "$scratch/two.mkv" -o "$scratch/one.mp4" "${run[@]}"
says '1 further sound stream is left out'
"$program" info "$scratch/one.mp4" | grep -q '^sound  *aac, 48000 Hz, stereo, deu' || fail "info"
expect 0 '' retime "$scratch/a.mov" -o "$scratch/a.%d.ppm" --frames 0 --audio pitch "${run[@]}"
says '--audio: .* is a sequence'
expect 0 '' retime "$scratch/none.mkv" -o "$scratch/b.mkv" --audio pitch "${run[@]}"
says '--audio: .*none.mkv has no sound'

expect 2 'stretch: .*--speed-curve goes with --audio pitch' \
    retime "$scratch/a.mov" -o "$scratch/c.mkv" --speed-curve 0:1,9:2 --audio stretch
expect 2 'without gaps' retime "$scratch/a.mov" -o "$scratch/c.mkv" --speed 0.5 --audio stretch \
    --frames 1,5
# A codec that is not there: the tag of the second movie's sound, changed.
LC_ALL=C sed 's/A_FLAC/A_FLAX/g' "$scratch/two.mkv" >"$scratch/odd.mkv"
expect 3 'odd.mkv: its sound.*--audio drop' retime "$scratch/odd.mkv" -o "$scratch/c.mkv"
expect 0 '' retime "$scratch/odd.mkv" -o "$scratch/c.mkv" --audio drop "${run[@]}"
# The head of a packet of sound, overwritten.
at=$(ffprobe -v error -select_streams a:0 -show_entries packet=pos -of csv=p=0 "$scratch/two.mkv" |
    sed -n 5p)
cp "$scratch/two.mkv" "$scratch/bad.mkv"
dd if=/dev/zero of="$scratch/bad.mkv" bs=1 count=40 seek=$((${at%%,*} + 4)) conv=notrunc status=none
expect 0 '' retime "$scratch/bad.mkv" -o "$scratch/c.mkv" "${run[@]}"
says 'bad.mkv: its sound is damaged'
! "$program" retime "$scratch/two.mkv" -o "$scratch/c.mkv" --frame-curve 0:47,47:0 "${run[@]}" 2>&1 |
    grep damaged || fail "whole sound told as damaged"
# The mark of a movie tells its sound.
expect 0 '' retime "$scratch/a.mov" -o "$scratch/c.mkv" --resume --quality none
says 'made with other settings'
finish
