#!/usr/bin/env bash
# Fails with what differs where the plug-in shows other words than its list, asks the host for other
# calls than the host has, leaves its own words open to those of other plug-ins, or needs a library
# beyond the C and C++ runtime: scripts/check_exports.sh PLUGIN.so
set -euo pipefail
[ $# = 1 ] || { echo "usage: scripts/check_exports.sh PLUGIN.so" >&2; exit 2; }
plugin=$1
map="$(dirname "$0")/../src/host/velorin_spark.map"
failed=0

hostCalls=(sparkAPIVersionInfo sparkCallingEnv sparkChClear sparkControlUpdate sparkCopyBuffer
    sparkCursorBusy sparkDisableParameter sparkEnableParameter sparkError sparkGetCurveValue
    sparkGetCurveValuef sparkGetFrame sparkLoadSetup sparkMemGetBuffer sparkMemRegisterBuffer
    sparkMessage sparkMpFork sparkMpInfo sparkProgramGetName sparkSaveSetup sparkSetCurveKeyf
    sparkViewingDraw)
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

exported=$(sed -n '/^global:/,/^local:/p' "$map" | grep -o '[A-Za-z0-9_]*;' | tr -d ';')
same "words of the plug-in" "$exported" "$(nm -D --defined-only "$plugin" | awk '{ print $3 }')"
same "calls of the host" "$(printf '%s\n' "${hostCalls[@]}")" \
    "$(nm -D --undefined-only "$plugin" | awk '$2 ~ /^spark/ { print $2 }')"
none "words that another library can replace" "$(readelf -rW "$plugin" |
    awk 'NF > 4 { print $5 }' | grep -Fx -f <(echo "$exported") | sort -u || true)"
none "libraries beyond the runtime" "$(readelf -dW "$plugin" |
    sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' | grep -Ev "$runtime" || true)"
exit $failed
