#!/usr/bin/env bash
# The update channel end to end, through a real web server: Debian's nginx on 127.0.0.1
# with a configuration and port of this run's own, serving a repository that `ovxext repo`
# makes. A host (`ovxext host --once` with a channel) installs a published package, takes
# its update, removes a package the repository stopped listing, keeps working through a
# rotation of the root and timestamp keys, and refuses a frozen repository (an expired
# timestamp) with its reason while keeping what it has. Then the interoperability with
# python-tuf, the reference implementation: its client reads the repository `ovxext repo`
# made, and the channel's client reads a repository made by python-tuf's metadata API.
#
# Usage: scripts/channel-e2e.sh linux|windows
#   windows runs the Windows ovxext and ovx-tuf-client under Wine (WinHTTP, CNG).
set -euo pipefail
cd "$(dirname "$0")/.."
repo_root=$PWD
platform=${1:?usage: $0 linux|windows}
work=$repo_root/build/channel-e2e/$platform
rm -rf "$work" && mkdir -p "$work/www"

fail() { echo "channel-e2e ($platform): FAILED: $*" >&2; exit 1; }
step() { echo "== channel-e2e ($platform): $*"; }

case $platform in
  linux) run=() exe="" bin=$repo_root/build/linux/bin ;;
  windows)
    export WINEPREFIX=$repo_root/build/windows/wineprefix
    source cmake/wine-env.sh
    cmake/wine-session.sh start
    trap 'cmake/wine-session.sh stop' EXIT
    run=(wine) exe=.exe bin=$repo_root/build/windows/bin
    ;;
  *) fail "usage: $0 linux|windows" ;;
