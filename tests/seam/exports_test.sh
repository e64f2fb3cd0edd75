#!/usr/bin/env bash
# Compares what the libraries export with the lists kept in exports/, one name a line:
#   exports_test.sh [--accept] [FOLDER]
# --accept writes the lists anew instead; look at what `git diff` says then. FOLDER holds the libraries, those of the
# release build unless another is named. Names stand as in the source, so that every compiler gives the same lists.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
accept=
if [ "${1:-}" = --accept ]; then
    accept=yes
    shift
fi
folder=${1:-$here/../../build/release/lib}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export LC_ALL=C

# Left out are copies of what a library below defines, and tables of abstract field templates: whether such a table
# is there depends on what the compiler inlined, and nobody needs it.
failures=0
: >"$work/below"
for library in zelvanBase zelvanCoreNodePool zelvanInterpolationNodePool; do
    nm -D --defined-only "$folder/lib$library.so" | sed 's/^.* //' | sort >"$work/defined"
    [ -s "$work/defined" ] || { echo "FAILED: $library exports nothing"; exit 1; }
    comm -23 "$work/defined" "$work/below" | c++filt |
        grep -v '^vtable for Zelvan::[XSM]V\?Field<' | sort -u >"$work/$library"
    sort -u "$work/below" "$work/defined" -o "$work/below"
    if [ -n "$accept" ]; then
        cp "$work/$library" "$here/exports/$library"
    elif ! diff -u0 --label kept --label built "$here/exports/$library" "$work/$library"; then
        echo "FAILED: $library exports something else than $here/exports/$library"
        failures=$((failures + 1))
    fi
done
if [ "$failures" -gt 0 ]; then
    echo "When the new exports are meant: tests/seam/exports_test.sh --accept"
    exit 1
fi
