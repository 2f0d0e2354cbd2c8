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
# Only the types that the public headers declare are part of the ABI.
headers=(--headers-dir include --headers-dir "$build/include")

case $mode in
renew)
  abidw "${headers[@]}" --drop-private-types --exported-interfaces-only --no-show-locs --no-corpus-path \
    --no-comp-dir-path --type-id-style hash --out-file "$baseline" "$library"
  echo "wrote $baseline from $library"
  ;;
check)
  set +e
  report=$(abidiff --headers-dir2 include --headers-dir2 "$build/include" --drop-private-types \
    --exported-interfaces-only --no-show-locs "$baseline" "$library")
  status=$?
  set -e
  # abidiff's status is a bit set: 1 error, 2 usage, 4 changed, 8 incompatible change.
  if ((status & 3)); then
    echo "$report"
    echo "FAILED: abidiff could not compare $library with $baseline" >&2
    exit 1
  elif ((status & 8)); then
    echo "$report"
    echo "FAILED: the ABI changed incompatibly; hosts built against $baseline would break." >&2
    echo "Undo the change, or raise the major version and run: scripts/abi-baseline.sh renew" >&2
    exit 1
  elif ((status & 4)); then
    echo "$report"
    echo "   the ABI grew compatibly; record it with: scripts/abi-baseline.sh renew"
  else
    echo "   the ABI is the baseline's"
  fi
  ;;
*)
  echo "unknown mode $mode" >&2
  exit 2
  ;;
esac
