#!/usr/bin/env bash
# Cross-compiles libzip, pugixml and libsodium for Windows x64 (MinGW-w64, posix
# threads) from Debian's source packages and installs them as static libraries.
#
# Usage: scripts/build-windows-deps.sh PREFIX
#   PREFIX  install folder, e.g. build/windows/_deps/prefix
# Sources, build trees and logs go beside it: PREFIX/../{src,build,logs}.
set -euo pipefail

readonly SOURCE_PACKAGES=(libzip pugixml libsodium)
readonly APT_PACKAGES=(g++-mingw-w64-x86-64-posix mingw-w64-tools libz-mingw-w64-dev
                       dpkg-dev cmake ninja-build make autoconf automake libtool)
readonly MINGW_ROOT=/usr/x86_64-w64-mingw32
readonly DEBIAN_SOURCES=/etc/apt/sources.list.d/debian.sources
readonly DEB_SRC_FILE=/etc/apt/sources.list.d/ovx-deb-src.sources

SCRIPT=$(realpath "${BASH_SOURCE[0]}")
TOOLCHAIN=$(realpath "$(dirname "$SCRIPT")/../cmake/toolchains/mingw-w64-x86_64.cmake")
readonly SCRIPT TOOLCHAIN

log() { printf '[windows-deps] %s\n' "$*"; }
die() { printf '[windows-deps] error: %s\n' "$*" >&2; exit 1; }

# --- cache -----------------------------------------------------------------

recipe_hash() { cat "$SCRIPT" "$TOOLCHAIN" | sha256sum | cut -d' ' -f1; }

up_to_date() {
    [[ -f $STAMP && -f $PREFIX/lib/libzip.a && -f $PREFIX/lib/libpugixml.a &&
       -f $PREFIX/lib/libsodium.a ]] &&
        grep -qx "recipe=$(recipe_hash)" "$STAMP"
}

write_stamp() {
    local pkg
    {
        for pkg in "${SOURCE_PACKAGES[@]}"; do echo "$pkg=${VERSIONS[$pkg]}"; done
        echo "recipe=$(recipe_hash)"
    } >"$STAMP"
}

# --- apt -------------------------------------------------------------------

apt_get() {
    DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=1800 "$@" \
        >>"$LOG_DIR/apt.log" 2>&1 || die "apt-get $1 failed, see $LOG_DIR/apt.log"
}

missing_apt_packages() {
    local pkg
    for pkg in "${APT_PACKAGES[@]}"; do
        dpkg-query -W -f='${db:Status-Status}' "$pkg" 2>/dev/null | grep -qx installed ||
            echo "$pkg"
    done
}

