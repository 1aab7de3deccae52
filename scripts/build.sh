#!/usr/bin/env bash
# Configures and builds one configuration: release (default) or asan
# (AddressSanitizer + UndefinedBehaviorSanitizer, used by the tests). The asan
# configuration is built with clang, so the same build also gives the libFuzzer
# programs (<target>_fuzzer) next to the corpus replays the tests run.
# Usage: scripts/build.sh [release|asan] [ninja targets...]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
config=${1:-release}
shift || true

case "$config" in
  release) flags=(-DCMAKE_BUILD_TYPE=RelWithDebInfo) ;;
  asan) flags=(-DCMAKE_BUILD_TYPE=Debug -DQRL_SANITIZE=ON -DQRL_FUZZ=ON
              -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++) ;;
  *) echo "build.sh: unknown configuration '$config' (release or asan)" >&2; exit 2 ;;
esac

# A compiler cache speeds up rebuilds where one is installed; CI has none.
if command -v ccache >/dev/null 2>&1; then
  flags+=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_C_COMPILER_LAUNCHER=ccache)
fi

build="$root/build/$config"
if [ ! -f "$build/build.ninja" ]; then
  cmake -S "$root" -B "$build" -G Ninja "${flags[@]}" >/dev/null
fi
cmake --build "$build" -- "$@"
