#!/bin/sh
# The Wine side of the Sensor API tests.
#   run-in-wine.sh register PREFIX SERVER.dll   makes PREFIX (once) and registers the scripted
#                                               Sensor API server there for CLSID_SensorManager
#   run-in-wine.sh run PREFIX SCRIPT PROGRAM ARGS...
#                                               runs PROGRAM in PREFIX, its server serving
#                                               SCRIPT ("-": no script)
set -eu
wine=${VEKR_WINE:-/usr/lib/wine/wine64}
what=$1 prefix=$2
shift 2
export WINEPREFIX="$prefix" WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
# A Unix path as Wine's Z: drive shows it.
windows_path() { printf 'Z:%s' "$1" | tr / '\\'; }

case "$what" in
register)
    server=$1
    if [ ! -f "$prefix/system.reg" ]; then
        mkdir -p "$prefix"
        "$wine" wineboot --init >/dev/null 2>&1
    fi
    key='HKLM\Software\Classes\CLSID\{77A1C827-FCD2-4689-8915-9D613CC5FA3E}\InprocServer32'
    "$wine" reg add "$key" /ve /d "$(windows_path "$server")" /f >/dev/null
    "$wine" reg add "$key" /v ThreadingModel /d Both /f >/dev/null
    "$wine" reg query "$key"
    ;;
run)
    script=$1
    shift
    if [ "$script" = - ]; then
        unset VEKR_FAKE_SENSORS
    else
        VEKR_FAKE_SENSORS=$(windows_path "$script")
        export VEKR_FAKE_SENSORS
    fi
    exec "$wine" "$@"
    ;;
*)
    echo "usage: $0 register PREFIX SERVER.dll | run PREFIX SCRIPT PROGRAM [ARGS...]" >&2
    exit 2
    ;;
esac
