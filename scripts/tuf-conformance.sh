#!/usr/bin/env bash
# Runs the TUF conformance suite against ovx-tuf-client, the update channel's repository
# client on the command line.
#
# Usage: scripts/tuf-conformance.sh linux|windows [pytest arguments...]
#   linux:   the whole suite against build/linux/bin/ovx-tuf-client (libcurl, OpenSSL)
#   windows: the whole suite against build/windows/bin/ovx-tuf-client.exe under Wine
#            (WinHTTP, CNG); faketime reaches the Windows program through Wine
# The suite is looked for in $OVX_TUF_CONFORMANCE, then in the shared folder beside the
# repository (../shared/tuf-conformance). Expected failures are listed, with their
# reasons, in tools/tuf_client/ovx-tuf-client.xfails.
set -euo pipefail
cd "$(dirname "$0")/.."
repo=$PWD
platform=${1:?usage: $0 linux|windows [pytest arguments...]}
shift

suite=${OVX_TUF_CONFORMANCE:-}
if [[ -z $suite ]]; then
  for candidate in "$repo/../shared/tuf-conformance" /work/shared/tuf-conformance; do
    [[ -x $candidate/run.sh ]] && { suite=$(cd "$candidate" && pwd); break; }
  done
fi
[[ -n $suite && -x $suite/run.sh ]] || {
  echo "tuf-conformance: the suite is not found; set OVX_TUF_CONFORMANCE to its folder" >&2
  exit 1
}

# The suite reads the expected failures from the file beside the client it runs.
entry_folder=$repo/build/tuf-conformance/$platform
mkdir -p "$entry_folder"
cp tools/tuf_client/ovx-tuf-client.xfails "$entry_folder/ovx-tuf-client.xfails"
case $platform in
  linux)
    ln -sf "$repo/build/linux/bin/ovx-tuf-client" "$entry_folder/ovx-tuf-client"
    exec "$suite/run.sh" "$entry_folder/ovx-tuf-client" "$@"
    ;;
  windows)
    export WINEPREFIX=$repo/build/windows/wineprefix
    # Wine now and then fails to start a process (see cmake/wine-run.sh): the client then
    # ends at once with a failure and no output, where it always says something. Such a
    # start ran nothing, so it is tried again.
    cat >"$entry_folder/ovx-tuf-client" <<WRAPPER
#!/usr/bin/env bash
. "$repo/cmake/wine-env.sh"
output=\$(mktemp)
trap 'rm -f "\$output"' EXIT
for attempt in 1 2 3; do
  wine "$repo/build/windows/bin/ovx-tuf-client.exe" "\$@" >"\$output" 2>&1
  status=\$?
  ((status == 0)) || [[ -s \$output ]] && break
  echo "ovx-tuf-client: Wine could not start the client (attempt \$attempt)" >&2
done
cat "\$output" >&2
exit "\$status"
WRAPPER
    chmod +x "$entry_folder/ovx-tuf-client"
    cmake/wine-session.sh start
    trap 'cmake/wine-session.sh stop' EXIT
    "$suite/run.sh" "$entry_folder/ovx-tuf-client" "$@"
    ;;
  *) echo "usage: $0 linux|windows [pytest arguments...]" >&2; exit 2 ;;
esac
