#!/usr/bin/env bash
# Install the test dependencies, configure and build a preset, run the whole
# test suite.
#   bash scripts/test.sh [preset]    preset: release (default), debug, asan, tsan
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

preset=${1:-release}
case "$preset" in
    release | debug | asan | tsan) ;;
    *)
        echo "usage: $0 [release|debug|asan|tsan]" >&2
        exit 2
        ;;
esac

bash scripts/install-deps.sh --test
echo "== configure ($preset)"
cmake --preset "$preset"
echo "== build ($preset)"
cmake --build --preset "$preset"
echo "== test ($preset)"
ctest --preset "$preset"
