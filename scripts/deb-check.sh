#!/usr/bin/env bash
# Checks the Debian packages that cpack made, as a packager and a host developer meet them:
#   - lintian (Debian's package checker) reports no error and no warning on any of them,
#     with at most three overridden tags in all;
#   - "apt-get install ./*.deb" installs them together on this machine, and the library
#     is known to the dynamic linker (the ldconfig trigger ran);
#   - examples/host and examples/c-host build against /usr (find_package and pkg-config),
#     and load a package that the installed ovxext packs; the manual page and the bash
#     completion are where man and bash look; the debug information matches the library;
#   - "apt-get remove" removes them and leaves no file of theirs behind.
# The packages are removed at the end, also when a check fails. Runs as root.
#
# Usage: scripts/deb-check.sh PACKAGE_FOLDER
set -euo pipefail
cd "$(dirname "$0")/.."
folder=$(realpath "${1:?usage: scripts/deb-check.sh PACKAGE_FOLDER}")
mapfile -t debs < <(find "$folder" -maxdepth 1 -name '*.deb' | sort)
((${#debs[@]})) || { echo "FAILED: no .deb in $folder" >&2; exit 1; }
mapfile -t names < <(for deb in "${debs[@]}"; do dpkg-deb -f "$deb" Package; done)
fail() { echo "FAILED: $*" >&2; exit 1; }

echo "== debian: lintian on ${names[*]}"
lintian --fail-on error,warning "${debs[@]}" ||
  fail "lintian found errors or warnings"
overrides=$(for deb in "${debs[@]}"; do dpkg-deb --fsys-tarfile "$deb" | tar -xO --wildcards './usr/share/lintian/overrides/*' 2>/dev/null || true; done |
  grep -cvE '^\s*(#|$)' || true)
((overrides <= 3)) || fail "$overrides lintian overrides; at most three are allowed"
echo "   no error, no warning; $overrides overridden tag(s)"

work=$(mktemp -d "${TMPDIR:-/tmp}/ovx-deb.XXXXXX")
remove_packages() { DEBIAN_FRONTEND=noninteractive apt-get remove -y -qq "${names[@]}" >/dev/null 2>&1 || true; }
trap 'remove_packages; rm -rf "$work"' EXIT
remove_packages

echo "== debian: install"
DEBIAN_FRONTEND=noninteractive apt-get install -y -qq "${debs[@]}" >"$work/install.log" 2>&1 ||
  { cat "$work/install.log"; fail "apt-get install of the packages"; }
mapfile -t files < <(for name in "${names[@]}"; do dpkg -L "$name"; done | sort -u | while read -r path; do
  [[ -d $path ]] || echo "$path"
done)
ldconfig -p | grep -q "libOvxComponent.so.18 " || fail "the dynamic linker does not know libOvxComponent.so.18"
library=$(realpath /usr/lib/x86_64-linux-gnu/libOvxComponent.so.18)
build_id=$(readelf -n "$library" | sed -n 's/.*Build ID: \([0-9a-f]*\).*/\1/p')
[[ -f /usr/lib/debug/.build-id/${build_id:0:2}/${build_id:2}.debug ]] ||
  fail "no debug information for $library (build ID $build_id)"
MANPAGER=cat MANWIDTH=100 man ovxext 2>/dev/null | grep -q "ovxext keygen" || fail "man ovxext"
[[ -f /usr/share/bash-completion/completions/ovxext ]] || fail "the bash completion is missing"

echo "== debian: the examples against /usr"
build_example() {  # name, folder
  { cmake -S "examples/$1" -B "$2" -G Ninja -DCMAKE_BUILD_TYPE=Release && cmake --build "$2"; } >"$2.log" 2>&1 ||
    { cat "$2.log"; fail "examples/$1 against the installed packages"; }
}
build_example host "$work/host"
build_example c-host "$work/c-host"
grep -rq "/usr/lib/x86_64-linux-gnu/cmake/OvxComponent" "$work/host/CMakeCache.txt" ||
  fail "examples/host found another OvxComponent package than the installed one"
# shellcheck disable=SC2046
gcc -std=c99 -o "$work/c-host-pkgconfig" examples/c-host/main.c $(pkg-config --cflags --libs OvxComponent) ||
  fail "the C host with pkg-config's flags"

mkdir -p "$work/extension" "$work/sources"
echo "a tool" >"$work/extension/tool.txt"
/usr/bin/ovxext pack "$work/extension" -o "$work/sources/tool.OrvexExtension" --quiet \
  --id "{6F1C1D52-8A0B-4B5E-9C39-2D7A54E1B0A1}" --type application/x-vnd.example.tool --app Atlas
for host in "$work/host/ovx-example-host" "$work/c-host/ovx-example-c-host" "$work/c-host-pkgconfig"; do
  data=$(mktemp -d "$work/data.XXXXXX")
  output=$("$host" "$data" "$work/sources" 1 60 2>&1) || { echo "$output"; fail "$(basename "$host") did not load the package"; }
  grep -q "^loaded {6F1C1D52-8A0B-4B5E-9C39-2D7A54E1B0A1}" <<<"$output" || { echo "$output"; fail "$(basename "$host") loaded something else"; }
  echo "   $(basename "$host"): loaded and unloaded"
done

echo "== debian: remove"
DEBIAN_FRONTEND=noninteractive apt-get remove -y -qq "${names[@]}" >"$work/remove.log" 2>&1 ||
  { cat "$work/remove.log"; fail "apt-get remove"; }
for path in "${files[@]}"; do
  [[ ! -e $path && ! -L $path ]] || fail "$path is left after removal"
done
for name in "${names[@]}"; do
  status=$(dpkg-query -W -f='${db:Status-Abbrev}' "$name" 2>/dev/null || true)
  [[ -z $status || $status == un* || $status == rc* ]] || fail "$name is still '$status' after removal"
done
ldconfig -p | grep -q "libOvxComponent" && fail "the dynamic linker still knows libOvxComponent after removal"
echo "The Debian packages pass lintian, install, work and remove cleanly (${#files[@]} files)."
