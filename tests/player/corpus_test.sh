#!/usr/bin/env bash
# What the program says of the scenes in corpus/, one fault each or none: their table is the one that is kept, and every
# finding stands in a line whose comment announces it ("# expect: key-order").
#   corpus_test.sh [--accept] [PROGRAM]
# --accept writes the table anew; look at what `git diff` says then. PROGRAM is the one of the release build unless
# another is named.
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
export LC_ALL=C

failed=
"$root/scripts/corpus" --program "$program" "$here/corpus" >"$folder/measured" || failed=yes
cut -f 1-5,8 "$folder/measured" >"$folder/table"
if [ -n "$accept" ]; then
    cp "$folder/table" "$here/corpus/table.tsv"
elif ! diff -u "$here/corpus/table.tsv" "$folder/table"; then
    echo "FAILED: the table differs; when the new one is right: tests/player/corpus_test.sh --accept"
    failed=yes
fi

cd "$here/corpus"
scenes=0
for scene in *.x3d *.x3dv *.wrl; do
    scenes=$((scenes + 1))
    "$program" check "$scene" --format json --per-node 0 >"$folder/findings" 2>&1 || true
    sed -n 's/.*"file":"\([^"]*\)","line":\([0-9]*\),.*"code":"\([^"]*\)".*/\1:\2: \3/p' "$folder/findings" | sort >"$folder/found"
    awk '{ at = index($0, "expect: ") } at { sub(/ *-->.*/, ""); n = split(substr($0, at + 8), codes, " ")
           for (i = 1; i <= n; i++) print FILENAME ":" FNR ": " codes[i] }' "$scene" | sort >"$folder/expected"
    if ! diff "$folder/expected" "$folder/found" >"$folder/diff"; then
        echo "FAILED: $scene: expected (<) and found (>) differ"
        cat "$folder/diff"
        failed=yes
    fi
done
[ "$scenes" -gt 30 ] || failed=yes
[ -z "$failed" ] || exit 1
echo "fine: $scenes scenes${accept:+, table written}"
