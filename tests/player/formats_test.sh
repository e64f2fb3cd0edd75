#!/usr/bin/env bash
# What `check` writes of one bad scene is, in each format, what is kept in formats/; on a terminal, too, if `script` is there
# to play one.
#   formats_test.sh [--accept] [PROGRAM]
source "$(dirname "${BASH_SOURCE[0]}")/compare.sh"

cd "$here/formats"
for format in text json sarif github; do
    "$program" check bad.x3d --no-config --hints --format $format >"$folder/out" 2>"$folder/summary" || true
    # The rules are docs/check-codes.md once more.
    sed 's/"version":"[0-9.]*","rules":\[.*\]}},/"rules":[]}},/' "$folder/out" >"$folder/$format"
    compare "bad.$format" "$folder/$format"
done
compare bad.summary "$folder/summary"
if command -v script >/dev/null; then
    env -u NO_COLOR TERM=xterm script -qec "'$program' check bad.x3d --no-config --hints 2>/dev/null" /dev/null </dev/null | tr -d '\r' >"$folder/terminal" || true
    compare bad.terminal "$folder/terminal"
fi
finish "5 formats"
