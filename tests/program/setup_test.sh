#!/usr/bin/env bash
# A setup makes a run what the command line that wrote it made of it.
. "$(dirname "$0")/support.sh" "$1"

in=$scratch/in
make_clip "$in" 45 34 4 101
setup=$scratch/shot.toml
mkdir "$scratch"/{first,second,third}

expect 0 '' retime "$in" -o "$scratch/first/a.%04d.png" --speed 0.50 --interp energy --warp smart \
    --matte "$in/shot.%04d.ppm" --matte-shrink 1.5 --depth 16 --write-setup "$setup"
expect 0 '' retime "$in" -o "$scratch/second/a.%04d.png" --depth 16 --setup "$setup" \
    --write-setup "$scratch/again.toml"
same_files "$scratch/first" "$scratch/second"
cmp "$setup" "$scratch/again.toml" >&2 || fail "what was read is not what is written"
grep -q '^speed = 0.5$' "$setup" || fail "no speed in the setup"
grep -q '^depth' "$setup" && fail "an option of the run in the setup"

# The command line wins, for other verbs too.
expect 0 '' retime "$in" -o "$scratch/third/a.%04d.png" --setup "$setup" --speed 1
[ "$(ls "$scratch/third" | wc -l)" -eq 4 ] || fail "the setup's speed won"
expect 0 '' vectors "$in" -o "$scratch/flow.%04d.exr" --setup "$setup"
expect 0 '' compare "$in" --at 1.5 -o "$scratch/sheet.png" --setup "$setup"

# Written as the run begins, never over what is there, and with no output left behind.
expect 4 'again.toml' retime "$in" -o "$scratch/b.%04d.png" --write-setup "$scratch/again.toml"
expect 0 '' retime "$in" -o "$scratch/a.%04d.png" --write-setup "$scratch/again.toml" --overwrite
expect 3 'nowhere' retime "$scratch/nowhere" -o "$scratch/b.%04d.png" --write-setup "$scratch/c.toml"
expect 4 'a.0101.png' retime "$in" -o "$scratch/a.%04d.png" --write-setup "$scratch/c.toml"
[ ! -e "$scratch/c.toml" ] || fail "a setup of a run that never began"
expect 2 'UTF-8' retime "$in" -o "$scratch/b.%04d.png" --matte "$(printf 'a\377')" \
    --write-setup "$scratch/c.toml"

expect 3 'nowhere.toml' retime "$in" -o "$scratch/b.%04d.png" --setup "$scratch/nowhere.toml"
expect 3 'too long' retime "$in" -o "$scratch/b.%04d.png" --setup /dev/zero
printf 'quality = "full"\nsensitivty = 40\n' >"$scratch/bad.toml"
expect 2 'bad.toml, line 2: sensitivty .*nearest is sensitivity' \
    retime "$in" -o "$scratch/b.%04d.png" --setup "$scratch/bad.toml"
printf 'speed = 0\n' >"$scratch/bad.toml"
expect 2 'speed is in .*bad.toml, line 1' \
    retime "$in" -o "$scratch/b.%04d.png" --setup "$scratch/bad.toml"
[ ! -e "$scratch/b.0101.png" ] || fail "frames of a refused run"
finish
