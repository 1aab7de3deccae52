#!/usr/bin/env bash
# Command 1: install what is missing, build, and run the main job on its
# embedded default.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/setup.sh"

"$root/scripts/build.sh" release qrl qrl-conduit
exec "$root/build/release/apps/qrl/qrl" demo "$@"
