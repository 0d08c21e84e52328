#!/usr/bin/env bash
# A run that is asked to stop ends after the frame in hand; what it leaves is whole.
. "$(dirname "$0")/support.sh" "$1"

in=$scratch/in
make_clip "$in" 160 120 3 0

# Starts a run of many thousand frames, sends SIGNAL once some are there and expects CODE.
stop_with() {  # SIGNAL CODE
    local out=$scratch/$1 got waited=0
    mkdir "$out"
    "$program" retime "$in" -o "$out/slow.%05d.ppm" --speed 0.0001 --no-cache --threads 1 -q &
    while [ ! -e "$out/slow.00003.ppm" ] && [ $((waited += 1)) -lt 300 ]; do sleep 0.05; done
    kill -s "$1" $!
    wait $!
    got=$?
    [ $got -eq "$2" ] || fail "exit $got after SIG$1, not $2"
    [ -e "$out/slow.00003.ppm" ] || fail "no frames before SIG$1"
    for file in "$out"/* "$out"/.[!.]*; do
        [ -e "$file" ] && [[ $file != */.slow.ppm.velorin ]] || continue
        [ "$(wc -c <"$file")" -eq "$(wc -c <"$out/slow.00000.ppm")" ] || fail "$file is not whole"
        case ${file##*/} in slow.?????.ppm) ;; *) fail "$file is left" ;; esac
    done
}
stop_with INT 130
stop_with TERM 75
stop_with USR1 75

# A movie that lacks frames is none.
mkdir "$scratch/movie"
"$program" retime "$in" -o "$scratch/movie/slow.mkv" --speed 0.0001 --no-cache -q &
waited=0
while [ -z "$(ls -A "$scratch/movie")" ] && [ $((waited += 1)) -lt 300 ]; do sleep 0.05; done
kill -s TERM $!
wait $!
[ $? -eq 75 ] || fail "exit of a movie's run"
[ -z "$(ls -A "$scratch/movie")" ] || fail "left of a movie: $(ls -A "$scratch/movie")"
finish
