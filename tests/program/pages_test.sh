#!/usr/bin/env bash
# What the program tells of itself and of clips: manual page, completions, version, info, colours.
. "$(dirname "$0")/support.sh" "$1"

# Every option of every verb is in the manual page and completed by each shell.
"$program" man >"$scratch/velorin.1"
plain=$(sed 's/\\-/-/g; s/\\f[BIR]//g' "$scratch/velorin.1")
for shell in bash zsh fish; do
    "$program" completion $shell >"$scratch/$shell" || fail "completion $shell"
    ! command -v $shell >/dev/null || $shell -n "$scratch/$shell" || fail "$shell cannot read it"
done
verbs=$("$program" --help | sed -n '/^Verbs:/,/^$/s/^  \([a-z-]*\).*/\1/p' | grep .)
[ "$(wc -w <<<"$verbs")" -ge 8 ] || fail "verbs: $verbs"
for verb in $verbs; do
    for option in $("$program" "$verb" --help | sed -n 's/^  [- ][a-z ][, ] \(--[a-z-]*\).*/\1/p'); do
        grep -q -- "$option" <<<"$plain" || fail "$option is not in the manual page"
        grep -q -- "${option}[^a-z-]" "$scratch/bash" || fail "$option is not in bash's completion"
        grep -q -- "${option}[^a-z-]" "$scratch/zsh" || fail "$option is not in zsh's completion"
        grep -q -- "'__velorin_verb $verb'.* -l ${option#--} " "$scratch/fish" ||
            fail "$option is not in fish's completion of $verb"
    done
done
for code in 0 1 2 3 4 5 75 130; do
    grep -qx "\\\\fB$code\\\\fR" "$scratch/velorin.1" || fail "exit code $code is not told"
done
expect 2 'bash, zsh, fish' completion tcsh
expect 2 'one name too many' man page

completes() {  # WORDS WORD...
    local wanted=$1 said
    shift
    # shellcheck disable=SC1091
    said=$(. "$scratch/bash"; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _velorin 2>/dev/null
        echo "${COMPREPLY[*]}")
    [ "$said" = "$wanted" ] || fail "completion of $*: $said"
}
completes retime velorin re
completes '--interp --input-fields' velorin retime in --in
completes 'blend nearest energy' velorin retime in --interp ''
completes energy velorin retime in --interp = e
completes '' velorin retime in --speed -
completes 'bash zsh fish' velorin completion ''

"$program" --version | head -n 1 | grep -qx "velorin [0-9.]*" ||
    fail "the first line of --version"
for fact in libavformat OpenImageIO toml++ instructions exr ProRes; do
    "$program" --version | grep -q -F "$fact" || fail "--version does not tell $fact"
done

VELORIN_INSTRUCTION_SET=sse expect 2 "VELORIN_INSTRUCTION_SET is sse; give baseline" --version

# The version without the libraries for clips; all else by the file beside it, which a link finds and
# a copy does not.
ldd "$program" | grep -E 'libav|OpenImageIO' && fail "the program begins with libraries for clips"
ln -s "$program" "$scratch/link"
"$scratch/link" --help | grep -q retime || fail "no help through a link"
cp "$program" "$scratch/copy"
program=$scratch/copy expect 1 "libexec/velorin/velorin: .*No such file" --help

# Of a clip.
in=$scratch/in
make_clip "$in" 45 34 4 101
expect 0 '' retime "$in" -o "$scratch/movie.mkv"
tells() {  # LINE CLIP [--json]
    "$program" info "${@:2}" | grep -qxE -- "$1" || fail "info ${*:2} without $1"
}
tells 'frames +4' "$in"
tells 'first number +101' "$in"
tells 'picture +0,0,45x34' "$in"
tells '  "height": 34,' "$in" --json
tells 'channel names +R, G, B' "$in"
tells 'scene-linear +no' "$in"
tells 'kind +movie' "$scratch/movie.mkv"
expect 0 '' retime "$in" -o "$scratch/movie.mov"
tells 'matrix +bt709' "$scratch/movie.mov"
tells '  "range": "limited",' "$scratch/movie.mov" --json
rm "$in/shot.0103.ppm"
tells 'missing numbers +103' "$in"
tells '  "missingNumbers": \[103\],' "$in" --json
tells '  "rate": "24",' "$scratch/movie.mkv" --json
tells '  "seconds": 0.167,' "$scratch/movie.mkv" --json
! command -v python3 >/dev/null ||
    "$program" info "$scratch/movie.mkv" --json | python3 -m json.tool >/dev/null ||
    fail "info --json is no JSON"
expect 3 'nowhere' info "$scratch/nowhere"

# Colours are for terminals whose user wants them.
escape=$(printf '\033')
onTerminal() { TERM=xterm script -qec "$program retim" /dev/null; }
if script -qec true /dev/null >/dev/null 2>&1; then
    onTerminal | grep -q "$escape\[" || fail "no colour on a terminal"
    NO_COLOR=1 onTerminal | grep -q "$escape" && fail "colour in spite of NO_COLOR"
fi
"$program" retim 2>&1 | grep -q "$escape" && fail "colour in a pipe"
finish
