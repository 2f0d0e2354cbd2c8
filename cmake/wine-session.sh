#!/bin/sh
# Starts or stops the one persistent wineserver of a test run, in the prefix given by
# WINEPREFIX. "start" also creates the prefix on first use.
set -eu
here=$(dirname "$0")
. "$here/wine-env.sh"

case "${1:-}" in
  # A server left by another use of the prefix may be one that ends by itself: the run's
  # own is started instead.
  start) wineserver -k 2>/dev/null && wineserver -w; "$here/wine-run.sh" --prepare-only ;;
  stop) wineserver -k 2>/dev/null || true ;;
  *) echo "usage: $0 start|stop" >&2; exit 2 ;;
esac
