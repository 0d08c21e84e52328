#!/usr/bin/env bash
# Fails with file:line where an include points against the arrows of docs/architecture.md, where the
# core includes anything but itself and the standard library (and, for its locks, threads; for its
# instruction sets, the compiler's cpuid), or where intrinsics leave image/float4.h and lanes.h. Looks
# at src, or at a copy of it: scripts/check_includes.sh [SRC].
set -euo pipefail
cd "${1:-$(dirname "$0")/../src}"

# shellcheck disable=SC2016
find . -name '*.h' -o -name '*.cpp' | sed 's|^\./||' | sort | xargs awk '
    BEGIN {
        allowed["image"] = "image"
        allowed["filter"] = "filter image"
        allowed["flow"] = "flow image filter"
        allowed["warp"] = "warp image filter flow"
        allowed["engine"] = "engine image filter flow warp"
        allowed["host"] = "host engine image"
        allowed["standalone"] = "standalone image"
        allowed["spark_host"] = "spark_host host image standalone"
        allowed["media"] = "media image"
        allowed["cli"] = "cli engine image standalone media spark_host"
        split("image filter flow warp engine host", names, " ")
        for (i in names) core[names[i]] = 1
    }
    function complain(text) {
        printf "src/%s:%d: %s: %s\n", FILENAME, FNR, text, $0
        failed = 1
    }
    FNR == 1 {
        folder = FILENAME
        sub("/.*", "", folder)
        if (!(folder in allowed)) complain("this folder has no arrows")
    }
    !/^[ \t]*#[ \t]*include/ { next }
    /<[a-z0-9]*intrin\.h>/ || /<arm_neon\.h>/ {
        if (FILENAME !~ "^image/(float4|lanes)\\.h$") complain("intrinsics belong in image/lanes.h")
        next
    }
    /"/ {
        split($0, quoted, "\"")
        target = quoted[2]
        if (target !~ "/") complain("name the path from src/")
        if (folder == "spark_host" && target ~ "^host/" && target != "host/spark_api.h")
            complain("of the plug-in its host knows the records and the calls")
        sub("/.*", "", target)
        if (index(" " allowed[folder] " ", " " target " ") == 0)
            complain(folder " may include " allowed[folder])
        next
    }
    # The headers of the standard library have neither folder nor suffix.
    /<cpuid\.h>/ && FILENAME == "image/instruction_set.cpp" { next }
    /<pthread\.h>/ && FILENAME ~ "^image/locks" { next }
    /</ {
        if (folder in core && $0 !~ /<[a-z_]+>/) complain("the core needs the standard library alone")
    }
    END { exit failed }
' || { echo "check_includes: includes point the wrong way" >&2; exit 1; }
