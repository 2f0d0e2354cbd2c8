#!/usr/bin/env bash
# Checks the SDK as a host developer meets it, for one platform:
#   - installs a build to a temporary prefix with "cmake --install";
#   - compiles every installed header on its own with strict warnings as errors;
#   - compares the library's ABI (Linux) or its exports (Windows) with the baseline in abi/
#     (scripts/abi-baseline.sh);
#   - builds examples/host (C++) and examples/c-host (C) against the installed SDK with
#     find_package, and the C++ host also with add_subdirectory of this source tree;
#   - packs an extension with the installed ovxext and runs both hosts, which must load it
#     (under Wine for Windows);
#   - makes the release archives with cpack; on Linux checks the Debian packages with
#     lintian and installs, uses and removes them (scripts/deb-check.sh).
#
# Usage: scripts/sdk-check.sh linux|windows
# linux builds the linux-sdk preset; windows uses the windows preset's build, which
# scripts/test-all.sh has made before.
set -euo pipefail
cd "$(dirname "$0")/.."
source_dir=$PWD
platform=${1:?usage: scripts/sdk-check.sh linux|windows}
fail() { echo "FAILED: $*" >&2; exit 1; }

# The warnings of a strict host; the SDK's headers must pass them as the host's own code.
# (-Wnon-virtual-dtor only on Linux: COM interfaces have no virtual destructor by design.)
strict_flags="-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast -Werror"
[[ $platform == linux ]] && strict_flags+=" -Wnon-virtual-dtor"

case $platform in
linux)
  build=build/linux-sdk
  cmake --preset linux-sdk >/dev/null
  cmake --build --preset linux-sdk
  cxx=g++
  cc=gcc
  toolchain=()
  ;;
windows)
  build=build/windows
  [[ -f $build/build.ninja ]] || { echo "build the windows preset first (scripts/test-all.sh)" >&2; exit 1; }
  cmake --build $build
  cxx=x86_64-w64-mingw32-g++-posix
  cc=x86_64-w64-mingw32-gcc-posix
  toolchain=(-DCMAKE_TOOLCHAIN_FILE="$source_dir/cmake/toolchains/mingw-w64-x86_64.cmake")
  WINEPREFIX=$PWD/$build/wineprefix
  source cmake/wine-env.sh
  "$source_dir/cmake/wine-session.sh" start  # as the tests start it
  example_run=(wine)
  example_exe=.exe
  ;;
*)
  echo "unknown platform $platform" >&2
  exit 2
  ;;
esac
source scripts/lib/example-hosts.sh

work=$(mktemp -d "${TMPDIR:-/tmp}/ovx-sdk-$platform.XXXXXX")
trap 'rm -rf "$work"; [[ $platform == windows ]] && "$source_dir/cmake/wine-session.sh" stop' EXIT
prefix=$work/prefix

echo "== $platform: install to $prefix"
cmake --install $build --prefix "$prefix" >/dev/null
if [[ $platform == windows ]]; then
  WINEPATH=$(winepath -w "$prefix/bin")
  export WINEPATH
fi

echo "== $platform: public headers include only public headers; only they export"
if grep -rn '#include "' include | grep -v '#include "OvxComponent/'; then
  echo "FAILED: a public header includes an internal one" >&2
  exit 1
fi
if grep -rln --include='*.h' --include='*.cpp' 'OVX_API' src; then
  echo "FAILED: internal code is marked for export" >&2
  exit 1
fi

