#!/usr/bin/env bash
# Runs a command with DISPLAY pointing at a private Xvfb server, started on
# a free display number and stopped afterwards; the command's exit status
# is the script's. The Windows build's window tests run this way under Wine,
# which shows its windows on an X display:
#
#   with_xvfb.sh wine64 ui_window_win32_test.exe
#
# Without Xvfb the command runs without a display, with the reason in
# KEL_TEST_NO_DISPLAY, and its window tests skip themselves saying why.
set -u

if ! command -v Xvfb >/dev/null 2>&1; then
    export KEL_TEST_NO_DISPLAY="Xvfb is not installed (Debian package xvfb)"
    unset DISPLAY WAYLAND_DISPLAY
    exec "$@"
fi

number_file=$(mktemp)
Xvfb -displayfd 3 -screen 0 1024x768x24 -nolisten tcp -noreset 3>"$number_file" \
    </dev/null >/dev/null 2>&1 &
server=$!
for _ in $(seq 200); do
    [[ -s $number_file ]] && break
    kill -0 "$server" 2>/dev/null || break
    sleep 0.1
done
number=$(tr -dc '0-9' <"$number_file")
rm -f "$number_file"
if [[ -z $number ]]; then
    kill "$server" 2>/dev/null
    wait "$server" 2>/dev/null
    export KEL_TEST_NO_DISPLAY="Xvfb did not start"
    unset DISPLAY WAYLAND_DISPLAY
    exec "$@"
fi

export DISPLAY=":$number"
unset WAYLAND_DISPLAY KEL_TEST_NO_DISPLAY
"$@"
status=$?
kill "$server" 2>/dev/null
wait "$server" 2>/dev/null
exit $status
