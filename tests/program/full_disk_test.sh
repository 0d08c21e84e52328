#!/usr/bin/env bash
# A disk that fills up on the way loses nothing that was finished, and leaves nothing broken. Needs a
# small file system of its own, which goes with the name space that the test runs in.
if [ -z "${small_disks:-}" ]; then
    for flags in -m -Urm; do
        if unshare $flags mount -t tmpfs -o size=64k none /mnt 2>/dev/null; then
            small_disks=yes exec unshare $flags bash "$0" "$@"
        fi
    done
    echo "SKIPPED: no small file system can be mounted here" >&2
    exit 77
fi
. "$(dirname "$0")/support.sh" "$1"

in=$scratch/in
full=$scratch/full
make_clip "$in" 96 72 21 0
mkdir "$full"
mount -t tmpfs -o size=100k none "$full"

for format in png ppm exr; do
    whole=$scratch/whole-$format
    slow=slow.%04d.$format
    mkdir "$whole"
    expect 0 '' retime "$in" -o "$whole/$slow" --speed 0.1
    total=$(du -k "$whole" | cut -f 1)
    for part in 1 2 3; do
        mount -o remount,size=$((total * part / 4))k "$full"
        expect 1 'No space left.*make room' retime "$in" -o "$full/$slow" --speed 0.1 --resume -q
        "$program" verify "$full/$slow" | grep -E '^(unreadable|not telling)' &&
            fail "$format: broken frames on a full disk"
        [ -z "$(find "$full" -name '.*.velorin-*')" ] || fail "$format: left: $(ls -A "$full")"
    done
    mount -o remount,size=20m "$full"
    expect 0 '' retime "$in" -o "$full/$slow" --speed 0.1 --resume
    expect 0 '' verify "$full/$slow"
    same_files "$whole" "$full"
    find "$full" -type f -delete
done

# A log that cannot grow ends no render.
mkdir "$scratch/small" "$scratch/out"
mount -t tmpfs -o size=4k none "$scratch/small"
expect 0 '' retime "$in" -o "$scratch/out/$slow" --speed 0.1 --log "$scratch/small/log"
[ -s "$scratch/small/log" ] || fail "nothing in the log"
umount "$full" "$scratch/small"
finish
