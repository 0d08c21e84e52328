#!/usr/bin/env bash
# Clips that come and go through pipes: the same pixels as files, as long as they come.
. "$(dirname "$0")/support.sh" "$1"
command -v ffmpeg >/dev/null || exit 77

source_of() {  # FORMAT FRAMES [OPTION...]
    local format=$1 frames=$2
    shift 2
    ffmpeg -v error -f lavfi -i testsrc2=s=32x24:r=30000/1001 -frames:v "$frames" \
        -strict -1 -pix_fmt "$format" "$@" -
}
nut() { source_of "$1" "$2" -c rawvideo -f nut; }
y4m() { source_of "$1" "$2" -f yuv4mpegpipe; }
retime() { "$program" retime - -o - -q "$@" 2>"$scratch/stderr"; }

# Frames of 768 samples lie several between two syncpoints, those of 6144 bytes one or more.
for format in gray rgba rgb48le; do
    nut $format 60 >"$scratch/$format.nut"
    "$program" retime "$scratch/$format.nut" -o - --pipe nut --speed 0.7 -q >"$scratch/file.nut"
    retime --speed 0.7 <"$scratch/$format.nut" >"$scratch/pipe.nut" || fail "$format: exit $?"
    cmp "$scratch/file.nut" "$scratch/pipe.nut" >&2 || fail "$format differs"
    told=$(ffprobe -v quiet -count_packets -of csv=p=0 \
        -show_entries stream=pix_fmt,r_frame_rate,nb_read_packets "$scratch/pipe.nut")
    [ "$told" = "$format,30000/1001,85" ] || fail "$format became $told"
done

# Speed 1 hands frames on: gray as it is, and the head too.
for format in gray gray16le; do
    y4m $format 5 >"$scratch/in.y4m"
    retime <"$scratch/in.y4m" | cmp - "$scratch/in.y4m" >&2 || fail "y4m of $format"
done
head_of() { head -n 1 | grep -ao ' C[^ ]*\|XCOLORRANGE=.*' | tr -d '\n'; }
for case in "yuv420p C420mpeg2" "yuv422p10 C422p10"; do
    got=$(y4m ${case% *} 2 | retime --speed 0.5 | head_of)
    [ "$got" = " ${case#* }XCOLORRANGE=LIMITED" ] || fail "y4m of ${case% *}:$got"
done
# What y4m cannot hold goes as NUT, unless one says otherwise.
for case in "rgba nut" "rgb48le nut" "rgb24 YUV"; do
    nut ${case% *} 2 >"$scratch/in.nut"
    "$program" retime "$scratch/in.nut" -o - -q 2>/dev/null | head -c 3 | grep -q "${case#* }" ||
        fail "default of ${case% *}"
done

# Files at one end.
nut rgb24 60 >"$scratch/rgb24.nut"
nut rgb24 12 | "$program" retime - -o "$scratch/out.%02d.ppm" --speed 0.5 -q || fail "to a sequence"
"$program" retime "$scratch/rgb24.nut" -o "$scratch/want.%02d.ppm" --speed 0.5 --frames 0-21 -q
[ "$(ls "$scratch"/out.*.ppm | wc -l)" -eq 23 ] || fail "not 23 frames"
for n in $(seq -w 0 21); do
    cmp "$scratch/out.$n.ppm" "$scratch/want.$n.ppm" >&2 || fail "frame $n of the sequence"
done

# A look through the clip first leaves standard output as it was.
"$program" retime "$scratch/rgb24.nut" -o - -q >"$scratch/plain.y4m"
"$program" retime "$scratch/rgb24.nut" -o - -q --scenes auto 2>"$scratch/stderr" |
    cmp - "$scratch/plain.y4m" >&2 || fail "found scenes"

# What lies past the end is told when the end is seen.
y4m gray 3 | "$program" retime - -o - --frames 1-9 2>"$scratch/stderr" >/dev/null
grep -q "^--frames: what lies past 2," "$scratch/stderr" || fail "frames: $(cat "$scratch/stderr")"
y4m gray 3 | "$program" retime - -o - --length 9 2>"$scratch/stderr" >/dev/null
grep -q "output frame 3, the first of 6; there its ends hold, frames 0 and 2$" "$scratch/stderr" ||
    fail "length: $(cat "$scratch/stderr")"

