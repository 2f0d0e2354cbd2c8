#!/usr/bin/env bash
# Builds and tests everything on both platforms: natively on Linux, and as the Windows
# x64 DLL under Wine, the update channel's client against the TUF conformance suite and
# the channel end to end through nginx on both; then checks each platform's SDK as hosts use it
# (scripts/sdk-check.sh), and that its release packages are reproducible
# (scripts/reproducible-check.sh). Installs what the machine lacks first. Exits non-zero when any
# step of either platform (or the fuzz smoke run) fails; both platforms run either way.
set -uo pipefail
cd "$(dirname "$0")/.." || exit 1

scripts/install-deps.sh || exit 1

failed=()
run() {
  local platform=$1
  shift
  echo "== $platform: $*"
  "$@" || { failed+=("$platform"); return 1; }
}

linux() {
  run linux cmake --preset linux &&
    run linux cmake --build --preset linux &&
    run linux ctest --preset linux &&
    run linux scripts/tuf-conformance.sh linux &&
    run linux scripts/channel-e2e.sh linux &&
    run linux scripts/sdk-check.sh linux &&
    run linux scripts/reproducible-check.sh linux
}

# A short run of every fuzzer (about a minute in all), after the Linux tests.
fuzz_smoke() {
  run fuzz scripts/fuzz-smoke.sh 20
}

windows() {
  run windows scripts/build-windows-deps.sh build/windows-deps/prefix &&
    run windows cmake --preset windows &&
    run windows cmake --build --preset windows &&
    run windows ctest --preset windows &&
    run windows scripts/tuf-conformance.sh windows &&
    run windows scripts/channel-e2e.sh windows &&
    run windows scripts/sdk-check.sh windows &&
    run windows scripts/reproducible-check.sh windows
  # The wine.stop fixture ends the wineserver; make sure of it even after a failure.
  WINEPREFIX="$PWD/build/windows/wineprefix" cmake/wine-session.sh stop
}

linux
fuzz_smoke
windows

if ((${#failed[@]})); then
  echo "FAILED: ${failed[*]}"
  exit 1
fi
echo "All tests passed on Linux and Windows."
