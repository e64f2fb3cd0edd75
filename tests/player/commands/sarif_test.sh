#!/usr/bin/env bash
# What `check --format sarif` writes of all examples, and of files with faults, is valid by the public schema; its fixes give
# the text that `check --fix` does.
# The schema comes from a package of the npm registry and stays in the build folder; skipped where that cannot be had.
# usage: sarif_test.sh <zelvan-play> <examples> <folder to keep the schema in>
set -u
play=$1 examples=$2 kept=$3
package=@microsoft/jest-sarif@1.0.0-beta.0 schema=$kept/package/lib/schemas/sarif-2.1.0-rtm.5.json

python3 -c 'import jsonschema' 2>/dev/null || { echo "python3-jsonschema is not installed"; exit 77; }
if [[ ! -f $schema ]]; then
    mkdir -p "$kept" && (cd "$kept" && npm pack --silent "$package" >/dev/null 2>&1 && tar xzf microsoft-jest-sarif-*.tgz) ||
        { echo "the schema cannot be had"; exit 77; }
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
printf '<X3D><Scene><ScalarInterpolator key="1 0" keyValue="2"/><Inline url="x"/>' >"$work/cut %.x3d"
printf '<X3D><Scene><ScalarInterpolator DEF="\xc3\xa9" key="1 0 a" keyValue="2"/></Scene></X3D>' >"$work/bad.x3d"
cp "$(dirname "$0")/../formats/bad.x3d" "$work"/plain.x3d
# The same with a byte order mark, all in one line but for one CR, behind letters of several bytes.
{ printf '\xef\xbb\xbf' && sed 1d "$work/plain.x3d" | tr '\n' ' ' | sed $'s/2 0 0/\r2 0 0/'; } >"$work/mark.x3d"
(cd "$work" && "$play" check "$examples" . missing.x3d --hints --format sarif -o all.sarif)
cd "$work" && python3 - "$schema" "$work/all.sarif" "$play" <<'END'
import json, re, subprocess, sys
from jsonschema import Draft7Validator

schema, log = (json.load(open(name)) for name in sys.argv[1:3])
results = log["runs"][0]["results"]
assert len({r["ruleId"] for r in results}) > 3, "too few findings to prove anything"
errors = sorted(Draft7Validator(schema).iter_errors(log), key=str)
for error in errors[:10]:
    print("/".join(map(str, error.absolute_path)), error.message[:300])
log["runs"][0]["results"].append({"level": "bad"})
assert list(Draft7Validator(schema).iter_errors(log)), "the schema accepts anything"

def fixed(result):
    change, = result["fixes"][0]["artifactChanges"]
    text = open(change["artifactLocation"]["uri"], encoding="utf-8-sig", newline="").read()
    lines = re.split("(?<=\n)|(?<=\r)(?!\n)", text)
    at = lambda line, column: sum(map(len, lines[:line - 1])) + column - 1
    for replacement in reversed(change["replacements"]):
        region = replacement["deletedRegion"]
        begin, end = at(region["startLine"], region["startColumn"]), at(region["endLine"], region["endColumn"])
        text = text[:begin] + replacement["insertedContent"]["text"] + text[end:]
    return text

fixes = [result for result in results if "fixes" in result and result["locations"][0]["physicalLocation"]["artifactLocation"]["uri"]
         in ("plain.x3d", "mark.x3d")]
assert len(fixes) == 8, f"{len(fixes)} fixes"
for result in fixes:
    file = result["locations"][0]["physicalLocation"]["artifactLocation"]["uri"]
    own = subprocess.run([sys.argv[3], "check", file, "--fix", "--unsafe-fixes", "--only", result["ruleId"], "-o", "-"], capture_output=True)
    assert fixed(result) == own.stdout.decode("utf-8-sig"), f"{file}: {result['ruleId']}"
print(len(results), "results,", len(errors), "errors")
sys.exit(bool(errors))
END
