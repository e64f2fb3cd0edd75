#!/bin/sh
# Plays scenes into pages and uses them in a real browser: page_test.sh PROGRAM EXAMPLES TOOLS [FOLDER]
# TOOLS is where scripts/page-tools has put what drives the browser. With FOLDER, pictures of a page (light, dark,
# narrow, printed) stay there for people to look at.
set -eu
browser=$(command -v chromium || command -v chromium-browser || true)
if [ -z "$browser" ] || ! command -v node >/dev/null || [ ! -d "$3/node_modules" ]; then
    echo "skipped: no chromium, node or tools here (scripts/page-tools installs them)"
    exit 77
fi
exec node "$(dirname "$0")/page_test.mjs" "$1" "$2" "$3" "$browser" ${4:+"$4"}
