#!/usr/bin/env bash
# A 50 MB package downloaded from a local nginx through the update channel's client (the
# linux-release ovx-tuf-client of a client that refreshed before, as a host's channel has:
# its start, the refresh that finds the repository unchanged, then the download with its
# length and SHA-256 checked as it arrives, written under a temporary name, flushed and
# renamed) against curl fetching the same file from the same server, in alternate turns.
# Prints the median of each and the ratio (aim: at most 1.2x), and the time a fresh client
# takes to start and refresh, for comparison.
#
# Usage: bench/channel-vs-curl.sh [ROUNDS]   (default 9; builds ovx-tuf-client and ovxext)
# The files live in /dev/shm where it exists, so that both sides write to memory.
set -euo pipefail
cd "$(dirname "$0")/.."
rounds=${1:-9}
cmake --preset linux-release >/dev/null
cmake --build --preset linux-release --target ovx-tuf-client ovxext >/dev/null
bin=$PWD/build/linux-release/bin
base_dir=/tmp
[[ -d /dev/shm && -w /dev/shm ]] && base_dir=/dev/shm
work=$(mktemp -d "$base_dir/ovx-channel-bench.XXXXXX")
chmod 755 "$work"  # nginx's workers read it as another user
nginx_pid=
trap 'kill $nginx_pid 2>/dev/null; rm -rf "$work"' EXIT

mkdir -p "$work/www" "$work/package"
head -c $((50 * 1024 * 1024)) /dev/urandom >"$work/package/payload.bin"
"$bin/ovxext" pack "$work/package" -o "$work/big.OrvexExtension" --id "{5A1D1A52-0C33-4E61-8E0B-6C1E3B1D7A11}" \
  --type application/x-vnd.ovx.demo-tool --app Atlas >/dev/null
"$bin/ovxext" repo init "$work/www/repo" --no-password >/dev/null
"$bin/ovxext" repo add "$work/www/repo" "$work/big.OrvexExtension" >/dev/null
"$bin/ovxext" repo publish "$work/www/repo" >/dev/null
target=$(cd "$work/www/repo/public/targets" && ls)

fail() { echo "channel-vs-curl: $*" >&2; exit 1; }
source scripts/lib/nginx.sh
start_nginx "$work/nginx" "$work/www"
base=http://127.0.0.1:$nginx_port/repo/public

milliseconds() { local start end; start=$(date +%s%N); "$@" >/dev/null 2>&1; end=$(date +%s%N); echo $(((end - start) / 1000000)); }
refresh_only() {  # a fresh client: start, init, start, the first refresh
  rm -rf "$work/client" && mkdir -p "$work/client/metadata" "$work/client/targets"
  "$bin/ovx-tuf-client" --metadata-dir "$work/client/metadata" init "$work/www/repo/public/metadata/1.root.json"
  "$bin/ovx-tuf-client" --metadata-dir "$work/client/metadata" --metadata-url "$base/metadata/" refresh
}
channel() {  # after refresh_only: the package is not there yet
  "$bin/ovx-tuf-client" --metadata-dir "$work/client/metadata" --metadata-url "$base/metadata/" \
    --target-name big.OrvexExtension --target-base-url "$base/targets/" --target-dir "$work/client/targets" download
}
curl_download() { rm -f "$work/curl.out" && curl -s -o "$work/curl.out" "$base/targets/$target"; }

curl_download && refresh_only && channel  # warm the page cache and the server
curl_times=() channel_times=() refresh_times=()
for ((i = 0; i < rounds; i++)); do
  refresh_times+=("$(milliseconds refresh_only)")
  curl_times+=("$(milliseconds curl_download)")
  channel_times+=("$(milliseconds channel)")
done
cmp -s "$work/curl.out" "$work/client/targets/big.OrvexExtension" || { echo "the two downloads differ" >&2; exit 1; }
median() { printf '%s\n' "$@" | sort -n | awk '{ a[NR] = $1 } END { print a[int((NR + 1) / 2)] }'; }
c=$(median "${curl_times[@]}") t=$(median "${channel_times[@]}") r=$(median "${refresh_times[@]}")
echo "50 MB from nginx, medians of $rounds rounds: curl $c ms, channel $t ms, ratio" \
  "$(awk "BEGIN { printf \"%.2f\", $t / $c }")x (aim 1.2x); a fresh client's start and first refresh: $r ms"