echo "== $platform: every installed header compiles alone, with $strict_flags"
headers=0
while IFS= read -r header; do
  include=${header#"$prefix/include/"}
  language=c++
  flags=(-std=c++20)
  compiler=$cxx
  if [[ $include == OvxComponent/ovx_component.h ]]; then
    language=c
    flags=(-std=c99 -Wall -Wextra -Wpedantic -Wconversion -Werror)
    compiler=$cc
  else
    # shellcheck disable=SC2206
    flags+=($strict_flags)
  fi
  echo "#include <$include>" | $compiler -x $language "${flags[@]}" -fsyntax-only -I"$prefix/include" - ||
    { echo "FAILED: $include does not compile on its own" >&2; exit 1; }
  headers=$((headers + 1))
done < <(find "$prefix/include" -name '*.h' | sort)
echo "   $headers headers"

echo "== $platform: ABI against the baseline"
scripts/abi-baseline.sh check "$build"

echo "== $platform: examples against the installed SDK"
configure_example() {  # name, build folder, extra arguments...
  build_example "$1" "$2" "${toolchain[@]}" -DCMAKE_NO_SYSTEM_FROM_IMPORTED=ON "${@:3}"
}
configure_example host "$work/host" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_FLAGS="$strict_flags"
configure_example c-host "$work/c-host" -DCMAKE_PREFIX_PATH="$prefix" \
  -DCMAKE_C_FLAGS="-Wall -Wextra -Wpedantic -Wconversion -Werror"
# The same C++ host with the library as its subproject: no tests, no tools, no warnings
# of the library's own reach the host's targets.
subproject_dependencies=()
[[ $platform == windows ]] && subproject_dependencies=(-DCMAKE_PREFIX_PATH="$source_dir/build/windows-deps/prefix")
configure_example host "$work/host-subproject" -DOVX_COMPONENT_SOURCE_DIR="$source_dir" "${subproject_dependencies[@]}"
if grep -qE "ovxext|_tests|gtest" "$work/host-subproject/build.ninja"; then
  echo "FAILED: the subproject build also built the library's tools or tests" >&2
  exit 1
fi
if grep -A4 "^build CMakeFiles/ovx-example-host.dir/main.cpp" "$work/host-subproject/build.ninja" | grep -q -- "-Wold-style-cast"; then
  echo "FAILED: the library's warning flags reached the host's own target" >&2
  exit 1
fi
if [[ $platform == linux ]]; then
  # pkg-config, as a Makefile-based host would use it.
  pc_folder=$(dirname "$(find "$prefix" -name OvxComponent.pc)")
  pc_flags=$(PKG_CONFIG_PATH="$pc_folder" pkg-config --cflags --libs OvxComponent)
  # shellcheck disable=SC2086
  gcc -std=c99 -o "$work/c-host-pkgconfig" examples/c-host/main.c $pc_flags -Wl,-rpath,"$(dirname "$pc_folder")" ||
    { echo "FAILED: the C host does not build with pkg-config's flags ($pc_flags)" >&2; exit 1; }
fi

echo "== $platform: the hosts load a package packed by the installed ovxext"
pack_example_extension "$prefix/bin/ovxext$example_exe" "$work"
if [[ $platform == windows ]]; then
  # The subproject build has the DLL beside its host, with the MinGW runtime from the prefix.
  find "$work/host-subproject/ovxcomponent" -name OvxComponent.dll -exec cp {} "$work/host-subproject/" \;
fi
hosts=("$work/host/ovx-example-host$example_exe" "$work/c-host/ovx-example-c-host$example_exe"
  "$work/host-subproject/ovx-example-host$example_exe")
[[ $platform == linux ]] && hosts+=("$work/c-host-pkgconfig")
expect_examples_load "$work" "${hosts[@]}"

echo "== $platform: release archives"
rm -rf $build/packages
(cd $build && cpack >/dev/null)
find $build/packages -name "*.tar.gz" -o -name "*.deb" -o -name "*.zip" | sort
if [[ $platform == linux ]]; then
  contents=$(dpkg-deb -c $build/packages/libovxcomponent18-dbgsym_*.deb)
  expected=./usr/lib/debug/.build-id/
else
  contents=$(unzip -l $build/packages/*.zip)
  expected=bin/OvxComponent.dll.debug
fi
grep -q "$expected" <<<"$contents" || { echo "FAILED: the archive lacks $expected" >&2; exit 1; }
if [[ $platform == windows ]]; then
  for notice in copyright CHANGELOG.md LICENSE THIRD_PARTY_NOTICES.md html/index.html; do
    grep -q "share/doc/OvxComponent/$notice" <<<"$contents" ||
      { echo "FAILED: the archive lacks share/doc/OvxComponent/$notice" >&2; exit 1; }
  done
else
  scripts/deb-check.sh $build/packages
fi
echo "The $platform SDK works."
