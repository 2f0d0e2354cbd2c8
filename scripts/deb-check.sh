#!/usr/bin/env bash
# Checks the Debian packages that cpack made, as a packager and a host developer meet them:
#   - lintian (Debian's package checker) reports no error, no warning and no pedantic tag
#     on any of them, with at most three overridden tags in all;
#   - their fields as Debian's own: a Debian revision, Multi-Arch, the -doc package for all
#     architectures, the fields of Debian's debug packages, the library's symbols file
#     (made by dpkg-gensymbols, which fails on a lost symbol), a machine-readable copyright
#     file that Debian's parser reads; ovxext does not depend on the library it does not
#     link; the build used Debian's build flags;
#   - "apt-get install ./*.deb" installs them together on this machine, and the library
#     is known to the dynamic linker (the ldconfig trigger ran);
#   - examples/host and examples/c-host build against /usr (find_package, and pkg-config
#     alone), and load a package that the installed ovxext packs; a C++ host built for
#     C++17 gets the one error that names the standard; the manual page, the completion
#     and the API reference are where man, bash and doc-base look; the debug information
#     matches the library;
#   - "apt-get remove" removes them and leaves no file of theirs behind.
# The packages are removed at the end, also when a check fails. Runs as root.
#
# Usage: scripts/deb-check.sh PACKAGE_FOLDER (the packages folder of the build that made them)
set -euo pipefail
cd "$(dirname "$0")/.."
folder=$(realpath "${1:?usage: scripts/deb-check.sh PACKAGE_FOLDER}")
build=$(dirname "$folder")
mapfile -t debs < <(find "$folder" -maxdepth 1 -name '*.deb' | sort)
((${#debs[@]})) || { echo "FAILED: no .deb in $folder" >&2; exit 1; }
mapfile -t names < <(for deb in "${debs[@]}"; do dpkg-deb -f "$deb" Package; done)
fail() { echo "FAILED: $*" >&2; exit 1; }
source scripts/lib/example-hosts.sh

work=$(mktemp -d "${TMPDIR:-/tmp}/ovx-deb.XXXXXX")
remove_packages() { DEBIAN_FRONTEND=noninteractive apt-get remove -y -qq "${names[@]}" >/dev/null 2>&1 || true; }
trap 'remove_packages; rm -rf "$work"' EXIT
remove_packages

field() { dpkg-deb -f "$folder/$1"_*.deb "$2"; }  # package, field

echo "== debian: lintian --pedantic on ${names[*]}"
lintian --pedantic --fail-on error,warning,pedantic "${debs[@]}" ||
  fail "lintian found errors, warnings or pedantic tags"
# Overridden tags: at most three different ones, each with a comment that says why.
override_files=$(for deb in "${debs[@]}"; do dpkg-deb --fsys-tarfile "$deb" | tar -xO --wildcards './usr/share/lintian/overrides/*' 2>/dev/null || true; done)
overrides=$(grep -vE '^\s*(#|$)' <<<"$override_files" | awk '{print $2}' | sort -u | grep -c . || true)
((overrides <= 3)) || fail "$overrides different lintian tags overridden; at most three are allowed"
awk '/^#/ {reason = 1; next} /^\s*$/ {reason = 0; next} !reason {exit 1}' <<<"$override_files" ||
  fail "a lintian override without a comment that says why"
echo "   no error, no warning, no pedantic tag; $overrides tag(s) overridden"

echo "== debian: the packages' fields"
expect() {  # what, actual, expected
  [[ $2 == "$3" ]] || fail "$1 is '$2', not '$3'"
}
version=$(field libovxcomponent18 Version)
[[ $version =~ ^[0-9]+\.[0-9]+\.[0-9]+-[0-9]+$ ]] || fail "the version $version has no Debian revision"
for deb in "${debs[@]}"; do
  [[ $(dpkg-deb -f "$deb" Maintainer Homepage) != *example* ]] || fail "$(basename "$deb") names a placeholder maintainer or homepage"
done
expect "Multi-Arch of libovxcomponent18" "$(field libovxcomponent18 Multi-Arch)" same
expect "Multi-Arch of libovxcomponent-dev" "$(field libovxcomponent-dev Multi-Arch)" same
expect "Multi-Arch of ovxext" "$(field ovxext Multi-Arch)" foreign
expect "Multi-Arch of libovxcomponent-doc" "$(field libovxcomponent-doc Multi-Arch)" foreign
expect "Architecture of libovxcomponent-doc" "$(field libovxcomponent-doc Architecture)" all
[[ $(field libovxcomponent-doc Depends) == *libjs-jquery* ]] || fail "libovxcomponent-doc does not depend on libjs-jquery"
dpkg-deb -c "$folder"/libovxcomponent-dev_*.deb | grep -q "/html/" && fail "the API reference is still in libovxcomponent-dev"
# ovxext is built from the library's parts; it neither links the shared library nor
# claims to need it (docs/packages.md).
[[ $(field ovxext Depends) != *libovxcomponent* ]] || fail "ovxext depends on a library it does not link"
for owner in libovxcomponent18 ovxext; do
  expect "Auto-Built-Package of $owner-dbgsym" "$(field $owner-dbgsym Auto-Built-Package)" debug-symbols
  ids=$(dpkg-deb -c "$folder/$owner-dbgsym_"*.deb | sed -n 's|.*/\.build-id/\(..\)/\(.*\)\.debug$|\1\2|p' | sort | xargs)
  expect "Build-Ids of $owner-dbgsym" "$(field $owner-dbgsym Build-Ids)" "$ids"
done
# The symbols file lists every C function the library exports, and dpkg-gensymbols
# refuses a library that has lost one of the symbols it lists.
symbols_work=$work/symbols
mkdir -p "$symbols_work"
dpkg-deb --raw-extract "$folder"/libovxcomponent18_*.deb "$symbols_work/tree"
library=$(find "$symbols_work/tree" -name 'libOvxComponent.so.*.*' -type f)
for symbol in $(nm -D --defined-only "$library" | awk '$3 ~ /^ovx_/ {sub(/@@.*/, "", $3); print $3}'); do
  grep -q "^ $symbol@" "$symbols_work/tree/DEBIAN/symbols" || fail "the symbols file lacks $symbol"
done
sed 's/^ (symver)/ ovx_lost_function@OVXCOMPONENT_18 18.0.0\n&/' packaging/debian/libovxcomponent18.symbols >"$symbols_work/lost.symbols"
(cd "$symbols_work" && dpkg-gensymbols -plibovxcomponent18 -v"$version" -P"$symbols_work/tree" -e"$library" \
  -I"$symbols_work/lost.symbols" -O"$symbols_work/out.symbols" -c1 -q) >/dev/null 2>&1 &&
  fail "dpkg-gensymbols accepted a library that lost a listed symbol"
# One machine-readable copyright file in every package, that Debian's parser reads and
# whose licences each have their text.
copyright_of() {  # package name
  local name=$1
  dpkg-deb --fsys-tarfile "$folder/${name}"_*.deb | tar -xO "./usr/share/doc/$name/copyright" 2>/dev/null
}
copyright_of libovxcomponent18 >"$work/copyright" || fail "libovxcomponent18 has no copyright file"
for name in "${names[@]}"; do
  [[ $name == *-dbgsym ]] && continue
  cmp -s <(copyright_of "$name") "$work/copyright" || fail "$name has another copyright file, or none"
done
/usr/bin/python3 - "$work/copyright" <<'PY' || fail "the copyright file is not in Debian's machine-readable format"
import sys
from debian import copyright
with open(sys.argv[1], encoding="utf-8") as source:
    parsed = copyright.Copyright(source, strict=True)
texts = {paragraph.license.synopsis for paragraph in parsed.all_license_paragraphs()}
for files in parsed.all_files_paragraphs():
    for name in files.license.synopsis.replace(" and ", " or ").split(" or "):
        if name not in texts:
            sys.exit(f"Files: {' '.join(files.files)} names the licence {name}, which has no text")
print(f"   copyright: {len(list(parsed.all_files_paragraphs()))} Files paragraphs, licences {', '.join(sorted(texts))}")
PY
# The build used Debian's build flags.
if [[ -f $build/build.ninja ]]; then
  commands=$(ninja -C "$build" -t commands OvxComponent)
  for flag in $(dpkg-buildflags --get CPPFLAGS) $(dpkg-buildflags --get CXXFLAGS) $(dpkg-buildflags --get LDFLAGS); do
    grep -qF -- "$flag" <<<"$commands" || fail "the build did not use Debian's build flag $flag"
  done
  echo "   built with Debian's build flags"
fi


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
reference=/usr/share/doc/libovxcomponent-doc/html
[[ -f $reference/index.html && -L $reference/jquery.js ]] || fail "the API reference or its link to jquery.js is missing"
[[ $(realpath "$reference/jquery.js") == /usr/share/javascript/jquery/jquery.js ]] || fail "jquery.js is not Debian's libjs-jquery"
grep -qx "Index: $reference/index.html" /usr/share/doc-base/libovxcomponent-doc || fail "the API reference is not registered with doc-base"
ldd /usr/bin/ovxext | grep -q libOvxComponent && fail "ovxext links the shared library, yet its package does not depend on it"

echo "== debian: the examples against /usr"
build_example host "$work/host"
build_example c-host "$work/c-host"
grep -rq "/usr/lib/x86_64-linux-gnu/cmake/OvxComponent" "$work/host/CMakeCache.txt" ||
  fail "examples/host found another OvxComponent package than the installed one"
# pkg-config alone: /usr is the system's prefix, so its flags name no folder.
expect "pkg-config's prefix" "$(pkg-config --variable=prefix OvxComponent)" /usr
expect "pkg-config's flags" "$(pkg-config --cflags --libs OvxComponent | xargs)" -lOvxComponent
pkg-config --print-variables OvxComponent >/dev/null
[[ $(pkg-config --modversion OvxComponent) == "${version%-*}" ]] || fail "pkg-config's version is not ${version%-*}"
[[ $(grep '^Description:' /usr/lib/x86_64-linux-gnu/pkgconfig/OvxComponent.pc) != *COM* ]] || fail "the .pc file names the Windows-only COM helpers"
# shellcheck disable=SC2046
gcc -std=c99 -o "$work/c-host-pkgconfig" examples/c-host/main.c $(pkg-config --cflags --libs OvxComponent) ||
  fail "the C host with pkg-config's flags"
# shellcheck disable=SC2046
g++ -std=c++20 -o "$work/host-pkgconfig" examples/host/main.cpp $(pkg-config --cflags --libs OvxComponent) ||
  fail "the C++ host with pkg-config's flags"
# Built for C++17, g++ 12's default, a C++ host gets one error that names the standard.
cxx17=$(g++ -std=c++17 -fsyntax-only examples/host/main.cpp 2>&1) && fail "a C++17 build of the C++ host compiled"
grep -q "#error \"OvxComponent: the C++ headers need C++20" <<<"$cxx17" && (($(grep -c "error:" <<<"$cxx17") <= 2)) ||
  { echo "$cxx17" | head -20; fail "a C++17 build of the C++ host does not get one error naming C++20"; }

pack_example_extension /usr/bin/ovxext "$work"
expect_examples_load "$work" "$work/host/ovx-example-host" "$work/c-host/ovx-example-c-host" "$work/c-host-pkgconfig" \
  "$work/host-pkgconfig"

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
