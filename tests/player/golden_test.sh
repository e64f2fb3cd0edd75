#!/usr/bin/env bash
# Plays the example scenes and compares what they send, byte for byte, with the logs kept in golden/:
#   golden_test.sh [--accept] [PROGRAM]
# --accept writes the logs anew instead; look at what `git diff` says then. PROGRAM is the one of the release build
# unless another is named.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$(cd "$here/../.." && pwd)
accept=
if [ "${1:-}" = --accept ]; then
    accept=yes
    shift
fi
program=${1:-$root/build/release/bin/zelvan-play}
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

failures=0
fail() {
    echo "FAILED: $*"
    failures=$((failures + 1))
}

while read -r scene options; do
    case $scene in "" | "#"*) continue ;; esac
    log=$folder/$scene.csv kept=$here/golden/$scene.csv
    # shellcheck disable=SC2086
    if ! "$program" run "$root/examples/$scene.x3d" $options --csv - >"$log" 2>"$folder/said"; then
        fail "$scene does not play: $(head -n 3 "$folder/said")"
    elif [ -s "$folder/said" ]; then
        fail "$scene plays with messages: $(head -n 3 "$folder/said")"
    elif [ -n "$accept" ]; then
        cp "$log" "$kept"
    elif ! diff -u "$kept" "$log" >"$folder/diff" 2>&1; then
        fail "$scene sends something else than $kept"
        head -n 12 "$folder/diff"
    fi
done <"$here/golden/scenes.txt"

# Every scene has its log, and every log its scene.
export LC_ALL=C
ls "$root/examples" | sed -n 's/\.x3d$//p' >"$folder/scenes"
ls "$here/golden" | sed -n 's/\.csv$//p' >"$folder/logs"
sed -e '/^#/d' -e 's/ .*//' "$here/golden/scenes.txt" | sort >"$folder/listed"
diff "$folder/scenes" "$folder/listed" || fail "golden/scenes.txt and the scenes of examples/ differ (above)"
diff "$folder/scenes" "$folder/logs" || fail "the logs in golden/ and the scenes of examples/ differ (above)"

scenes=$(wc -l <"$folder/scenes")
if [ "$failures" -gt 0 ]; then
    echo "$failures failures; when the new logs are right: tests/player/golden_test.sh --accept"
    exit 1
fi
echo "fine: $scenes scenes${accept:+, logs written}"
