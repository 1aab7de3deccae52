#!/usr/bin/env bash
# Configures and builds one configuration: release (default) or asan
# (AddressSanitizer + UndefinedBehaviorSanitizer, used by the tests).
# Usage: scripts/build.sh [release|asan] [ninja targets...]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
config=${1:-release}
shift || true

case "$config" in
  release) flags=(-DCMAKE_BUILD_TYPE=RelWithDebInfo) ;;
  asan) flags=(-DCMAKE_BUILD_TYPE=Debug -DQRL_SANITIZE=ON) ;;
  *) echo "build.sh: unknown configuration '$config' (release or asan)" >&2; exit 2 ;;
esac

build="$root/build/$config"
if [ ! -f "$build/build.ninja" ]; then
  cmake -S "$root" -B "$build" -G Ninja "${flags[@]}" >/dev/null
fi
cmake --build "$build" -- "$@"
