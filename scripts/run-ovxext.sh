#!/usr/bin/env bash
# The main job: builds the ovxext tool natively and runs its demo, the life of extensions
# in a host, step by step. Extra arguments are passed to ovxext instead of "demo".
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh --linux-only
cmake --preset linux >/dev/null
cmake --build --preset linux --target ovxext >/dev/null
if (($#)); then
  exec build/linux/bin/ovxext "$@"
fi
exec build/linux/bin/ovxext demo
