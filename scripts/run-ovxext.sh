#!/usr/bin/env bash
# Builds the ovxext command-line tool natively and runs it: its version, then its help.
# Extra arguments are passed to ovxext instead.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh --linux-only
cmake --preset linux >/dev/null
cmake --build --preset linux --target ovxext >/dev/null
if (($#)); then
  exec build/linux/bin/ovxext "$@"
fi
build/linux/bin/ovxext --version
build/linux/bin/ovxext help
