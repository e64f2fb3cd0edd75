#!/usr/bin/env bash
# Plays the example scenes and compares what they send, byte for byte, with the logs kept in golden/:
#   golden_test.sh [--accept] [PROGRAM]
source "$(dirname "${BASH_SOURCE[0]}")/compare.sh"

while read -r scene options; do
    case $scene in "" | "#"*) continue ;; esac
    # shellcheck disable=SC2086
    if ! "$program" run "$root/examples/$scene.x3d" $options --csv - >"$folder/$scene.csv" 2>"$folder/said"; then
        fail "$scene does not play: $(head -n 3 "$folder/said")"
    elif [ -s "$folder/said" ]; then
        fail "$scene plays with messages: $(head -n 3 "$folder/said")"
    else
        compare "$here/golden/$scene.csv" "$folder/$scene.csv"
    fi
done <"$here/golden/scenes.txt"

# Every scene has its log, and every log its scene.
ls "$root/examples" | sed -n 's/\.x3d$//p' >"$folder/scenes"
ls "$here/golden" | sed -n 's/\.csv$//p' >"$folder/logs"
sed -e '/^#/d' -e 's/ .*//' "$here/golden/scenes.txt" | sort >"$folder/listed"
diff "$folder/scenes" "$folder/listed" || fail "golden/scenes.txt and the scenes of examples/ differ (above)"
diff "$folder/scenes" "$folder/logs" || fail "the logs in golden/ and the scenes of examples/ differ (above)"
finish "$(wc -l <"$folder/scenes") scenes"
