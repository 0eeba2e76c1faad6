#!/usr/bin/env bash
# Builds minizip (the zip layer that comes with zlib) for 64-bit Windows
# from Debian's zlib source package and installs it into a prefix of the
# MinGW cross build: lib/libminizip.a, include/minizip/*.h and
# lib/pkgconfig/minizip.pc (Cflags and Libs as Debian's own minizip.pc).
#
#   scripts/mingw-minizip.sh build/mingw/deps
#
# The build's configure step runs this when KEL_MINGW_MINIZIP is ON. The
# sources come through apt-get with a source list of this script's own
# (Dir::Etc::SourceList) and private list and cache directories, so the
# machine's apt configuration and state stay as they are.
set -euo pipefail

prefix=${1:?usage: mingw-minizip.sh <prefix>}
mkdir -p "$prefix"
prefix=$(cd "$prefix" && pwd)
triplet=x86_64-w64-mingw32
cc=${KEL_MINGW_CC:-$triplet-gcc-posix}
ar=${KEL_MINGW_AR:-$triplet-ar}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
chmod 755 "$work"  # apt's download user must be able to write there

# shellcheck disable=SC1091
codename=$(. /etc/os-release && echo "${VERSION_CODENAME:-bookworm}")
mkdir -p "$work/apt/lists/partial" "$work/apt/cache/archives/partial" "$work/apt/parts"
cat >"$work/apt/sources.list" <<LIST
deb-src [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] http://deb.debian.org/debian $codename main
LIST
apt_options=(
    -o "Dir::Etc::SourceList=$work/apt/sources.list"
    -o "Dir::Etc::SourceParts=$work/apt/parts"
    -o "Dir::State::Lists=$work/apt/lists"
    -o "Dir::Cache=$work/apt/cache"
    -o "Debug::NoLocking=1"
)
echo "mingw-minizip.sh: fetching Debian's zlib sources"
apt-get "${apt_options[@]}" -qq update
(cd "$work" && apt-get "${apt_options[@]}" -qq source zlib >/dev/null 2>&1)
src=$(find "$work" -maxdepth 1 -type d -name 'zlib-*' | head -n 1)
[[ -d $src/contrib/minizip ]] || { echo "mingw-minizip.sh: no contrib/minizip in $src" >&2; exit 1; }
version=$(sed -n 's/^#define ZLIB_VERSION "\(.*\)"/\1/p' "$src/zlib.h")

echo "mingw-minizip.sh: compiling minizip $version for $triplet"
minizip=$src/contrib/minizip
objects=()
for unit in ioapi unzip zip mztools iowin32; do
    "$cc" -O2 -gdwarf-4 -Wno-unused -c "$minizip/$unit.c" -o "$work/$unit.o"
    objects+=("$work/$unit.o")
done
mkdir -p "$prefix/lib/pkgconfig" "$prefix/include/minizip"
rm -f "$prefix/lib/libminizip.a"
"$ar" rcs "$prefix/lib/libminizip.a" "${objects[@]}"
cp "$minizip"/{ioapi,unzip,zip,mztools,iowin32}.h "$prefix/include/minizip/"
cat >"$prefix/lib/pkgconfig/minizip.pc" <<PC
prefix=$prefix
libdir=\${prefix}/lib
includedir=\${prefix}/include

Name: minizip
Description: Zip and unzip on top of zlib, built for $triplet from Debian's zlib sources
Version: $version
Requires: zlib
Libs: -L\${libdir} -lminizip
Cflags: -I\${includedir}/minizip -I\${includedir}
PC
echo "mingw-minizip.sh: installed into $prefix"
