#!/usr/bin/env bash
# Checks that the release packages are reproducible: the same sources, built again in
# another folder, give byte-identical packages. Needs the packages of the first build:
#   linux    build/linux-sdk/packages (*.deb, *.tar.gz), as scripts/sdk-check.sh linux makes them
#   windows  build/windows/packages (*.zip), as scripts/sdk-check.sh windows makes them
# The second build is of a copy of this tree (the files Git knows or would add, and its
# history, so that the date of the last commit is the same) in a folder of another name;
# SOURCE_DATE_EPOCH is left to the build, as a user's build leaves it. On a difference,
# the differing members are named.
#
# Usage: scripts/reproducible-check.sh linux|windows
set -euo pipefail
cd "$(dirname "$0")/.."
platform=${1:?usage: scripts/reproducible-check.sh linux|windows}
fail() { echo "FAILED: $*" >&2; exit 1; }
unset SOURCE_DATE_EPOCH

case $platform in
linux)
  first=build/linux-sdk
  preset=linux-sdk
  patterns=('*.deb' '*.tar.gz')
  settings=()
  ;;
windows)
  first=build/windows
  preset=windows
  patterns=('*.zip')
  # The .zip holds no test: the second build makes only what it holds. It takes the
  # same cross-built libraries, copied to where its preset looks for them (a path
  # outside its tree would reach the debug information unmapped).
  settings=(-DOVX_BUILD_TESTS=OFF -DOVX_BUILD_BENCHMARKS=OFF)
  ;;
*) fail "unknown platform $platform" ;;
esac
mapfile -t firsts < <(for pattern in "${patterns[@]}"; do find "$first/packages" -maxdepth 1 -name "$pattern"; done | sort)
((${#firsts[@]})) || fail "no package in $first/packages: run scripts/sdk-check.sh $platform first"

work=$(mktemp -d "${TMPDIR:-/tmp}/ovx-again.XXXXXX")
trap 'rm -rf "$work"' EXIT
copy=$work/another-folder
mkdir -p "$copy"
git ls-files -z --cached --others --exclude-standard | tar --null -T - -cf - | tar -xf - -C "$copy"
cp -a .git "$copy/.git"
if [[ $platform == windows ]]; then
  mkdir -p "$copy/build/windows-deps"
  cp -a build/windows-deps/prefix "$copy/build/windows-deps/prefix"
fi

echo "== $platform: the same sources built again in $copy"
(cd "$copy" && cmake --preset $preset "${settings[@]}" && cmake --build --preset $preset &&
  cd build/$preset && cpack) >"$work/build.log" 2>&1 || { tail -40 "$work/build.log"; fail "the second build"; }

different=0
for package in "${firsts[@]}"; do
  name=$(basename "$package")
  again=$copy/build/$preset/packages/$name
  [[ -f $again ]] || fail "the second build made no $name"
  if cmp -s "$package" "$again"; then
    echo "   $name: identical ($(sha256sum <"$package" | cut -c1-16))"
    continue
  fi
  different=1
  echo "   $name: DIFFERENT" >&2
  case $name in
  *.deb)
    dpkg-deb --raw-extract "$package" "$work/first" && dpkg-deb --raw-extract "$again" "$work/again"
    diff -rq --no-dereference "$work/first" "$work/again" >&2 || true
    diff <(dpkg-deb -c "$package") <(dpkg-deb -c "$again") >&2 || true
    rm -rf "$work/first" "$work/again"
    ;;
  *) diff <(unzip -lv "$package" 2>/dev/null || tar -tvzf "$package") <(unzip -lv "$again" 2>/dev/null || tar -tvzf "$again") >&2 || true ;;
  esac
done
((different == 0)) || fail "the packages of two builds of the same sources differ"
echo "The $platform packages are reproducible."
