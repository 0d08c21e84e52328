#!/usr/bin/env bash
# A movie whose pictures stand at uneven times is shown by these times.
. "$(dirname "$0")/support.sh" "$1"
command -v ffmpeg >/dev/null || exit 77

# A bright square moves 120 pixels a second, and is seen at these frames of 20 a second.
frames="0 1 2 4 5 9 10 11 13 14 16 17 18 19 20"
chosen=$(sed 's/ /+/g; s/[0-9]\+/eq(n,&)/g' <<<"$frames")
ffmpeg -v error -f lavfi -i color=c=0x404040:s=192x64:r=20:d=1.1 \
    -f lavfi -i color=c=white:s=32x32:r=20:d=1.1 \
    -filter_complex "[0][1]overlay=x=16+120*t:y=16:eval=frame,format=rgb24,select='$chosen'" \
    -fps_mode passthrough -enc_time_base 1/20 -c:v qtrle "$scratch/uneven.mov" || fail "no movie"
in=$scratch/uneven.mov

"$program" info "$in" | grep -q "^times *uneven, from 5 to 20 frames a second" || fail "info"
"$program" info "$in" | grep -q "^rate *20$" || fail "rate of info"

# Source times: even frame k / 2 lies between the pictures around it.
"$program" plan "$in" --speed 0.5 2>/dev/null | awk -v list="$frames" '
    BEGIN { count = split(list, at, " ") }
    NR > 1 {
        time = (NR - 2) / 2
        for (i = 1; i < count - 1 && at[i + 1] <= time;) ++i
        want = i - 1 + (time - at[i]) / (at[i + 1] - at[i])
        if (sprintf("%.6f", want) != $2) { print NR - 2, $2, want; bad = 1 }
    }
    END { exit bad || NR != 42 }' || fail "plan at half the speed"
"$program" plan "$in" --frame-curve 0:0,14:14 2>/dev/null |
    awk 'NR > 1 && $2 != $1 { bad = 1 } END { exit bad || NR != 16 }' || fail "frame curve"

# At speed 1 the motion is even: the square stands at 16 + 6 n.
expect 0 "" retime "$in" -o "$scratch/even.%02d.ppm" --quality full
grep -q "uneven, from 5 to 20 frames a second.* 20 frames a second$" "$scratch/stderr" ||
    fail "no note: $(cat "$scratch/stderr")"
[ "$(ls "$scratch"/even.*.ppm | wc -l)" -eq 21 ] || fail "not 21 frames"
for n in $(seq 0 20); do
    # The middle of what is brighter than the ground on the middle line.
    ffmpeg -v error -i "$scratch/even.$(printf %02d "$n").ppm" -vf crop=192:1:0:32 \
        -pix_fmt gray -f rawvideo - | od -An -v -w1 -tu1 | awk -v n="$n" '
        { bright = $1 > 66 ? $1 - 64 : 0; sum += bright; moment += bright * NR }
        END { off = moment / sum - 0.5 - (32 + 6 * n); print off; exit off < -1.5 || off > 1.5 }' >"$scratch/off" ||
        fail "frame $n is $(cat "$scratch/off") pixels off"
done
finish