install_apt_packages() {
    local missing
    mapfile -t missing < <(missing_apt_packages)
    ((${#missing[@]})) || return 0
    log "installing ${missing[*]}"
    apt_get update
    apt_get install -y --no-install-recommends "${missing[@]}"
}

has_deb_src() {
    grep -qsE '^[[:space:]]*deb-src[[:space:]]' /etc/apt/sources.list /etc/apt/sources.list.d/*.list ||
        grep -qsiE '^Types:.*\bdeb-src\b' /etc/apt/sources.list.d/*.sources
}

# Prints each enabled "deb" stanza of a deb822 file again as "deb-src".
deb_src_stanzas() {
    awk '
        function flush() {
            if (types ~ /(^|[ \t])deb([ \t]|$)/ && enabled != "no")
                printf "Types: deb-src\n%s\n", body
            types = ""; enabled = ""; body = ""
        }
        /^#/         { next }
        /^[ \t]*$/   { flush(); next }
        tolower($1) == "types:"   { types = $0; next }
        tolower($1) == "enabled:" { enabled = tolower($2); next }
                     { body = body $0 "\n" }
        END          { flush() }
    ' "$1"
}

fallback_stanza() {
    printf '%s\n' 'Types: deb-src' 'URIs: http://deb.debian.org/debian' 'Suites: bookworm' \
        'Components: main' 'Signed-By: /usr/share/keyrings/debian-archive-keyring.gpg'
}

add_deb_src() {
    local stanzas=""
    [[ -f $DEBIAN_SOURCES ]] && stanzas=$(deb_src_stanzas "$DEBIAN_SOURCES")
    [[ -n $stanzas ]] || stanzas=$(fallback_stanza)
    log "adding deb-src entries in $DEB_SRC_FILE"
    printf '%s\n' "$stanzas" >"$DEB_SRC_FILE"
}

ensure_source_index() {
    has_deb_src || add_deb_src
    if ! apt-cache showsrc "${SOURCE_PACKAGES[@]}" >/dev/null 2>&1; then
        log "apt-get update (source indexes)"
        apt_get update
    fi
}

# --- sources and builds ----------------------------------------------------

download_source() {
    local pkg=$1 dir=$2
    rm -rf "$dir" && mkdir -p "$dir"
    (cd "$dir" && apt-get -o APT::Sandbox::User=root source "$pkg") >>"$LOG_DIR/$pkg-source.log" 2>&1
}

# Downloads and unpacks a source package (Debian patches applied) into
# SRC_DIR/PKG; sets VERSIONS[PKG] and SOURCE_TREES[PKG].
fetch_source() {
    local pkg=$1 dir=$SRC_DIR/$1 tree
    log "fetching Debian source of $pkg"
    : >"$LOG_DIR/$pkg-source.log"
    if ! download_source "$pkg" "$dir"; then
        log "retrying after apt-get update (stale source index?)"
        apt_get update
        download_source "$pkg" "$dir" || die "apt-get source $pkg failed, see $LOG_DIR/$pkg-source.log"
    fi
    tree=$(find "$dir" -mindepth 1 -maxdepth 1 -type d -name "$pkg-*" | head -n 1)
    [[ -n $tree ]] || die "no unpacked source tree in $dir"
    SOURCE_TREES[$pkg]=$tree
    VERSIONS[$pkg]=$(dpkg-parsechangelog -l "$tree/debian/changelog" -S Version)
}

cmake_build() {
    local pkg=$1; shift
    local build=$BUILD_DIR/$pkg logfile=$LOG_DIR/$pkg-build.log
    log "building $pkg ${VERSIONS[$pkg]}"
    rm -rf "$build"
    {
        cmake -G Ninja -S "${SOURCE_TREES[$pkg]}" -B "$build" \
            -DCMAKE_TOOLCHAIN_FILE="$TOOLCHAIN" -DCMAKE_BUILD_TYPE=Release \
            -DCMAKE_INSTALL_PREFIX="$PREFIX" -DBUILD_SHARED_LIBS=OFF "$@" &&
            cmake --build "$build" &&
            cmake --install "$build"
    } >"$logfile" 2>&1 || { tail -n 30 "$logfile" >&2; die "$pkg build failed, see $logfile"; }
}

# Static zlib, so that no zlib1.dll has to ship beside the component.
build_libzip() {
    cmake_build libzip \
        -DZLIB_LIBRARY="$MINGW_ROOT/lib/libz.a" -DZLIB_INCLUDE_DIR="$MINGW_ROOT/include" \
        -DENABLE_BZIP2=OFF -DENABLE_LZMA=OFF \
        -DENABLE_COMMONCRYPTO=OFF -DENABLE_GNUTLS=OFF -DENABLE_MBEDTLS=OFF \
        -DENABLE_OPENSSL=OFF -DENABLE_WINDOWS_CRYPTO=OFF \
        -DBUILD_TOOLS=OFF -DBUILD_REGRESS=OFF -DBUILD_EXAMPLES=OFF -DBUILD_DOC=OFF
    add_zlib_dependency "$PREFIX/lib/cmake/libzip/libzip-config.cmake"
}

# libzip's installed config links ZLIB::ZLIB but never finds it; make it find
# the static zlib before the targets are loaded.
add_zlib_dependency() {
    local config=$1 block
    block=$(cat <<'CMAKE'
if(NOT TARGET ZLIB::ZLIB)
  include(CMakeFindDependencyMacro)
  set(_libzip_saved_zlib_static "${ZLIB_USE_STATIC_LIBS}")
  set(ZLIB_USE_STATIC_LIBS ON)
  find_dependency(ZLIB)
  set(ZLIB_USE_STATIC_LIBS "${_libzip_saved_zlib_static}")
  unset(_libzip_saved_zlib_static)
endif()
CMAKE
)
    grep -q 'libzip-targets.cmake' "$config" || die "unexpected layout of $config"
    BLOCK=$block awk '/libzip-targets\.cmake/ { print ENVIRON["BLOCK"] } { print }' \
        "$config" >"$config.new"
    mv "$config.new" "$config"
}

build_pugixml() {
    cmake_build pugixml -DPUGIXML_BUILD_TESTS=OFF
}

# libsodium builds with autotools. Its full build is needed (scrypt for encrypted secret
# keys is not in the minimal one); no stack protector, whose runtime MinGW links apart.
# The source package carries no configure script: autoreconf makes it, as Debian's build
# does.
build_libsodium() {
    local pkg=libsodium build=$BUILD_DIR/libsodium logfile=$LOG_DIR/libsodium-build.log
    log "building $pkg ${VERSIONS[$pkg]}"
    rm -rf "$build" && mkdir -p "$build"
    (
        (cd "${SOURCE_TREES[$pkg]}" && autoreconf -fi) &&
            cd "$build" &&
            "${SOURCE_TREES[$pkg]}/configure" --host=x86_64-w64-mingw32 --prefix="$PREFIX" \
                --disable-shared --enable-static --disable-ssp --disable-dependency-tracking \
                CFLAGS="-O2" &&
            make -j"$(nproc)" &&
            make install
    ) >"$logfile" 2>&1 || { tail -n 30 "$logfile" >&2; die "$pkg build failed, see $logfile"; }
}

# --- main ------------------------------------------------------------------

main() {
    (($# == 1)) || die "usage: $0 PREFIX"
    PREFIX=$(realpath -m "$1")
    local work; work=$(dirname "$PREFIX")
    SRC_DIR=$work/src BUILD_DIR=$work/build LOG_DIR=$work/logs STAMP=$PREFIX/ovx-deps.stamp

    if up_to_date; then
        log "up to date: $(grep -v '^recipe=' "$STAMP" | paste -sd' ')"
        return 0
    fi
    ((EUID == 0)) || die "must run as root (installs packages, adds deb-src entries)"

    declare -gA VERSIONS=() SOURCE_TREES=()
    mkdir -p "$SRC_DIR" "$BUILD_DIR" "$LOG_DIR"
    : >"$LOG_DIR/apt.log"
    install_apt_packages
    ensure_source_index
    rm -rf "$PREFIX"
    local pkg
    for pkg in "${SOURCE_PACKAGES[@]}"; do
        fetch_source "$pkg"
        "build_$pkg"
    done
    write_stamp
    log "done: installed into $PREFIX (logs in $LOG_DIR)"
}

main "$@"
