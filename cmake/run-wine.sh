#!/bin/bash
# Runs one Windows program under Wine and answers with its exit code.
#   run-wine.sh PROGRAM.exe [ARGUMENTS...]      run it
#   run-wine.sh --warm-up | --stop              start or end the Wine server beforehand (tests do not need it)
#   Q9_WINE_DIRECT=1 run-wine.sh ...            the same, with the caller's own streams (for people, not for pipes)
#
# - The Wine prefix is build/wine of this source tree, or Q9_WINEPREFIX; it is made when it is missing.
# - Output goes through a file: Wine's helper processes inherit the first program's output and would keep the
#   caller's pipe open for ever.
# - winedbg is off, because a crash could otherwise end with exit code 0.
# - As root the right to override file modes is dropped; read-only files could be written otherwise.
set -u
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
export WINEPREFIX=${Q9_WINEPREFIX:-$root/build/wine}
export WINEDEBUG=${WINEDEBUG:--all}
export WINEDLLOVERRIDES='winedbg.exe=d;mscoree=;mshtml='
export LC_ALL=C.UTF-8
export WINEARCH=win64
unset DISPLAY
linger=120    # seconds the Wine server stays after its last program

if [ "$(id -u)" = 0 ] && [ -z "${Q9_WINE_CAPS_DROPPED:-}" ] && command -v setpriv >/dev/null; then
    export Q9_WINE_CAPS_DROPPED=1
    exec setpriv --bounding-set -dac_override --inh-caps -dac_override "${BASH_SOURCE[0]}" "$@"
fi

if ! command -v wine >/dev/null; then
    echo "run-wine.sh: wine is not installed (packages wine and wine64)" >&2
    exit 127
fi

# True when this prefix has a server: signal 0 only asks.
server_runs() { wineserver -k0 >/dev/null 2>&1; }

warm_up() {
    mkdir -p "$WINEPREFIX"
    (
        flock 9
        if [ ! -e "$WINEPREFIX/q9-ready" ]; then
            wine wineboot -i </dev/null >/dev/null 2>&1 9>&-
            # Windows and message boxes without a display.
            printf 'REGEDIT4\r\n\r\n[HKEY_CURRENT_USER\\Software\\Wine\\Drivers]\r\n"Graphics"="null"\r\n' >"$WINEPREFIX/q9.reg"
            wine regedit /S "$WINEPREFIX/q9.reg" </dev/null >/dev/null 2>&1 9>&-
            wineserver -k >/dev/null 2>&1
            wineserver -w >/dev/null 2>&1
            : >"$WINEPREFIX/q9-ready"
        fi
        if ! server_runs; then
            wineserver -p$linger </dev/null >/dev/null 2>&1 9>&-
            wine wineboot </dev/null >/dev/null 2>&1 9>&-
        fi
    ) 9>"$WINEPREFIX/q9-lock"
}

case ${1:-} in
    --warm-up) warm_up; exit 0 ;;
    --stop) wineserver -k >/dev/null 2>&1; wineserver -w >/dev/null 2>&1; exit 0 ;;
    '') sed -n '2,6p' "${BASH_SOURCE[0]}" >&2; exit 2 ;;
esac

server_runs || warm_up
[ -z "${Q9_WINE_DIRECT:-}" ] || exec wine "$@"
output=$(mktemp)
trap 'rm -f "$output"' EXIT
wine "$@" >"$output" 2>&1 </dev/null
status=$?
cat "$output"
exit $status
