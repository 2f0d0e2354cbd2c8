#!/usr/bin/env bash
# The ABI baseline of libOvxComponent.so, kept in abi/ and compared with libabigail.
#
#   scripts/abi-baseline.sh check [BUILD]   fails on a change that breaks hosts built
#                                          against the baseline; reports compatible ones
#   scripts/abi-baseline.sh renew [BUILD]   writes the baseline from BUILD's library
#
# BUILD is a build folder with debug information (default build/linux-sdk). Renew on
# purpose only: after a compatible addition, or with a new major version (SOVERSION).
set -euo pipefail
cd "$(dirname "$0")/.."
mode=${1:?usage: scripts/abi-baseline.sh check|renew [BUILD]}
build=${2:-build/linux-sdk}
baseline=abi/libOvxComponent.so.abi
library=$(readlink -f "$build/bin/libOvxComponent.so")

# The standard library's types stay in: a public type reached through std::span or
# std::vector changes the ABI as much as one passed directly.
options=(--exported-interfaces-only --no-show-locs)

case $mode in
renew)
  abidw "${options[@]}" --no-corpus-path --no-comp-dir-path --type-id-style hash --out-file "$baseline" "$library"
  echo "wrote $baseline from $library"
  ;;
check)
  # abidiff's status is a bit set: 1 error, 2 usage, 4 changed, 8 incompatible change.
  # Additions are left out of the first comparison: any change that remains touches an
  # interface that hosts built against the baseline use.
  set +e
  report=$(abidiff "${options[@]}" --no-added-syms "$baseline" "$library")
  status=$?
  set -e
  if ((status & 3)); then
    echo "$report"
    echo "FAILED: abidiff could not compare $library with $baseline" >&2
    exit 1
  elif ((status & 12)); then
    echo "$report"
    echo "FAILED: the ABI changed; hosts built against $baseline would break." >&2
    echo "Undo the change, or raise the major version and run: scripts/abi-baseline.sh renew" >&2
    exit 1
  elif ! abidiff "${options[@]}" "$baseline" "$library" >/dev/null; then
    echo "   the ABI grew by additions only; record them with: scripts/abi-baseline.sh renew"
  else
    echo "   the ABI is the baseline's"
  fi
  ;;
*)
  echo "unknown mode $mode" >&2
  exit 2
  ;;
esac
