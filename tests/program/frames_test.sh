#!/usr/bin/env bash
# A frame is the same whichever frames, threads and flows it was rendered with.
. "$(dirname "$0")/support.sh" "$1"

in=$scratch/in
make_clip "$in" 45 34 5 101
whole=$scratch/whole
mkdir "$whole"
for interp in blend nearest; do
    expect 0 '' retime "$in" -o "$whole/$interp.%04d.png" --speed 0.35 --threads 1 --interp $interp
done
[ "$(ls "$whole" | wc -l)" -eq 24 ] || fail "$(ls "$whole" | wc -l) frames, not 24"

again() {  # NAME OPTION...
    local folder=$scratch/$1
    shift
    mkdir "$folder"
    for interp in blend nearest; do
        expect 0 '' retime "$in/shot.####.ppm" -o "$folder/$interp.####.png" --speed 0.35 \
            --interp $interp "$@"
    done
}
for threads in 2 8; do
    again threads$threads --threads $threads
    same_files "$whole" "$scratch/threads$threads"
done
again no-cache --no-cache
same_files "$whole" "$scratch/no-cache"
again some --frames 7-9,2,11-30 -v
[ "$(cd "$scratch/some" && echo blend.*)" = \
    "blend.0103.png blend.0108.png blend.0109.png blend.0110.png blend.0112.png" ] ||
    fail "--frames wrote $(ls "$scratch/some")"
for file in "$scratch/some"/*; do
    cmp -s "$file" "$whole/${file##*/}" || fail "${file##*/} differs from that of the whole run"
done
grep -q 'left out' "$scratch/stderr" || fail "nothing said of frames past the end"

expect 0 '' retime "$in" -o "$scratch/past.%04d.png" --frames 100-
[ ! -e "$scratch/past.0201.png" ] || fail "a frame past the end"
expect 0 '' retime "$in" -o "$scratch/from.%04d.png" --frames 0-1 --start-number 0 -q
[ -e "$scratch/from.0000.png" ] && [ -e "$scratch/from.0001.png" ] || fail "--start-number"
[ ! -s "$scratch/stderr" ] || fail "-q said $(cat "$scratch/stderr")"

# At speed 1 every frame is a source frame, also by way of a movie without loss.
expect 0 '' retime "$in" -o "$scratch/same.mkv"
expect 0 '' retime "$scratch/same.mkv" -o "$scratch/back.%04d.ppm" --start-number 101
mkdir "$scratch/direct"
expect 0 '' retime "$in" -o "$scratch/direct/back.%04d.ppm"
for file in "$scratch/direct"/*; do
    cmp -s "$file" "$scratch/${file##*/}" || fail "${file##*/} changed on its way through a movie"
done

# To 16 bits and back nothing is lost; to float the white point becomes 1.
expect 0 '' retime "$in" -o "$scratch/word.%04d.png" --depth 16
expect 0 '' retime "$scratch/word.%04d.png" -o "$scratch/byte.%04d.ppm" --depth 8
for number in 0101 0105; do
    cmp -s "$scratch/byte.$number.ppm" "$scratch/direct/back.$number.ppm" || fail "depth $number"
done

expect 0 '' retime "$in" -o "$scratch/json.%04d.png" --speed 0.5 --progress json
[ "$(grep -c '^{"event":"frame","frame":[0-8],.*}$' "$scratch/stderr")" -eq 9 ] &&
    [ "$(wc -l <"$scratch/stderr")" -eq 10 ] || fail "progress as JSON: $(cat "$scratch/stderr")"
finish
