#!/usr/bin/env bash
# The accessibility check on the running program: a private session bus, an X
# display, a stand-in Microsip with the extension, and revisa_atspi.py talking to
# the program over AT-SPI. Ends with 77 (skipped) when any of these is missing.
#
#   atspi.sh PROGRAMA MICROSIP_SIM LARVENOS_DEMO
set -uo pipefail
programa=$1 sim=$2 demo=$3
aqui=$(cd "$(dirname "$0")" && pwd)
salta() { echo "SKIP: $*"; exit 77; }
command -v dbus-run-session >/dev/null || salta "falta dbus-run-session (paquete dbus)"
command -v xvfb-run >/dev/null || salta "falta xvfb-run (paquete xvfb)"
[ -x /usr/libexec/at-spi-bus-launcher ] || salta "falta at-spi2-core"
/usr/bin/python3 -c 'import pyatspi' 2>/dev/null || salta "falta python3-pyatspi"

carpeta=$(mktemp -d)
trap 'rm -rf "$carpeta"' EXIT
"$sim" init "$carpeta/entorno" >/dev/null || exit 1
QT_QPA_PLATFORM=offscreen "$demo" instala "$carpeta/entorno" >/dev/null || exit 1
export HOME="$carpeta" XDG_RUNTIME_DIR="$carpeta"
exec dbus-run-session -- xvfb-run -a -s '-screen 0 1366x768x24' \
    /usr/bin/python3 "$aqui/revisa_atspi.py" "$programa" "$carpeta/entorno"
