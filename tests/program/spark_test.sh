#!/usr/bin/env bash
# A plug-in's panel and its pictures, as a compositing host shows them, beside those of retime.
. "$(dirname "$0")/support.sh" "$1"
plugin=$2

in=$scratch/in
make_clip "$in" 48 32 4 101
# Red is an edge, green a disc, blue a texture; all move the other way.
mkdir "$scratch/back"
for frame in 0 1 2 3; do
    awk -v t=$frame 'BEGIN {
        print "P3 48 32 255"
        for (y = 0; y < 32; ++y)
            for (x = 0; x < 48; ++x)
                print (x + 2 * t < 30 ? 255 : 0), ((x + 3 * t - 30)^2 + (y - 15)^2 < 90 ? 255 : 0),
                      int(128 + 90 * sin((x + 2 * t) / 3) * cos((y - t) / 4))
    }' >"$scratch/back/b.$frame.ppm"
done
make_clip "$scratch/wide" 49 32 4 0
make_clip "$scratch/short" 48 32 3 0
mkdir "$scratch/half" "$scratch/half-back" "$scratch/out" "$scratch/plain"
expect 0 '' retime "$in" -o "$scratch/half/in.%d.exr" --depth half
expect 0 '' retime "$scratch/back" -o "$scratch/half-back/in.%d.exr" --depth half

cat >"$scratch/panel" <<'END'
NAME            KIND     TITLE                        VALUE            STEP   FLAGS  CALLBACK                 RANGE
SparkPush6      heading  Display
SparkPush7      heading  Mark Segments
SparkInt8       integer  BurnId %0d                   1                1             sparkCallback            1 to 5
SparkPush9      heading  Input Fields
SparkPush10     heading  Output Fields
SparkPup13      menu                                  1 Output Time                  sparkTimeCallback        Source Time | Output Time | Background Only | Foregrond Only
SparkPup14      menu                                  0 Set Cut                      sparkSceneCutCallback    Set Cut | Cut A (1) | Cut B (2) | Cut C (3) | No MV:Use Nearest (4) | No MV:Frame Blend (5)
SparkInt15      integer  Menu Anim %0d                0                1      16     sparkCallback            0 to 5
SparkPup16      menu                                  0 None                         sparkCallback            None | Lower Field (2) First | Upper Field (1) First
SparkPup17      menu                                  0 None                         sparkCallback            None | Lower Field (2) First | Upper Field (1) First
SparkBoolean18  switch   Use ALT Motion (Back)        0                              sparkAltMotionCallback   0 to 1
SparkBoolean19  switch   Cache Intermediate Results   1                              sparkCallback            0 to 1
SparkPush20     heading  Interp Method
SparkPush21     heading  Vector Quality
SparkPush22     heading  Warping Method
SparkPush23     heading  Image Prep
SparkPush24     heading  Stretch Method
SparkFloat25    float    Frame %7.2f                  1                0.5           sparkCallback            1 to 30000
SparkFloat26    float    Motion Sensitivity %6.2f     70               0.05          sparkCallback            0 to 100
SparkPup27      menu                                  1 Blend                        sparkCallback            Nearest | Blend | Weighted Energy Blend
SparkPup28      menu                                  4 Best                         sparkCallback            No Motion Vectors | Sloppy | Medium | High | Best
SparkPup29      menu                                  0 Inverse                      sparkCallback            Inverse | Inverse + Smart Blend | Forward
SparkPup30      menu                                  0 None                         sparkCallback            None | Enhance Edge + Contrast
SparkPup31      menu                                  1 Speed Stretch                sparkFrameSpeedInteract  Key-Framed Stretch | Speed Stretch
SparkFloat32    float    Speed Factor %6.3f           1                0.005         sparkCallback            0 to 10
SparkPush34     button   Reset                                                       sparkResetCallback
SparkPush35     heading  Motion Blur
SparkBoolean36  switch   Use FG Matte                 0                              sparkFGMaskCallback      0 to 1
SparkFloat42    float    Compensate %5.3f             0                0.005         sparkCallback            0 to 5
SparkPup43      menu                                  0 FG Matte Red                 sparkCallback            FG Matte Red | FG Matte Green | FG Matte Blue
SparkFloat44    float    FG Motion Sensitivity %6.2f  70               0.05          sparkCallback            0 to 100
SparkFloat45    float    FG Inv Matte Shrink %4.2f    0                0.01          sparkCallback            0 to 4
END
"$program" panel-dump "$plugin" | diff "$scratch/panel" - >&2 || fail 'another panel'
"$program" panel-dump "$plugin" --json >"$scratch/panel.json"
for text in '"name"' '"callback"' '"kind"'; do
    [ "$(grep -c "$text" "$scratch/panel.json")" -eq 32 ] || fail "not 32 times $text in JSON"
