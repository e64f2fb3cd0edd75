#!/usr/bin/env bash
# Every include of src/ runs along the layers; one against them is shown with its file and the rule it breaks.
# usage: layers_test.sh <source folder>
set -u

# A folder, and the folders whose headers its files may include besides its own; also a single header, which has no code
# to link.
rules='
opensg/OpenSG          =
base                   = OpenSG
coreNodePool           = OpenSG base
interpolationNodePool  = OpenSG base coreNodePool
player/scene           = OpenSG base coreNodePool
player/reading         = OpenSG base coreNodePool player/scene
player/playing         = OpenSG base coreNodePool player/scene interpolationNodePool/DecomposableMatrix.h
player/checking        = OpenSG base coreNodePool player/scene player/reading player/playing interpolationNodePool/DecomposableMatrix.h interpolationNodePool/Slerp.h
player/drawing         = OpenSG base coreNodePool player/scene player/reading player/playing
player/editing         = OpenSG base coreNodePool player/scene player/reading player/playing player/checking
player/commands        = OpenSG base coreNodePool player/scene player/reading player/playing player/checking player/drawing player/editing
player                 = player/commands
python                 = OpenSG base coreNodePool player/scene player/reading player/playing player/checking player/editing
'

# check <folder>: complains about the includes below it; 1 when there is one to complain about.
check()
{
    (cd "$1" && find . -name '*.h' -o -name '*.cpp' -o -name '*.inl' | sort |
        xargs awk -v rules="$rules" '
        function folderOf(path) { return path ~ /\// ? substr(path, 1, match(path, /\/[^\/]*$/) - 1) : "" }
        BEGIN {
            count = split(rules, lines, "\n")
            for (i = 1; i <= count; ++i)
                if (split(lines[i], sides, " *= *") == 2)
                    allowed[sides[1]] = " " sides[2] " "
        }
        FNR == 1 {
            file = substr(FILENAME, 3)
            folder = folderOf(file)
            if (!(folder in allowed)) {
                print "src/" file ": no layer is known for src/" folder
                bad = 1
            }
            files++
        }
        match($0, /^[ \t]*#[ \t]*include[ \t]*["<][A-Za-z0-9]+\//) {
            name = substr($0, RLENGTH + RSTART)
            sub(/^[ \t]*#[ \t]*include[ \t]*["<]/, "")
            header = substr($0, 1, match($0, /[">]/) - 1)
            to = folderOf(header)
            own = to == folder || "opensg/" to == folder
            ours = (to in allowed) || to == "OpenSG" || to ~ /^(player|python)(\/|$)/
            if (!ours || own)
                next
            includes++
            if (index(allowed[folder], " " to " ") == 0 && index(allowed[folder], " " header " ") == 0) {
                print "src/" file ":" FNR ": includes " to ", but " folder " may include only its own and:" allowed[folder]
                bad = 1
            }
        }
        END {
            if (files == 0 || includes == 0) {
                print "nothing was looked at"
                bad = 1
            }
            exit bad
        }')
}

status=0
check "$1" || status=1

# The test sees what it is for.
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
plant() # <file> <include> <what the message says>
{
    rm -rf "$work/src" && cp -r "$1" "$work/src" && printf '#include %s\n' "$3" >>"$work/src/$2"
    said=$(check "$work/src") && { echo "unnoticed: $3 in $2"; status=1; }
    grep -qF -- "$4" <<<"$said" || { echo "$3 in $2: expected \"$4\", found: $said"; status=1; }
}
plant "$1" player/reading/SceneReader.h '"player/commands/Tables.h"' 'reading/SceneReader.h:'
plant "$1" player/reading/SceneReader.h '"player/playing/Clock.h"' 'includes player/playing, but player/reading may include only'
plant "$1" interpolationNodePool/Kernels.h '<player/scene/Scene.h>' 'includes player/scene, but interpolationNodePool may'
plant "$1" base/Field.h '"interpolationNodePool/Slerp.h"' 'src/base/Field.h:'
plant "$1" python/Scenes.h '"player/commands/Tables.h"' 'includes player/commands, but python may include only'
plant "$1" player/main.cpp '"player/scene/Scene.h"' 'src/player/main.cpp:'
exit $status