# Streams that end too soon, at either end.
y4m yuv420p 4 | head -c 4000 | retime >"$scratch/cut.y4m"
[ "${PIPESTATUS[2]}" -eq 3 ] || fail "a cut stream is no failure"
grep -q "^velorin: standard input, frame 3: is cut short" "$scratch/stderr" || fail "cut y4m"
[ "$(grep -ac FRAME "$scratch/cut.y4m")" -eq 2 ] || fail "frames before the cut"
(y4m yuv420p 2; head -c 200 /dev/zero) | retime >/dev/null
grep -q "frame 2: the stream is damaged" "$scratch/stderr" || fail "zeros: $(cat "$scratch/stderr")"
nut rgb24 4 | head -c 6500 | retime >/dev/null
[ "${PIPESTATUS[2]}" -eq 3 ] || fail "cut NUT: $(cat "$scratch/stderr")"
y4m yuv420p 200 | retime | head -c 3000 >/dev/null
[ "${PIPESTATUS[1]}" -eq 1 ] || fail "a closed pipe is no failure"
grep -q "frame [0-9]*: the program that reads it has closed the pipe" "$scratch/stderr" ||
    fail "closed: $(cat "$scratch/stderr")"

# A run that is stopped while it waits ends with whole frames.
: >"$scratch/stopped.y4m"
mkfifo "$scratch/fifo"
(y4m yuv420p 6; sleep 20) >"$scratch/fifo" 2>/dev/null &
feeder=$!
"$program" retime - -o - --speed 0.5 -q <"$scratch/fifo" >"$scratch/stopped.y4m" 2>/dev/null &
run=$!
waited=0
while [ "$(stat -c %s "$scratch/stopped.y4m")" -lt 10000 ] && [ $((waited += 1)) -lt 300 ]; do
    sleep 0.05
done
kill -s TERM $run
wait $run
[ $? -eq 75 ] || fail "exit of a run that is stopped"
kill $feeder 2>/dev/null
size=$(stat -c %s "$scratch/stopped.y4m")
header=$(head -n 1 "$scratch/stopped.y4m" | wc -c)
[ $(((size - header) % (32 * 24 * 3 / 2 + 6))) -eq 0 ] || fail "a part of a frame is left"

sleep 20 >"$scratch/fifo" &
feeder=$!
"$program" retime - -o - <"$scratch/fifo" >/dev/null 2>"$scratch/stderr" &
run=$!
waited=0
# Its own handlers are there when it waits for bytes; those of the shell that becomes it clean up here.
until grep -q "^Name:.*velorin" /proc/$run/status &&
    grep -q "^SigCgt:.*[4-7c-f]...$" /proc/$run/status || [ $((waited += 1)) -gt 200 ]; do
    sleep 0.05
done
kill -s TERM $run
wait $run
[ $? -eq 75 ] || fail "stopped before a picture came: $(cat "$scratch/stderr")"
kill $feeder 2>/dev/null

# What pipes cannot do; standard input is empty.
expect 2 "--fit-length: needs the length" retime - -o - --fit-length 5
expect 2 "--chunk: needs the length" retime - -o x.%04d.png --chunk 1/2
expect 2 "--resume: what went through" retime "$scratch/rgb24.nut" -o - --resume
"$program" retime "$scratch/rgb24.nut" -o - 2>"$scratch/stderr" >&- && fail "closed output"
grep -q "^velorin: -o -: standard output is closed$" "$scratch/stderr" || fail "no word of that"
expect 2 "--pipe: tells what -o - writes" retime x.mov -o y.mov --pipe nut
expect 3 "nothing comes" retime - -o -
expect 3 "-: only the INPUT" plan -
expect 2 "name a file" vectors x.mov -o -
nut rgb24 3 | retime --frame-curve 0:2,5:0 && fail "a curve backwards"
grep -q "runs backwards from key 0:2 to key 5:0" "$scratch/stderr" || fail "no word of it"
nut rgba 3 | "$program" info - --json | grep -q '"kind": "nut stream"' || fail "info"
finish