esac
# A path as the programs see it: Wine's drive Z: is the root of the Linux tree.
native() { if [[ -n $exe ]]; then local p=${1//\//\\}; echo "Z:$p"; else echo "$1"; fi; }
ovxext() { "${run[@]}" "$bin/ovxext$exe" "$@"; }

# nginx, on a free port, as this run's own server.
source scripts/lib/nginx.sh
nginx_pid=
trap 'kill $nginx_pid 2>/dev/null; [[ $platform == windows ]] && cmake/wine-session.sh stop' EXIT
start_nginx "$work/nginx" "$work/www"
base=http://127.0.0.1:$nginx_port

# Two extensions, A in versions 1 and 2, and B.
pack() {  # pack ID VERSION NAME
  mkdir -p "$work/src/$3-$2" "$work/packages/$2" && echo "$3 $2" >"$work/src/$3-$2/tool.txt"
  ovxext pack "$(native "$work/src/$3-$2")" -o "$(native "$work/packages/$2/$3.OrvexExtension")" --id "$1" \
    --version "$2" --type application/x-vnd.ovx.demo-tool --app Atlas >/dev/null || fail "packing $3 $2"
}
a_id="{0B9E1B77-6F0C-4F35-9B1D-3E1A8A7C2D01}" b_id="{0B9E1B77-6F0C-4F35-9B1D-3E1A8A7C2D02}"
pack "$a_id" 1.0 a
pack "$a_id" 2.0 a
pack "$b_id" 1.0 b

repo=$work/www/repo
ovxext repo init "$(native "$repo")" --no-password --json >/dev/null
ovxext repo add "$(native "$repo")" "$(native "$work/packages/1.0/a.OrvexExtension")" \
  "$(native "$work/packages/1.0/b.OrvexExtension")" >/dev/null
ovxext repo publish "$(native "$repo")" >/dev/null
mkdir -p "$work/host/source"
host() {  # runs the host once; its output in $work/host.out, its exit code in $host_status
  set +e
  ovxext host --data "$(native "$work/host/data")" --source "$(native "$work/host/source")" --once \
    --channel-root "$(native "$repo/public/metadata/1.root.json")" --channel "$base/repo/public/metadata/" \
    --channel-targets "$base/repo/public/targets/" >"$work/host.out" 2>&1
  host_status=$?
  set -e
}
expect() { grep -qF -- "$1" "$work/host.out" || { cat "$work/host.out"; fail "$2"; }; }

step "a host installs the published packages"
host
expect "channel refreshed: 2 placed" "the channel did not place both packages"
expect "host loads $a_id 1.0" "A 1.0 was not loaded"
expect "host loads $b_id 1.0" "B was not loaded"

step "it takes an update after publish"
ovxext repo add "$(native "$repo")" "$(native "$work/packages/2.0/a.OrvexExtension")" >/dev/null
ovxext repo publish "$(native "$repo")" >/dev/null
host
expect "channel refreshed: 0 placed, 1 replaced" "the channel did not replace A"
host
expect "host loads $a_id 2.0" "A 2.0 was not loaded"

step "it removes a package after remove"
ovxext repo remove "$(native "$repo")" b.OrvexExtension >/dev/null
ovxext repo publish "$(native "$repo")" >/dev/null
host
expect "1 removed" "the channel did not remove B"
[[ ! -e $work/host/source/b.OrvexExtension ]] || fail "B's package is still in the source folder"
host
grep -qF "host loads $b_id" "$work/host.out" && fail "B is still loaded"

step "it keeps working through a rotation of the root and timestamp keys"
ovxext repo rotate "$(native "$repo")" root >/dev/null
ovxext repo rotate "$(native "$repo")" timestamp >/dev/null
host
expect "channel refreshed" "the channel refused the rotated repository"
[[ $host_status == 0 ]] || fail "the host failed after the rotation"
expect "host loads $a_id 2.0" "A is no longer loaded after the rotation"

step "it refuses a frozen repository with its reason and keeps what it has"
ovxext repo timestamp "$(native "$repo")" --expires-in 1 >/dev/null
expiry=$(( $(date +%s) + 2 ))
while (( $(date +%s) <= expiry )); do sleep 0.2; done  # past the timestamp's one-second life
host
expect "channel refresh refused: the timestamp is refused: expired" "the frozen repository was not refused as expired"
[[ $host_status == 1 ]] || fail "a refused refresh should end the host with exit code 1"
expect "host loads $a_id 2.0" "A was not kept after the refusal"
cmp -s "$work/host/source/a.OrvexExtension" "$work/packages/2.0/a.OrvexExtension" || fail "A's package changed"

step "a repository with author keys refuses a package their signatures do not cover"
ovxext keygen -s "$(native "$work/author.key")" -p "$(native "$work/author.pub")" --no-password >/dev/null
signed_repo=$work/signed-repo
ovxext repo init "$(native "$signed_repo")" --no-password --author-key "$(native "$work/author.pub")" >/dev/null
set +e
ovxext repo add "$(native "$signed_repo")" "$(native "$work/packages/1.0/b.OrvexExtension")" >"$work/add.out" 2>&1
add_status=$?
set -e
[[ $add_status == 1 ]] && grep -qF "author signature does not hold" "$work/add.out" ||
  fail "an unsigned package was not refused: $(cat "$work/add.out")"
ovxext sign "$(native "$work/packages/1.0/b.OrvexExtension")" -s "$(native "$work/author.key")" >/dev/null
ovxext repo add "$(native "$signed_repo")" "$(native "$work/packages/1.0/b.OrvexExtension")" >/dev/null ||
  fail "a package signed by the author key was refused"

step "python-tuf's client reads the repository of ovxext repo"
suite=${OVX_TUF_CONFORMANCE:-$repo_root/../shared/tuf-conformance}
[[ -d $suite/vendor ]] || suite=/work/shared/tuf-conformance
[[ -d $suite/vendor ]] || fail "the vendored python-tuf is not found; set OVX_TUF_CONFORMANCE"
export PYTHONPATH=$suite/vendor/python-tuf:$suite/vendor/securesystemslib:$suite
ovxext repo timestamp "$(native "$repo")" >/dev/null  # no longer frozen
/usr/bin/python3 tests/channel_e2e/python_tuf_interop.py read "$base/repo/public/metadata/" \
  "$base/repo/public/targets/" "$repo/public/metadata/1.root.json" a.OrvexExtension "$work/python-tuf-client"
cmp -s "$work/python-tuf-client/a.OrvexExtension" "$work/packages/2.0/a.OrvexExtension" ||
  fail "python-tuf downloaded other bytes"

step "the channel's client reads a repository made by python-tuf"
/usr/bin/python3 tests/channel_e2e/python_tuf_interop.py make "$work/www/python-tuf" \
  "$work/packages/1.0/b.OrvexExtension"
mkdir -p "$work/client/metadata" "$work/client/targets"
client=("${run[@]}" "$bin/ovx-tuf-client$exe" --metadata-dir "$(native "$work/client/metadata")")
"${client[@]}" init "$(native "$work/www/python-tuf/metadata/1.root.json")"
"${client[@]}" --metadata-url "$base/python-tuf/metadata/" --target-name b.OrvexExtension \
  --target-base-url "$base/python-tuf/targets/" --target-dir "$(native "$work/client/targets")" download
cmp -s "$work/client/targets/b.OrvexExtension" "$work/packages/1.0/b.OrvexExtension" ||
  fail "the channel's client downloaded other bytes"

echo "channel-e2e ($platform): every step passed"
