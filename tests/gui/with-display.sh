#!/usr/bin/env bash
# Runs a command on a private virtual screen, so that Wine can create windows.
set -uo pipefail
# shellcheck source=xvfb.sh
source "$(dirname "$0")/xvfb.sh"

start_display || exit 1
stop_wineserver
"$@"
status=$?
stop_wineserver
stop_display
exit $status
