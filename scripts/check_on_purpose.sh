#!/usr/bin/env bash
# Fails where docs/numbers.md and the sources differ in what is marked On purpose: each file has as
# many lines in the list there as it has marks.
set -euo pipefail
cd "$(dirname "$0")/.."

marked=$(grep -rio 'on purpose' src | cut -d: -f1 | sed 's|^src/||' | sort | uniq -c)
# shellcheck disable=SC2016
listed=$(sed -n '/^## On purpose/,$p' docs/numbers.md | grep -o '^- `[^`]*`' | tr -d '`' |
    cut -c3- | sort | uniq -c)
diff <(echo "$listed") <(echo "$marked") || {
    echo "check_on_purpose: docs/numbers.md lists (<) what src does not mark (>)" >&2
    exit 1
}
