#!/usr/bin/env bash
# What the program says of the scenes in corpus/, one fault each or none: their table is the one that is kept, and every
# finding stands in a line whose comment announces it ("# expect: key-order").
#   corpus_test.sh [--accept] [PROGRAM]
source "$(dirname "${BASH_SOURCE[0]}")/compare.sh"

"$root/scripts/corpus" --program "$program" "$here/corpus" >"$folder/measured" || fail "the corpus"
cut -f 1-5,8 "$folder/measured" >"$folder/table"
compare "$here/corpus/table.tsv" "$folder/table"

cd "$here/corpus"
scenes=0
for scene in *.x3d *.x3dv *.wrl; do
    scenes=$((scenes + 1))
    "$program" check "$scene" --format json --per-node 0 >"$folder/findings" 2>&1 || true
    sed -n 's/.*"file":"\([^"]*\)","line":\([0-9]*\),.*"code":"\([^"]*\)".*/\1:\2: \3/p' "$folder/findings" | sort >"$folder/found"
    awk '{ at = index($0, "expect: ") } at { sub(/ *-->.*/, ""); n = split(substr($0, at + 8), codes, " ")
           for (i = 1; i <= n; i++) print FILENAME ":" FNR ": " codes[i] }' "$scene" | sort >"$folder/expected"
    diff "$folder/expected" "$folder/found" || fail "$scene: expected (<) and found (>) differ (above)"
done
[ "$scenes" -gt 30 ] || fail "only $scenes scenes"
finish "$scenes scenes"
