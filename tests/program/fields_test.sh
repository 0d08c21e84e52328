#!/usr/bin/env bash
# Interlaced clips are recognised, taken field by field, and written as what they are.
. "$(dirname "$0")/support.sh" "$1"

says() { grep -q -e "$1" "$scratch/stderr" || fail "no \"$1\" in $(cat "$scratch/stderr")"; }
silent() { ! grep -q -e "$1" "$scratch/stderr" || fail "\"$1\" in $(cat "$scratch/stderr")"; }
one() { expect 0 '' retime "$@" -o "$scratch/still.%d.ppm" --frames 0 --overwrite -v; }

# With mp4 the lower field first is told by the pictures alone: the stream says the other one.
for order in upper:top:tff lower:bottom:bff; do
    IFS=: read -r first side mark <<<"$order"
    for codec in mp4:libx264 mkv:ffv1 ts:mpeg2video mov:prores_ks; do
        movie=$scratch/$first.${codec%:*}
        ffmpeg -v error -f lavfi -i testsrc2=s=64x48:r=50:d=0.24 -flags +ildct+ilme \
            -vf "tinterlace=interleave_$side,setfield=$mark" -c:v "${codec#*:}" "$movie"
        one "$movie"
        says "${movie##*/}: is interlaced, $first field first.*--input-fields auto would follow"
        one "$movie" --input-fields auto
        says "fields: input $first (as it says), output none"
        silent 'is interlaced'
    done
done
one "$movie" --input-fields none
silent 'is interlaced'
expect 0 '' compare "$movie" --at 0.5 -o "$scratch/on.png" --input-fields upper
says '--input-fields upper: followed, though .*lower.mov says that the lower field comes first'
says 'lies on a source field'

# At speed 1 the fields come back as they were, also those of an odd number of lines.
in=$scratch/in
make_clip "$in" 21 17 3 0
mkdir "$scratch/whole" "$scratch/upper" "$scratch/lower"
expect 0 '' retime "$in" -o "$scratch/whole/f.%d.ppm" -v --input-fields auto
says 'fields: input none (it says nothing)'
for first in upper lower; do
    expect 0 '' retime "$in" -o "$scratch/$first/f.%d.ppm" -v --input-fields $first \
        --output-fields $first
    says 'none estimated; 3 on a source field'
    same_files "$scratch/whole" "$scratch/$first"
done
expect 0 '' retime "$in" -o "$scratch/odd.mp4" --output-fields lower
says 'odd.mp4 holds the fields but cannot be marked'
one "$in" --compensate 1
says '--compensate: changes nothing at speed 1'

# Every movie is marked, in its head and on each picture.
make_clip "$scratch/even" 22 34 3 0
make_clip "$scratch/fourth" 22 32 3 0
expect 0 '' retime "$scratch/even" -o "$scratch/alpha.%d.png" --depth 16
marked() {  # INPUT OUTPUT UPPER LOWER OPTION...: what the head says for either order
    local input=$1 output=$scratch/$2 upper=$3 lower=$4 first said
    shift 4
    for first in upper lower; do
        expect 0 '' retime "$input" -o "$output" --speed 0.5 --overwrite --output-fields $first "$@"
        said=$(ffprobe -v error -show_entries stream=field_order -show_entries \
            frame=interlaced_frame,top_field_first -of default=nw=1:nk=1 "$output" |
            sort -u | xargs)
        [[ $first == upper && $said == "1 $upper" || $first == lower && $said == "0 1 $lower" ]] ||
            fail "${output##*/}, $first field first: $said"
    done
    expect 0 '' retime "$input" -o "$output" --speed 0.5 --overwrite "$@"
    ! ffprobe -v error -show_entries frame=interlaced_frame -of csv "$output" | grep -q ,1 ||
        fail "${output##*/} is marked and has no fields"
}
marked "$scratch/fourth" m.mp4 tt bb
marked "$scratch/even" m.mp4 tt bb
marked "$scratch/even" m.mov tb bt
marked "$scratch/even" m.mkv tb bt
marked "$scratch/alpha.%d.png" m.mkv tb bt
finish
