# What the tests share that compare with kept files; they source it with their arguments: [--accept] [PROGRAM].
# --accept writes what is kept anew; look at what `git diff` says then. PROGRAM is the one of the release build unless
# another is named.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$(cd "$here/../.." && pwd)
accept=
if [ "${1:-}" = --accept ]; then
    accept=yes
    shift
fi
program=$(realpath "${1:-$root/build/release/bin/zelvan-play}")
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
export LC_ALL=C

failures=0
fail() {
    echo "FAILED: $*"
    failures=$((failures + 1))
}

# compare KEPT NEW
compare() {
    if [ -n "$accept" ]; then
        cp "$2" "$1"
    elif ! diff -u "$1" "$2" >"$folder/diff" 2>&1; then
        fail "what ${1#"$root/"} keeps is something else"
        head -n 40 "$folder/diff"
    fi
}

# finish WHAT: what has been compared
finish() {
    if [ "$failures" -gt 0 ]; then
        echo "$failures failures; when what is new is right: tests/player/$(basename "$0") --accept"
        exit 1
    fi
    echo "fine: $1${accept:+, written}"
}
