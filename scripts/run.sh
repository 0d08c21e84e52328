#!/usr/bin/env bash
# Retimes a clip into build/out and lays its first frames out on a contact sheet; builds the program
# before, and installs what a bare Debian 12 lacks. Without a change, a second run renders nothing.
#
#   scripts/run.sh                    two seconds of real footage, at a quarter of its speed
#   scripts/run.sh INPUT [OPTIONS]    a clip of yours; options as for `velorin retime`
source "$(dirname "$0")/setup.sh"

program="$build/release/velorin"
clips="$build/clips"
out="$build/out"
sheetFrames=16

# Real camera footage that a Debian package ships, unpacked aside and not installed.
fetch_footage() {
    local work=$clips/work download="apt-get -qq -o APT::Sandbox::User=root download"
    rm -rf "$work"
    mkdir -p "$work"
    (cd "$work" && { $download python3-imageio ||
        { as_root apt-get -qq update && $download python3-imageio; }; }) 2>/dev/null &&
        dpkg-deb -x "$work"/python3-imageio_*.deb "$work" &&
        find "$work" -name cockatoo.mp4 -exec mv {} "$clips/" \;
    rm -rf "$work"
}

# The footage, a head that turns from source frame 220 to 260; a drawn clip where there is none.
choose_default_clip() {
    mkdir -p "$clips"
    [ -f "$clips/cockatoo.mp4" ] || fetch_footage
    input="$clips/cockatoo.mp4"
    options=(--speed 0.25 --frames 880-1040)
    [ ! -f "$input" ] || return 0
    echo "no footage to be had from Debian's packages; drawing a clip" >&2
    input="$clips/zoom.mp4"
    options=(--speed 0.25)
    [ -f "$input" ] || ffmpeg -v error -f lavfi -i mandelbrot=size=1280x720:rate=20 -t 2 \
        -c:v libx264 -crf 12 -pix_fmt yuv420p "$input"
}

# The value of an option, in either spelling; empty where it is not given.
value_of() {
    local option
    for option in "${!options[@]}"; do
        case ${options[option]} in
            "$1") echo "${options[option + 1]:-}" ;;
            "$1="*) echo "${options[option]#*=}" ;;
        esac
    done
}

set_names() {
    local name law
    name=$(basename "$input")
    name=${name%.*}
    name=${name%%[%#]*}
    if [ -z "$(value_of --speed)$(value_of --speed-curve)$(value_of --frame-curve)$(value_of \
        --setup)" ]; then
        options+=(--speed 0.25)
    fi
    law=retimed
    [ "$(value_of --speed)" != 0.25 ] || law=quarter
    movie="$out/${name%.}-$law.mp4"
    sheet="${movie%.mp4}-sheet.png"
}

# A sequence is as new as the newest in the folder that its frames lie in.
is_stale() {
    local source=$input
    [ -e "$source" ] || source=$(dirname "$input")
    [ ! -f "$movie" ] || [ "$build/release/libexec/velorin" -nt "$movie" ] ||
        [ "$(cat "$movie.options" 2>/dev/null)" != "$settings" ] ||
        [ -n "$(find "$source" -maxdepth 1 -newer "$movie" -print -quit)" ]
}

# Output frame n shows source time n * speed, so it is a source frame itself where that is whole.
# Other laws of time get no borders.
draw_sheet() {
    local speed first time mark=null
    speed=$(value_of --speed)
    first=$(value_of --frames)
    case $first in
        *[x,]*) speed="" ;;
    esac
    first=${first%%[!0-9]*}
    first=${first:-0}
    if [ -n "$speed" ]; then
        time="(n+$first)*$speed"
        mark="drawbox=color=yellow:thickness=6:enable='lt(abs($time-round($time)),0.005)'"
    fi
    ffmpeg -v error -y -i "$movie" -frames:v 1 \
        -vf "select='lt(n,$sheetFrames)',scale=480:-2,$mark,tile=4x4:padding=4" "$sheet"
    echo "contact sheet: $sheet"
    echo "    the movie's first $sheetFrames frames, row by row from the top left"
    [ -z "$speed" ] || echo "    in a yellow border: source frames; without: computed between them"
}

install_missing "${buildPackages[@]}"
build_preset release velorin
if [ $# = 0 ]; then
    choose_default_clip
else
    input=$1
    shift
    options=("$@")
fi
set_names
settings=$(printf '%s\n' "$(realpath -m "$input")" "${options[@]}")
mkdir -p "$out"
if is_stale; then
    "$program" retime "$input" -o "$movie" --overwrite "${options[@]}"
    printf '%s\n' "$settings" >"$movie.options"
fi
echo "movie: $movie"
draw_sheet
