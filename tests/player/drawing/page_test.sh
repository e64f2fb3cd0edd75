#!/bin/sh
# Plays a scene into a page and looks at it with a real browser: page_test.sh PROGRAM [FOLDER]
# With FOLDER, the page and screenshots of it (light, dark, printed) stay there for people to look at.
set -eu
program=$1
browser=$(command -v chromium || command -v chromium-browser || true)
if [ -z "$browser" ]; then
    echo "skipped: no chromium here (Debian: apt-get install chromium)"
    exit 77
fi
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

fail() {
    echo "FAILED: $*"
    grep CONSOLE "$folder/log" || true
    exit 1
}
# browse ARGUMENT...: one run of the browser, that neither keeps anything nor asks the network.
browse() {
    timeout 100 "$browser" --headless --no-sandbox --disable-gpu --no-first-run --disable-background-networking \
        --disable-component-update --disable-sync --user-data-dir="$folder/profile" --virtual-time-budget=5000 \
        --window-size=1200,3000 --enable-logging=stderr "$@" 2>"$folder/log"
}

cat > "$folder/scene.x3d" <<'SCENE'
<X3D profile='Interchange' version='4.0'><Scene>
  <TimeSensor DEF='Clock' cycleInterval='2' loop='true'/>
  <PositionInterpolator DEF='&lt;/script>&lt;script>document.body.dataset.taken=1&lt;/script>' key='0 0.5 1' keyValue='0 0 0 4 1 0 0 0 0'/>
  <ColorInterpolator DEF='Hue' key='0 0.5 1' keyValue='1 0 0 0 1 0 0 0 1'/>
  <OrientationInterpolator DEF='Spin' key='0 1' keyValue='0 1 0 0 0 1 0 3'/>
  <CoordinateInterpolator DEF='Wave' key='0 1' keyValue='0 0 0 1 0 0 0 2 0 1 3 0'/>
  <ROUTE fromNode='Clock' fromField='fraction_changed' toNode='&lt;/script>&lt;script>document.body.dataset.taken=1&lt;/script>' toField='set_fraction'/>
  <ROUTE fromNode='Clock' fromField='fraction_changed' toNode='Hue' toField='set_fraction'/>
  <ROUTE fromNode='Clock' fromField='fraction_changed' toNode='Spin' toField='set_fraction'/>
  <ROUTE fromNode='Clock' fromField='fraction_changed' toNode='Wave' toField='set_fraction'/>
</Scene></X3D>
SCENE
"$program" run "$folder/scene.x3d" --to 5 --html "$folder/page.html" >/dev/null

# What a person does, done by a script at the end of a copy; what came of it, as words of one element.
sed '$d' "$folder/page.html" | sed '$d' > "$folder/used.html"
cat >> "$folder/used.html" <<'SCRIPT'
<script>
addEventListener("load", () => {
    const charts = [...document.querySelectorAll(".chart")];
    // A curve is there when most columns of the canvas have a pixel that is neither grey nor empty.
    const curves = charts.filter((chart) => {
        const canvas = chart.querySelector("canvas"), {width, height} = canvas;
        const pixels = canvas.getContext("2d").getImageData(0, 0, width, height).data;
        const columns = new Set();
        for (let i = 0; i < pixels.length; i += 4)
            if (pixels[i + 3] > 128 && Math.max(...pixels.slice(i, i + 3)) - Math.min(...pixels.slice(i, i + 3)) > 60)
                columns.add(i / 4 % width);
        return columns.size > width / 2;
    });
    const hue = document.querySelectorAll(".track")[1], canvases = hue.querySelectorAll(".chart canvas");
    const top = canvases[1], frame = top.getBoundingClientRect();
    const mouse = (type, x, target = top) => target.dispatchEvent(new MouseEvent(type, {bubbles: true, view: window,
        clientX: frame.left + frame.width * x, clientY: frame.top + frame.height / 2}));
    const labels = () => [...hue.querySelectorAll(".dygraph-axis-label-x")].map((label) => label.textContent).join(",");
    const before = labels();
    mouse("mousedown", 0.3), mouse("mousemove", 0.5, document), mouse("mouseup", 0.5, document);
    const zoomed = labels();
    hue.querySelector(".at button").click();
    const after = labels();
    mouse("mousemove", 0.1);
    const words = document.body.appendChild(document.createElement("output"));
    words.id = "seen";
    words.textContent = [`drawn=${document.body.dataset.drawn}`, `charts=${charts.length}`, `curves=${curves.length}`,
        `zoomed=${zoomed !== before}`, `back=${after === before}`, `failed=${document.body.dataset.failed}`,
        `taken=${document.body.dataset.taken}`, `values=${hue.querySelectorAll(".values i").length}`,
        `at=${/^time \(s\) 0\.\d+$/.test(hue.querySelector(".at span").textContent)}`,
        `loaded=${performance.getEntriesByType("resource").length}`].join(" ");
});
</script>
SCRIPT
browse --dump-dom "file://$folder/used.html" > "$folder/dom" || fail "the browser did not load the page"
# 9 charts: position; colour and hue; axis, angle and speed; x, y and z of the block.
expected="drawn=4 charts=9 curves=9 zoomed=true back=true failed=undefined taken=undefined values=4 at=true loaded=0"
seen=$(sed -n 's/.*<output id="seen">\([^<]*\)<.*/\1/p' "$folder/dom")
[ "$seen" = "$expected" ] || fail "the page shows '$seen', not '$expected'"
! grep -q CONSOLE "$folder/log" || fail "the page complains"

if [ $# -gt 1 ]; then
    mkdir -p "$2"
    cp "$folder/page.html" "$2"
    browse --screenshot="$2/light.png" "file://$folder/page.html"
    browse --screenshot="$2/dark.png" --blink-settings=preferredColorScheme=0 "file://$folder/page.html"
    browse --print-to-pdf="$2/printed.pdf" --no-pdf-header-footer "file://$folder/page.html"
fi
echo "fine: $seen"
