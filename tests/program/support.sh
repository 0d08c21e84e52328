# Sourced by the tests of this folder: a scratch folder, small clips and checks.
set -u
program=$1
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
failures=0

fail() {
    echo "FAILED: $*" >&2
    failures=$((failures + 1))
}

# Ends the test.
finish() { [ $failures -eq 0 ]; exit; }

# Writes frames 0 to FRAMES - 1 of a moving pattern to FOLDER/shot.NNNN.ppm, numbered from FIRST.
make_clip() {  # FOLDER WIDTH HEIGHT FRAMES FIRST
    mkdir -p "$1"
    local frame
    for ((frame = 0; frame < $4; ++frame)); do
        awk -v w="$2" -v h="$3" -v t="$frame" 'BEGIN {
            print "P3", w, h, 255
            for (y = 0; y < h; ++y)
                for (x = 0; x < w; ++x)
                    print int(128 + 90 * sin((x - 2 * t) / 3) * cos((y + t) / 4)),
                          int(128 + 90 * cos((x - 2 * t) / 5)), int(128 + 90 * sin((y + t) / 6))
        }' >"$1/shot.$(printf %04d $(($5 + frame))).ppm"
    done
}

# Runs the program with ARGUMENT... and expects CODE and, but for code 0, one line that begins with
# "velorin: " and holds TEXT.
expect() {  # CODE TEXT ARGUMENT...
    local code=$1 text=$2 got
    shift 2
    "$program" "$@" >"$scratch/stdout" 2>"$scratch/stderr" </dev/null
    got=$?
    [ $got -eq "$code" ] || fail "exit $got, not $code: $* ($(cat "$scratch/stderr"))"
    [ "$code" -eq 0 ] && return
    [ "$(wc -l <"$scratch/stderr")" -eq 1 ] || fail "not one line: $* ($(cat "$scratch/stderr"))"
    grep -q "^velorin: .*$text" "$scratch/stderr" ||
        fail "no \"$text\" in the message: $* ($(cat "$scratch/stderr"))"
    [ ! -s "$scratch/stdout" ] || fail "something on stdout: $*"
}

# The lines of a stamp file stand in the order in which frames came.
same_files() {  # FOLDER OTHER
    diff -rq -x '.*.velorin' "$1" "$2" >&2 || fail "$1 and $2 differ"
}
