#!/usr/bin/env bash
# Fails where the kernels of an instruction set define something that the linker might take for the
# same thing of another set: then a processor could meet instructions that it does not have.
# scripts/check_kernels.sh BUILD
set -euo pipefail
failed=0
for set in x86_64_v3 x86_64_v4; do
    objects=$(find "$1/CMakeFiles/velorin_$set.dir" -name '*.o')
    [ -n "$objects" ] || { echo "check_kernels: $1 has no kernels of $set" >&2; exit 1; }
    while read -r object; do
        symbols=$(nm --defined-only "$object")
        if awk -v set="$set" '$2 ~ /[WVuTDBR]/ && index($3, set) == 0' <<<"$symbols" | grep .; then
            echo "check_kernels: $object shares these with other sets" >&2
            failed=1
        fi
    done <<<"$objects"
done
exit "$failed"
