#!/usr/bin/env bash
# Builds the release preset and runs every test; installs first what a bare Debian 12 lacks. With
# --full runs all that a change must pass (.ci/run).
source "$(dirname "$0")/setup.sh"

case "${1:-}" in
    "") ;;
    --full) exec bash "$root/.ci/run" ;;
    *)
        echo "usage: scripts/test.sh [--full]" >&2
        exit 2
        ;;
esac
install_missing "${buildPackages[@]}"
build_preset release
run_tests release
