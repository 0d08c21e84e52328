#!/usr/bin/env bash
# Fails with what differs where the plug-in shows other words than its list, asks the host for other
# calls than the host has, leaves its own words open to those of other plug-ins, or needs a library
# beyond the C and C++ runtime: scripts/check_exports.sh PLUGIN.so
set -euo pipefail
[ $# = 1 ] || { echo "usage: scripts/check_exports.sh PLUGIN.so" >&2; exit 2; }
plugin=$1
failed=0

hostCalls=(sparkAPIVersionInfo sparkCallingEnv sparkChClear sparkControlUpdate sparkCopyBuffer
    sparkCursorBusy sparkDisableParameter sparkEnableParameter sparkError sparkGetCurveValue
    sparkGetCurveValuef sparkGetFrame sparkLoadSetup sparkMemGetBuffer sparkMemRegisterBuffer
    sparkMessage sparkMpFork sparkMpInfo sparkProgramGetName sparkSaveSetup sparkSetCurveKeyf
    sparkViewingDraw)
words=(Width Height _Cache1 _Cache2
    SparkInitialise SparkUnInitialise SparkMemoryTempBuffers SparkClips SparkProcessStart
    SparkIsInputFormatSupported SparkProcess
    sparkCallback sparkAltMotionCallback sparkTimeCallback sparkFGMaskCallback
    sparkFrameSpeedInteract sparkSceneCutCallback sparkResetCallback
    SparkPush{6,7,9,10,20,21,22,23,24,34,35} SparkInt{8,15} SparkPup{13,14,16,17,27,28,29,30,31,43}
    SparkBoolean{18,19,36} SparkFloat{25,26,32,42,44,45})
runtime='^(libstdc\+\+|libm|libgcc_s|libc|libpthread|ld-linux.*)\.so(\.[0-9]+)?$'

# same WHAT EXPECTED FOUND: both with a word on each line.
same() {
    diff <(sort <<<"$2") <(sort <<<"$3") && return
    echo "check_exports: $1: expected (<) and found (>) differ" >&2
    failed=1
}

# none WHAT FOUND
none() {
    [ -n "$2" ] || return 0
    echo "check_exports: $1:" "$2" >&2
    failed=1
}

exported=$(printf '%s\n' "${words[@]}")
same "words of the plug-in" "$exported" "$(nm -D --defined-only "$plugin" | awk '{ print $3 }')"
same "calls of the host" "$(printf '%s\n' "${hostCalls[@]}")" \
    "$(nm -D --undefined-only "$plugin" | awk '$2 ~ /^spark/ { print $2 }')"
none "words that another library can replace" "$(readelf -rW "$plugin" |
    awk 'NF > 4 { print $5 }' | grep -Fx -f <(echo "$exported") | sort -u || true)"
none "libraries beyond the runtime" "$(readelf -dW "$plugin" |
    sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' | grep -Ev "$runtime" || true)"
exit $failed
