#!/usr/bin/env bash
# Compares what the pool does in two frameworks, and shows that the second one holds nothing that a pool may not use:
#   contract_test.sh CONTRACT-DRIVE BUNDLED-DRIVE COMPILER OPTION...
set -euo pipefail
contract=$1 bundled=$2
shift 2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$contract" >"$work/contract"
"$bundled" >"$work/bundled"
diff "$work/bundled" "$work/contract" >"$work/diff" ||
    { head -n 20 "$work/diff"; echo "FAILED: the pool does something else in the second framework"; exit 1; }
events=$(grep -c '_changed [0-9]' "$work/bundled")
[ "$events" -gt 9000 ] || { echo "FAILED: only $events events"; exit 1; }
echo "$events events are equal"

# compiles STATEMENT: in a function of a pool that is handed a node, a field and a record.
compiles()
{
    printf '%s\n' '#include "interpolationNodePool/ScalarInterpolator.h"' 'namespace Zelvan {' \
        'void planted(Node& node, NodeProc& proc, Field& field, NodeType& type) {' \
        "(void)node; (void)proc; (void)field; (void)type; $1; } }" >"$work/planted.cpp"
    "${compiler[@]}" "$work/planted.cpp" 2>"$work/errors"
}
compiler=("$@")
compiles 'field.processValueChange(0, byProcessor)' || { cat "$work/errors"; exit 1; }
failures=0
while read -r name statement; do
    if compiles "$statement" || ! grep -q "$name" "$work/errors"; then
        echo "FAILED: the second framework lets a pool use $name"
        failures=$((failures + 1))
    fi
done <<'PLANTED'
displayName node.displayName()
clearChanged node.clearChanged()
ref node.ref()
indexOf indexOf(field)
logs logs(osg::LOG_INFO)
tag field.tag()
observe Field::observe(nullptr)
_routesOut (void)field._routesOut
parent type.parent()
MFFloatType (void)MFFloatType
intersects node._isChangingMask.intersects(0)
_dataType (void)field._desc->_dataType
PLANTED
exit $((failures > 0))
