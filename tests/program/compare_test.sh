#!/usr/bin/env bash
# One moment by every method on one sheet.
. "$(dirname "$0")/support.sh" "$1"

in=$scratch/in
out=$scratch/out
mkdir "$out"
make_clip "$in" 40 30 3 101

expect 2 '--at' compare "$in" -o "$out/sheet.png"
expect 2 '2, the last frame' compare "$in" --at 3 -o "$out/sheet.png"
expect 2 '40x30' compare "$in" --at 0.5 -o "$out/sheet.png" --crop 30,0,11x10
expect 2 '--interp' compare "$in" --at 0.5 -o "$out/sheet.png" --interp blend
expect 2 'sheet.mov' compare "$in" --at 0.5 -o "$out/sheet.mov"
expect 3 'nowhere' compare "$scratch/nowhere" --at 0.5 -o "$out/sheet.png"
expect 1 'missing' compare "$in" --at 0.5 -o "$out/missing/sheet.png"
expect 1 'input' compare "$in" --at 0.5 -o "$in/shot.0102.ppm" --overwrite
echo mine >"$out/sheet.png"
expect 4 'sheet.png' compare "$in" --at 0.5 -o "$out/sheet.png"
grep -q mine "$out/sheet.png" || fail "an existing picture was overwritten"
[ "$(ls -A "$out")" = sheet.png ] || fail "something is left: $(ls -A "$out")"

expect 0 '' compare "$in" --at 1 -o "$out/on.png" --progress none
grep -q 'lies on a source frame' "$scratch/stderr" || fail "nothing said of a time on a frame"

# Each cell is the frame that `retime` writes by its method, three by three in the order below.
hex_rows() {  # FILE, a binary PPM
    local width
    width=$(head -n 2 "$1" | tail -n 1 | cut -d ' ' -f 1)
    tail -c +$(($(head -n 3 "$1" | wc -c) + 1)) "$1" | od -An -v -tx1 -w$((3 * width)) | tr -d ' '
}
places_in() {  # SHEET ROW COLUMN: lines of ROW COLUMN X Y, from the cell's rows on stdin
    awk -v row="$2" -v column="$3" 'NR == FNR { cell[NR] = $0; rows = NR; next }
        { sheet[FNR] = $0; last = FNR }
        END {
            for (y = 1; y <= last - rows + 1; ++y) {
                x = 0
                while (step = index(substr(sheet[y], x + 1), cell[1])) {
                    x += step
                    for (i = 2; i <= rows; ++i)
                        if (substr(sheet[y + i - 1], x, length(cell[i])) != cell[i]) break
                    if (i > rows) print row, column, x, y
                }
            }
        }' - "$1"
}
expect 0 '' compare "$in" --at 0.5 -o "$out/sheet.ppm" --threads 1
hex_rows "$out/sheet.ppm" >"$scratch/sheet"
row=0
for interp in nearest blend energy; do
    column=0
    for warp in inverse smart forward; do
        expect 0 '' retime "$in" -o "$scratch/one.%d.ppm" --speed 0.5 --frames 1 --start-number 0 \
            --interp $interp --warp $warp --threads 1 --overwrite
        hex_rows "$scratch/one.1.ppm" | places_in "$scratch/sheet" $row $column
        column=$((column + 1))
    done
    row=$((row + 1))
done >"$scratch/places"
mapfile -t xs < <(cut -d ' ' -f 3 "$scratch/places" | sort -nu)
mapfile -t ys < <(cut -d ' ' -f 4 "$scratch/places" | sort -nu)
[ ${#xs[@]} -eq 3 ] && [ ${#ys[@]} -eq 3 ] || fail "cells at ${xs[*]}, ${ys[*]}"
for row in 0 1 2; do
    for column in 0 1 2; do
        grep -qx "$row $column ${xs[column]} ${ys[row]}" "$scratch/places" ||
            fail "row $row, column $column is another picture"
    done
done

"$program" compare --help | head -n 2 | grep -q 'velorin compare shot' || fail "help"
finish
