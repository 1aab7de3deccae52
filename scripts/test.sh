#!/usr/bin/env bash
# Command 2: install what is missing, build with the sanitizers, run every test.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/setup.sh"
"$root/scripts/build.sh" asan
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
cd "$root/build/asan"
ctest --output-on-failure -j "$(nproc)" --timeout 600
