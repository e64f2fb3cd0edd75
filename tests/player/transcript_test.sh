#!/usr/bin/env bash
# Runs the commands of transcript/*.txt ("$ ...", in a folder with the examples, corpus/ and own/) and compares all that comes
# of them with what stands below each: output, messages ("! "), status, and the files that are left. Of more than 44 lines
# or 6,000 bytes, and of files, the length and a checksum stand there; of pages that without their styles and programs.
#   transcript_test.sh [--accept] [PROGRAM [TRANSCRIPT...]]
source "$(dirname "${BASH_SOURCE[0]}")/compare.sh"

mkdir "$folder/bin" "$folder/scenes"
ln -s "$program" "$folder/bin/zelvan-play"
cp -r "$root"/examples/*.x3d "$here/corpus" "$here/transcript/own" "$folder/scenes"
export PATH=$folder/bin:$PATH HOME=$folder/scenes
cd "$folder/scenes"
ls -A >"$folder/given"

checksum() {
    echo "$(wc -c <"$1") bytes, $(sha256sum <"$1" | cut -c 1-12)"
}
shorten() {
    if [ "$(wc -l <"$1")" -gt 44 ] || [ "$(wc -c <"$1")" -gt 6000 ]; then checksum "$1"; else cat "$1"; fi | sed "s/^/$2/"
}

commands=0
[ $# -gt 1 ] || set -- "$program" "$here"/transcript/*.txt
for transcript in "${@:2}"; do
    transcript=$here/transcript/$(basename "$transcript" .txt).txt
    while IFS= read -r line; do
        [[ $line != "# "* ]] || echo "$line"
        [[ $line == "$ "* ]] || continue
        commands=$((commands + 1))
        echo "$line"
        status=0
        (eval "${line#"$ "}") >"$folder/out" 2>"$folder/err" </dev/null || status=$?
        shorten "$folder/out" ""
        shorten "$folder/err" "! "
        [ "$status" -eq 0 ] || echo "[status $status]"
        ls -A | comm -13 "$folder/given" - | while read -r file; do
            case $file in
                *.html) sed -i -e '/^<style>/,/<\/style>/d' -e '/^<script>/,/<\/script>/d' -e '/Content-Security-Policy/d' "$file" ;;
            esac
            echo "$file: $(checksum "$file")"
            rm -r "$file"
        done
    done <"$transcript" >"$folder/transcript"
    compare "$transcript" "$folder/transcript"
done
finish "$commands commands"
