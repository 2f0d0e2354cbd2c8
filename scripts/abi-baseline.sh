#!/usr/bin/env bash
# The ABI baselines, kept in abi/: libOvxComponent.so's whole ABI, compared with
# libabigail, and OvxComponent.dll's list of exported names (libabigail reads no DLLs, so
# on Windows a removed or renamed export is caught, a changed type is not).
#
#   scripts/abi-baseline.sh check [BUILD]   fails on a change that breaks hosts built
#                                          against the baseline; reports additions
#   scripts/abi-baseline.sh renew [BUILD]   writes the baseline from BUILD's library
#
# BUILD is a build folder with debug information (default build/linux-sdk; the windows
# preset's build/windows for the DLL). Renew on purpose only: after a compatible addition,
# or with a new major version (SOVERSION).
set -euo pipefail
export LC_ALL=C  # one sort order for the export lists
cd "$(dirname "$0")/.."
mode=${1:?usage: scripts/abi-baseline.sh check|renew [BUILD]}
build=${2:-build/linux-sdk}

if [[ -f $build/bin/OvxComponent.dll ]]; then
  baseline=abi/OvxComponent.dll.exports
  exports=$(grep -v '^EXPORTS' "$build/src/OvxComponent.def" | sed -E 's/^ +//; s/ @[0-9]+.*$//' | sort)
  case $mode in
  renew)
    echo "$exports" >"$baseline"
    echo "wrote $baseline from $build/src/OvxComponent.def"
    ;;
  check)
    removed=$(comm -23 "$baseline" <(echo "$exports"))
    added=$(comm -13 "$baseline" <(echo "$exports"))
    if [[ -n $removed ]]; then
      echo "$removed"
      echo "FAILED: OvxComponent.dll no longer exports these; hosts built against $baseline would not load." >&2
      echo "Undo the change, or raise the major version and run: scripts/abi-baseline.sh renew $build" >&2
      exit 1
    elif [[ -n $added ]]; then
      echo "   the exports grew by $(wc -l <<<"$added"); record them with: scripts/abi-baseline.sh renew $build"
    else
      echo "   the exports are the baseline's"
    fi
    ;;
  *)
    echo "unknown mode $mode" >&2
    exit 2
    ;;
  esac
  exit 0
fi

baseline=abi/libOvxComponent.so.abi
library=$(readlink -f "$build/bin/libOvxComponent.so")

# The standard library's types stay in: a public type reached through std::span or
# std::vector changes the ABI as much as one passed directly. The private state behind a
# public class's pointer is left out (abi/private-types.suppr): no host sees inside it.
options=(--exported-interfaces-only --no-show-locs)
suppressions=(--suppressions abi/private-types.suppr)

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
  report=$(abidiff "${options[@]}" "${suppressions[@]}" --no-added-syms "$baseline" "$library")
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
  elif ! abidiff "${options[@]}" "${suppressions[@]}" "$baseline" "$library" >/dev/null; then
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