done
float='{"name": "SparkFloat32", "kind": "float", "number": 32, "title": "Speed Factor %6.3f"'
float+=', "value": 1, "min": 0, "max": 10, "increment": 0.005, "flags": 0'
float+=', "callback": "sparkCallback"},'
grep -qF "$float" "$scratch/panel.json" || fail 'no Speed Factor in JSON'

# Renders KIND of pictures, ppm or exr, through the plug-in with a setup of LINES and by retime with
# OPTION..., and compares the files.
alike() {  # KIND LINES OPTION...
    local kind=$1 lines=$2 front=$in back=$scratch/back
    shift 2
    if [ "$kind" = exr ]; then front=$scratch/half back=$scratch/half-back; fi
    rm -rf "$scratch/host" "$scratch/program"
    mkdir "$scratch/host" "$scratch/program"
    printf '%b' "# a shot\n$lines" >"$scratch/setup"
    expect 0 '' spark-render "$plugin" --front "$front" --back "$back" --matte "$back" \
        --length 7 --threads 2 --setup "$scratch/setup" \
        --set 'SparkFloat32 = 0.5' -o "$scratch/host/f.%d.$kind"
    expect 0 '' retime "$front" --speed 0.5 --length 7 -o "$scratch/program/f.%d.$kind" "$@"
    [ "$(ls "$scratch/host" | wc -l)" -eq 7 ] || fail "not 7 files: $*"
    if [ "$kind" = exr ]; then
        # Retime tells in them how they were made; a host at its speed of 1 passes the pixels on.
        expect 0 '' spark-render "$plugin" --front "$scratch/program" --overwrite \
            -o "$scratch/plain/f.%d.exr"
        same_files "$scratch/host" "$scratch/plain"
    else
        same_files "$scratch/host" "$scratch/program"
    fi
}
alike ppm ''
alike exr ''
alike exr 'SparkPup27 = 2\nSparkPup29 = 2\n' --interp energy --warp forward
alike ppm 'SparkPup27 = 0\nSparkPup29 = 1\nSparkPup28 = 2\nSparkPup30 = 1\n' \
    --interp nearest --warp smart --quality medium --prep enhance
alike ppm 'SparkPup16 = 1\nSparkPup17 = 2\nSparkFloat42 = 1.5\nSparkFloat26 = 30\n' \
    --input-fields lower --output-fields upper --compensate 1.5 --sensitivity 30
alike ppm 'SparkBoolean36 = 1\nSparkPup43 = 1\nSparkFloat44 = 90\nSparkFloat45 = 1\n' \
    --matte "$scratch/back" --matte-channel green --fg-sensitivity 90 --matte-shrink 1
alike exr 'SparkBoolean36 = 1\nSparkPup13 = 2\nSparkBoolean18 = 1\n' \
    --matte "$scratch/half-back" --view background --motion-from "$scratch/half-back"

render=(spark-render "$plugin" -o "$scratch/out/f.%d.png")
expect 0 '' "${render[@]}" --front "$in" --frames 1-2 --start-number 5 --format 12
[ "$(ls "$scratch/out" | tr '\n' ' ')" = 'f.6.png f.7.png ' ] || fail 'other frames are there'
expect 4 'f.6.png' "${render[@]}" --front "$in" --frames 1 --start-number 5
expect 2 '--front CLIP is missing' "${render[@]}"
expect 2 'cannot hold frames of --format half' "${render[@]}" --front "$scratch/half"
expect 2 '--set SparkFloat32 = 11: give a value from 0 to 10' "${render[@]}" --front "$in" \
    --set 'SparkFloat32 = 11'
expect 2 '--set SparkFloat99 is no control of the plug-in' "${render[@]}" --front "$in" \
    --set 'SparkFloat99 at 3 = 1'
printf '\nSparkPup13 = x\n' >"$scratch/setup"
expect 3 'setup:2: SparkPup13 = x: give a whole number' "${render[@]}" --front "$in" \
    --setup "$scratch/setup"
expect 3 'wide: --back has frames of 49x32' "${render[@]}" --front "$in" --back "$scratch/wide"
expect 3 'short: --matte has 3 frames' "${render[@]}" --front "$in" --matte "$scratch/short"
expect 3 'panel: is no plug-in' panel-dump "$scratch/panel"
expect 3 'nowhere: is no plug-in' panel-dump "$scratch/nowhere"
expect 2 'PLUGIN.so is missing' panel-dump
finish
