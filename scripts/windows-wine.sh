#!/usr/bin/env bash
# Wine for the tests of a MinGW build: its private prefix (created on first
# use) and a persistent wine server, so that each test program starts in a
# fraction of a second instead of paying Wine's start-up every time. Wine
# shows windows on an X display: when Xvfb is installed, a private one runs
# beside the server, and the prefix's desktop and every test use it; never
# the developer's own display.
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
display_file="$build/wine-display"
if [[ $action == run ]]; then
    shift 2
    bash "$0" start "$build"
    trap 'bash "$0" stop "$build"' EXIT
    if [[ -s $display_file ]]; then
        read -r _ display <"$display_file"
        export DISPLAY=$display KEL_WINE_DISPLAY=$display
    fi
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
# Never the developer's display: the private one below, or none.
unset DISPLAY WAYLAND_DISPLAY

# start_display: a private Xvfb on a free display number; its process id
# and display name go to $display_file for "run" and "stop".
start_display() {
    command -v Xvfb >/dev/null 2>&1 || return 0
    local number_file number
    number_file=$(mktemp)
    Xvfb -displayfd 3 -screen 0 1024x768x24 -nolisten tcp -noreset 3>"$number_file" \
        </dev/null >/dev/null 2>&1 &
    local server=$!
    for _ in $(seq 200); do
        [[ -s $number_file ]] && break
        kill -0 "$server" 2>/dev/null || break
        sleep 0.1
    done
    number=$(tr -dc '0-9' <"$number_file")
    rm -f "$number_file"
    if [[ -z $number ]]; then
        kill "$server" 2>/dev/null || true
        return 0
    fi
    echo "$server :$number" >"$display_file"
    export DISPLAY=":$number"
}

stop_display() {
    [[ -s $display_file ]] || return 0
    local server
    read -r server _ <"$display_file"
    kill "$server" 2>/dev/null || true
    rm -f "$display_file"
}

wineserver=$(dirname "$wine")/wineserver
[[ -x $wineserver ]] || wineserver=$(command -v wineserver)

case $action in
start)
    mkdir -p "$WINEPREFIX"
    # A server left running for this prefix (a "start" without its "stop")
    # goes first: its desktop may be on a display that is gone.
    "$wineserver" -k </dev/null >/dev/null 2>&1 || true
    "$wineserver" -w </dev/null >/dev/null 2>&1 || true
    stop_display
    start_display
    if ! "$wineserver" -p </dev/null >/dev/null 2>&1; then
        echo "windows-wine.sh: the wine server for $WINEPREFIX did not start" >&2
        stop_display
        exit 1
    fi
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
    stop_display
    ;;
*)
    echo "$usage" >&2
    exit 2
    ;;
esac
