#!/usr/bin/env bash
# Wine for the tests of a MinGW build: its private prefix (created on first
# use) and a persistent wine server, so that each test program starts in a
# fraction of a second instead of paying Wine's start-up every time.
#
#   scripts/windows-wine.sh start build/mingw   # before ctest
#   scripts/windows-wine.sh stop build/mingw    # afterwards
#   scripts/windows-wine.sh run build/mingw ctest --preset mingw   # both around a command
#
# The prefix and the Wine binary are the ones the build was configured with
# (KEL_WINEPREFIX and KEL_WINE in its CMake cache); CTest runs each test with
# the same settings through CMAKE_CROSSCOMPILING_EMULATOR. The server and
# the prefix's background processes get /dev/null for their standard
# streams: a pipe they held would keep a caller reading it waiting forever.
set -euo pipefail

usage="usage: windows-wine.sh start|stop <build directory> | run <build directory> <command>..."
action=${1:?$usage}
build=${2:?$usage}
if [[ $action == run ]]; then
    shift 2
    bash "$0" start "$build"
    trap 'bash "$0" stop "$build"' EXIT
    "$@"
    exit
fi
cache="$build/CMakeCache.txt"
[[ -f $cache ]] || { echo "windows-wine.sh: $cache not found (configure first)" >&2; exit 1; }

cached() { sed -n "s/^$1:[A-Z]*=//p" "$cache"; }
WINEPREFIX=$(cached KEL_WINEPREFIX)
wine=$(cached KEL_WINE)
[[ -n $WINEPREFIX && -x $wine ]] || { echo "windows-wine.sh: no Wine in $cache" >&2; exit 1; }
# The same settings as the build's CMAKE_CROSSCOMPILING_EMULATOR.
export WINEPREFIX WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml=" LC_ALL=C.UTF-8
# Headless: no window of the prefix's background processes may look for a display.
unset DISPLAY WAYLAND_DISPLAY

wineserver=$(dirname "$wine")/wineserver
[[ -x $wineserver ]] || wineserver=$(command -v wineserver)

case $action in
start)
    mkdir -p "$WINEPREFIX"
    "$wineserver" -p </dev/null >/dev/null 2>&1
    log="$build/wineboot.log"
    # Creating a prefix takes seconds; a stuck one must not hold up CI.
    if ! timeout 600 "$wine" wineboot --init </dev/null >/dev/null 2>"$log"; then
        echo "windows-wine.sh: wineboot failed, see $log" >&2
        exit 1
    fi
    ;;
stop)
    "$wineserver" -k </dev/null >/dev/null 2>&1 || true
    "$wineserver" -w </dev/null >/dev/null 2>&1 || true
    ;;
*)
    echo "$usage" >&2
    exit 2
    ;;
esac
