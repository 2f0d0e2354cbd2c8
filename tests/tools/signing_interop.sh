#!/usr/bin/env bash
# Signed packages and the stock tools, and a host that trusts one key.
#  1. A key pair made by "minisign -G -W" signs through "ovxext sign".
#  2. A package that "ovxext pack --sign" made verifies without ovxext: "minisign -V" on
#     its extracted digest list, "sha256sum -c" on its extracted files.
#  3. "ovxext host --trust KEY" loads the package that key signed and refuses an unsigned
#     and a tampered one, with their reasons in its log and failure report.
# Usage: signing_interop.sh OVXEXT
set -euo pipefail
ovxext=$(realpath "$1")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
fail() { echo "FAIL: $*" >&2; exit 1; }

mkdir -p files/sub
echo alpha >files/a.txt
echo beta >files/sub/b.txt
pack() {  # OUTPUT NUMBER [OPTIONS...]
    "$ovxext" pack files -o "$1" --id "{5EED0000-0000-0000-0000-00000000000$2}" \
        --type application/x-vnd.ovx.demo-tool --app Atlas --quiet "${@:3}"
}

minisign -G -W -p stock.pub -s stock.key >/dev/null
pack stock.OrvexExtension 1
"$ovxext" sign stock.OrvexExtension -s stock.key >/dev/null
"$ovxext" verify stock.OrvexExtension -p stock.pub >/dev/null || fail "a minisign key does not sign through ovxext"

"$ovxext" keygen -s own.key -p own.pub --no-password >/dev/null
pack own.OrvexExtension 2 --sign own.key
mkdir extracted
(cd extracted && unzip -q ../own.OrvexExtension)
unzip -p own.OrvexExtension META-INF/digests.txt >digests.txt
unzip -p own.OrvexExtension META-INF/digests.txt.minisig >digests.txt.minisig
minisign -V -q -p own.pub -m digests.txt || fail "minisign -V refuses the signature ovxext made"
(cd extracted && sha256sum --quiet --strict -c ../digests.txt) || fail "sha256sum -c refuses the listed digests"
[[ $(wc -l <digests.txt) -eq $(($(unzip -Z1 own.OrvexExtension | wc -l) - 2)) ]] ||
    fail "the digest list does not list every entry but its own two"

mkdir source data
pack source/good.OrvexExtension 3 --sign own.key
pack source/unsigned.OrvexExtension 4
pack source/tampered.OrvexExtension 5 --sign own.key
mkdir -p changed/content && echo changed >changed/content/a.txt
(cd changed && zip -q ../source/tampered.OrvexExtension content/a.txt)
code=0
"$ovxext" host --data data --source source --trust own.pub --once >host.out 2>&1 || code=$?
[[ $code -eq 1 ]] || { cat host.out; fail "host --trust: exit $code, not 1 (failures reported)"; }
expect() { grep -qF -- "$1" host.out || { cat host.out; fail "host --trust: no line with: $1"; }; }
expect "host loads {5EED0000-0000-0000-0000-000000000003} "
expect "reason: the package is not signed"
expect 'reason: the content of "content/a.txt" does not match its digest'
report=$(sed -n '/failure report/,$p' host.out)
grep -qF "the package is not signed" <<<"$report" || fail "the unsigned package is missing from the failure report"
grep -qF "does not match its digest" <<<"$report" || fail "the tampered package is missing from the failure report"
if grep -qE "host loads \{5EED0000-0000-0000-0000-00000000000[45]\}" host.out; then
    fail "an unsigned or tampered package was loaded"
fi
echo "signing interop: ok"
