#!/usr/bin/env bash
# Builds the linux-fuzz preset and runs each fuzzer briefly on a fresh corpus under
# build/fuzz-smoke (seeded by ovx_container_seeds). Exits non-zero when a build fails or a
# fuzzer finds a crash, a leak or undefined behaviour; the reproducer is left in
# build/fuzz-smoke/artifacts.
#
# Usage: scripts/fuzz-smoke.sh [SECONDS_PER_FUZZER]   (default 20)
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-20}
bin=build/linux-fuzz/bin
work=build/fuzz-smoke

cmake --preset linux-fuzz >/dev/null
cmake --build --preset linux-fuzz

rm -rf "$work"
mkdir -p "$work/artifacts" "$work/text" "$work/signature" "$work/record" "$work/metadata"
# The update metadata fuzzer starts from a document of each shape (the first byte picks
# the role it is offered as).
printf '\001{"signatures":[{"keyid":"ab","sig":"00"}],"signed":{"_type":"timestamp","spec_version":"1.0.31","version":2,"expires":"2030-01-01T00:00:00Z","meta":{"snapshot.json":{"version":1,"length":10,"hashes":{"sha256":"00"}}}}}' >"$work/metadata/timestamp"
printf '\003{"signatures":[],"signed":{"_type":"targets","spec_version":"1.0","version":1,"expires":"2030-01-01T00:00:00Z","targets":{"a":{"length":1,"hashes":{"sha256":"00"},"custom":{}}},"delegations":{"keys":{},"roles":[{"name":"r","keyids":[],"threshold":1,"terminating":false,"paths":["a/*","[!x]?"]}]}}}' >"$work/metadata/targets"
"$bin/ovx_container_seeds" "$work/open" "$work/xml"

fuzz() {
  local fuzzer=$1 corpus=$2
  echo "[fuzz] $fuzzer for ${seconds}s"
  "$bin/$fuzzer" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=0 \
    -artifact_prefix="$work/artifacts/$fuzzer-" "$work/$corpus" >"$work/$fuzzer.log" 2>&1 || {
    tail -n 40 "$work/$fuzzer.log" >&2
    echo "[fuzz] $fuzzer failed; reproducer and log in $work" >&2
    return 1
  }
  tail -n 1 "$work/$fuzzer.log"
}

fuzz ovx_text_fuzzer text
fuzz ovx_open_package_fuzzer open
fuzz ovx_xml_fuzzer xml
fuzz ovx_signature_files_fuzzer signature
fuzz ovx_verification_record_fuzzer record
fuzz ovx_update_metadata_fuzzer metadata
