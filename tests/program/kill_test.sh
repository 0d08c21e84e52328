#!/usr/bin/env bash
# A run that is killed at any moment loses nothing that it finished, and leaves nothing broken.
. "$(dirname "$0")/support.sh" "$1"

in=$scratch/in
make_clip "$in" 96 72 21 0
RANDOM=7

# Renders with OPTION... into FOLDER by a run that is killed KILLS times while it renders, and goes
# on each time; what is there under a final name must be whole after each.
render_under_fire() {  # FOLDER PATTERN KILLS OPTION...
    local folder=$1 pattern=$2 kills=$3 killed=0 tries=0 waited limit
    shift 3
    mkdir "$folder"
    while [ $killed -lt "$kills" ] && [ $((tries += 1)) -lt 400 ]; do
        touch "$scratch/now"
        "$program" retime "$in" -o "$folder/$pattern" --resume -q "$@" &
        # Most of the time once it writes, at times while it looks at what is there.
        limit=$((RANDOM % 5 ? 500 : RANDOM % 20))
        for ((waited = 0; waited < limit; ++waited)); do
            [ -n "$(find "$folder" -newer "$scratch/now")" ] && break
            sleep 0.01
        done
        sleep 0.0$(printf %02d $((RANDOM % 60)))
        kill -KILL $! 2>/dev/null
        if wait $! 2>/dev/null; then
            # Done before it was hit: there is more to do.
            find "$folder" -type f -name '*[05].*' -delete
            continue
        fi
        killed=$((killed + 1))
        if [[ $pattern != *%* ]]; then
            [ ! -e "$folder/$pattern" ] || fail "a movie that is not whole after kill $killed"
        elif [ -n "$(ls "$folder")" ] && "$program" verify "$folder/$pattern" |
            grep -E '^(unreadable|not telling)'; then
            fail "$pattern: broken frames after kill $killed"
        fi
    done
    [ $killed -eq "$kills" ] || fail "$pattern: killed $killed times only"
    expect 0 '' retime "$in" -o "$folder/$pattern" --resume "$@"
}

check() {  # PATTERN KILLS OPTION...
    local whole=$scratch/whole-${1##*.} broken=$scratch/broken-${1##*.} pattern=$1
    shift
    mkdir "$whole"
    expect 0 '' retime "$in" -o "$whole/$pattern" "${@:2}"
    render_under_fire "$broken" "$pattern" "$@"
    same_files "$whole" "$broken"
}
check slow.%04d.png 20 --speed 0.1 --no-cache
[ "$(ls -A "$scratch/whole-png" | wc -l)" -eq 201 ] || fail "not 201 frames"
check slow.%04d.ppm 4 --speed 0.1 --no-cache
check slow.%04d.exr 3 --speed 0.1 --no-cache --depth half
check slow.mkv 2 --speed 0.1 --no-cache
finish
