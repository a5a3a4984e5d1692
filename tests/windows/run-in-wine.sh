#!/bin/sh
# The Wine side of the Sensor API tests, through the windows preset's wine-run.sh.
#   run-in-wine.sh register WINE_RUN PREFIX SERVER.dll
#       makes PREFIX (once) and registers the scripted Sensor API server there for
#       CLSID_SensorManager
#   run-in-wine.sh run WINE_RUN PREFIX SCRIPT PROGRAM ARGS...
#       runs PROGRAM in PREFIX, its server serving SCRIPT ("-": no script)
set -eu
what=$1 wine_run=$2 prefix=$3
shift 3
# A Unix path as Wine's Z: drive shows it.
windows_path() { printf 'Z:%s' "$(realpath -m "$1")" | tr / '\\'; }

case "$what" in
register)
    server=$1
    key='HKLM\Software\Classes\CLSID\{77A1C827-FCD2-4689-8915-9D613CC5FA3E}\InprocServer32'
    "$wine_run" "$prefix" reg add "$key" /ve /d "$(windows_path "$server")" /f >/dev/null
    "$wine_run" "$prefix" reg add "$key" /v ThreadingModel /d Both /f >/dev/null
    "$wine_run" "$prefix" reg query "$key"
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
    exec "$wine_run" "$prefix" "$@"
    ;;
*)
    echo "usage: $0 register WINE_RUN PREFIX SERVER.dll" >&2
    echo "       $0 run WINE_RUN PREFIX SCRIPT PROGRAM [ARGS...]" >&2
    exit 2
    ;;
esac
