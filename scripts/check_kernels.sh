#!/usr/bin/env bash
# Fails where the kernels of an instruction set define something that the linker might take for the
# same thing of another set: then a processor could meet instructions that it does not have.
# scripts/check_kernels.sh BUILD
set -euo pipefail
failed=0
for set in x86_64_v3 x86_64_v4; do
    while read -r object; do
        if nm "$object" | awk -v set="$set" 'NF == 3 && $2 ~ /[WVuTDBR]/ && index($3, set) == 0' | grep .; then
            echo "check_kernels: $object shares these with other sets" >&2
            failed=1
        fi
    done < <(find "$1/CMakeFiles/velorin_$set.dir" -name '*.o')
done
exit "$failed"
