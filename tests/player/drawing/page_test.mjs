// Plays scenes into pages and uses them as people do, in a real browser:
//   node page_test.mjs PROGRAM EXAMPLES TOOLS BROWSER [FOLDER]
// TOOLS holds node_modules with playwright-core and axe-core. With FOLDER, the pages and pictures of them (light, dark,
// narrow, printed) stay there for people to look at.
import {execFileSync, spawnSync} from "node:child_process";
import {mkdirSync, mkdtempSync, readFileSync, rmSync, statSync, writeFileSync} from "node:fs";
import {createRequire} from "node:module";
import {tmpdir} from "node:os";
import {join, resolve} from "node:path";

const [program, examples, tools, executablePath, looks] = process.argv.slice(2);
const require = createRequire(resolve(tools, "node_modules", "package.json"));
const {chromium} = require("playwright-core");
const axe = readFileSync(require.resolve("axe-core/axe.min.js"), "utf8");
const folder = mkdtempSync(join(tmpdir(), "page-"));
let failures = 0;
function expect(fine, what) {
    if (!fine)
        console.log("FAILED: " + what, ++failures && "");
}
const same = (seen, expected, what) =>
    expect(JSON.stringify(seen) === JSON.stringify(expected), `${what}: ${JSON.stringify(seen)}, not ${JSON.stringify(expected)}`);

const play = (...options) => execFileSync(program, ["run", ...options], {encoding: "utf8", stdio: ["ignore", "pipe", "ignore"]});
function pageOf(scene, name, ...options) {
    const file = join(folder, name + ".html");
    play(scene, ...options, "--html", file);
    return file;
}
const launch = (...more) => chromium.launch({executablePath, args: ["--no-sandbox", "--disable-quic", "--no-first-run",
    "--disable-background-networking", "--disable-component-update", "--disable-sync", ...more]});
let browser = await launch("--disable-gpu");
async function open(file, options = {}) {
    const context = await browser.newContext({viewport: {width: 1280, height: 900}, ...options});
    context.setDefaultTimeout(120_000); // machines have other things to do
    const tab = await context.newPage();
    tab.on("console", (message) => expect(message.text().startsWith("Canvas2D:"), `${file} says ${message.text()}`)); // X3DOM reads its pictures
    tab.on("pageerror", (error) => expect(false, `${file} throws ${error.message}`));
    tab.on("request", (request) => expect(/^(file|data|blob):/.test(request.url()),
        `${file} asks for ${request.url()}`));
    await tab.goto("file://" + file);
    await tab.waitForFunction(() => document.body.dataset.drawn > 0);
    return tab;
}
async function drawn(tab) { // every card, however many are in sight
    await tab.evaluate(() => { document.querySelectorAll("section.track").forEach((section) => section.scrollIntoView()); });
    await tab.waitForFunction(() => {
        const next = [...document.querySelectorAll("section.track:not([hidden])")].find((section) => !section.querySelector(".values").firstChild);
        next && next.scrollIntoView();
        return !next;
    });
    await tab.waitForTimeout(200);
}
const setHead = (tab, at) => tab.locator("#head").evaluate((slider, value) => {
    slider.value = value;
    slider.dispatchEvent(new Event("input"));
}, at);
const text = (tab, where) => tab.locator(where).first().textContent();

// -- The values at the play head are those of the program

const quaternion = ([x, y, z, angle]) => {
    const length = Math.hypot(x, y, z) || 1, sine = Math.sin(angle / 2) / length;
    return [x * sine, y * sine, z * sine, Math.cos(angle / 2)];
};
const scenes = [["three-ways", 4], ["daylight", 12], ["turntable", 6], ["pond", 4], ["camera-path", 6], ["eye", 4]];
for (const [scene, length] of scenes) {
    const file = join(examples, scene + ".x3d");
    const tab = await open(pageOf(file, scene, "--to", String(length)));
    for (const part of [0, 0.21, 0.5, 0.77, 1]) {
        const at = Math.round(length * part * 60) / 60;
        const expected = new Map(play(file, "--at", String(at), "--csv", "-").trim().split("\n").slice(1)
            .map((line) => line.split(",")).map(([, node, field, value]) => [`${node}.${field}`, value.trim().split(/\s+/).map(Number)]));
        await setHead(tab, at);
        await drawn(tab);
        const cards = await tab.evaluate(() => [...document.querySelectorAll("section.track")].map((section) => ({
            name: section.querySelector("h2").textContent,
            rows: [...section.querySelectorAll(".values div")].map((row) => [row.firstChild.textContent, row.lastChild.textContent]),
        })));
        expect(cards.length > 0, `${scene} has cards`);
        for (const {name, rows} of cards) {
            const value = expected.get(name), where = `${scene} ${name} at ${at}`;
            const said = (title) => rows.filter(([row]) => row.startsWith(title)).map(([, cell]) => parseFloat(cell));
            if (rows.some(([row]) => row === "angle")) {
                const axis = said("axis"), [degrees] = said("angle");
                const a = quaternion([...axis.map((c) => c || 0), degrees * Math.PI / 180]), b = quaternion(value);
                const off = Math.min(...[1, -1].map((sign) => Math.hypot(...a.map((c, i) => c - sign * b[i]))));
                expect(off < 2e-5, `${where}: off by ${off}`);
            } else if (rows[0][0].endsWith(", mean")) {
                const mean = value.reduce((sum, one) => sum + one, 0) / value.length;
                expect(Math.abs(said("value")[0] - mean) < 1e-6, `${where}: ${said("value")}, not ${mean}`);
            } else if (value.length === 16) {
                same(said("translation"), value.slice(12, 15), where);
            } else {
                same(rows.slice(0, value.length).map(([, cell]) => Number(cell)), value, where);
            }
        }
    }
    await tab.context().close();
}

// -- Used by mouse, touch and keys; whatever the scene's names hold, they stay text

const hostile = "&lt;/script>&lt;script>document.body.dataset.taken=1&lt;/script>&#x202e;";
writeFileSync(join(folder, "scene.x3d"), `<X3D profile='Interchange' version='4.0'><Scene>
  <TimeSensor DEF='Clock' cycleInterval='2' loop='true'/>
  <PositionInterpolator DEF='${hostile}' key='0 0.5 1' keyValue='0 0 0 4 1 2 0 0 0'/>
  <ColorInterpolator DEF='Hue' key='0 0.5 1' keyValue='1 0 0 0 1 0 0 0 1'/>
  <OrientationInterpolator DEF='Spin' key='0 0.5 1' keyValue='0 1 0 0 0 1 0 3.1415927 0 1 0 6.2831853'/>
  <CoordinateInterpolator DEF='Wave' key='0 1' keyValue='0 0 0 1 0 0 0 2 1 1 3 5'/>
  <EaseInEaseOut DEF='Ease' key='0 1' easeInEaseOut='0 0.5 0.5 0'/>
  <ScalarInterpolator DEF='Eased' key='0 0.25 1' keyValue='0 5 1'/>
  <ROUTE fromNode='Ease' fromField='modifiedFraction_changed' toNode='Eased' toField='set_fraction'/>
${[hostile, "Hue", "Spin", "Wave", "Ease"].map((name) =>
    `<ROUTE fromNode='Clock' fromField='fraction_changed' toNode='${name}' toField='set_fraction'/>`).join("\n")}
</Scene></X3D>`);
const page = pageOf(join(folder, "scene.x3d"), "used", "--to", "5");
{
    const tab = await open(page, {hasTouch: true});
    await drawn(tab);
    await tab.evaluate(() => scrollTo(0, 0));
    const state = () => tab.evaluate(() => ({drawn: document.body.dataset.drawn, failed: document.body.dataset.failed,
        taken: document.body.dataset.taken, zoomed: document.body.dataset.zoomed}));
    same(await state(), {drawn: "6"}, "six cards, and nothing went wrong");
    const axes = await tab.evaluate(() => [...document.querySelectorAll(".chart canvas:first-child")].map((canvas) => canvas.clientWidth));
    expect(new Set(axes).size === 1, "all charts have one width: " + axes);
    // A curve is there when most columns of the canvas have a pixel that is neither grey nor empty.
    const curves = await tab.evaluate(() => [...document.querySelectorAll(".chart")].filter((chart) => {
        const canvas = chart.querySelector("canvas"), {width, height} = canvas, columns = new Set();
        const pixels = canvas.getContext("2d").getImageData(0, 0, width, height).data;
        for (let i = 0; i < pixels.length; i += 4)
            if (pixels[i + 3] > 128 && Math.max(...pixels.slice(i, i + 3)) - Math.min(...pixels.slice(i, i + 3)) > 60)
                columns.add(i / 4 % width);
        return columns.size > width / 2;
    }).length);
    same([axes.length, curves], [9, 9], "charts, and those with a curve"); // the axis and x of the block stand still

    const now = () => text(tab, "#now");
    const chart = tab.locator("#track1 .live");
    await chart.focus();
    await tab.keyboard.press("Home");
    for (const [key, expected] of [["ArrowRight", "0.0166666667"], ["Shift+ArrowRight", "0.183333333"], ["End", "5"],
        ["ArrowLeft", "4.98333333"], ["Home", "0"]]) {
        await tab.keyboard.press(key);
        same(await now(), "time (s) " + expected, "after " + key);
    }
    await tab.waitForTimeout(600);
    expect((await text(tab, "#announced")).includes("x 0, y 0, z 0"), "the values are announced");
    const labels = () => tab.evaluate(() => [...document.querySelectorAll("#track2 .dygraph-axis-label-x")].map((e) => e.textContent).join());
    const whole = await labels();
    await tab.keyboard.press("+");
    expect(await labels() !== whole && (await state()).zoomed === "true", "+ on one card zooms all");
    await tab.keyboard.press("0");
    expect(await labels() === whole && (await state()).zoomed === "false", "0 shows all of the curve");
    await tab.locator("#together").uncheck();
    await tab.keyboard.press("Tab");
    await chart.focus();
    await tab.keyboard.press("+");
    expect(await labels() === whole, "zooms alone when told so");
    await tab.locator("#whole").click();

    const box = await chart.boundingBox();
    await tab.mouse.click(box.x + box.width / 2, box.y + 60);
    expect(Math.abs(parseFloat((await now()).slice(9)) - 2.35) < 0.3, "a click moves the play head: " + await now());
    await tab.keyboard.down("Shift");
    await tab.mouse.move(box.x + box.width * 0.3, box.y + 60);
    await tab.mouse.down();
    await tab.mouse.move(box.x + box.width * 0.5, box.y + 60);
    await tab.mouse.up();
    await tab.keyboard.up("Shift");
    expect((await state()).zoomed === "true", "Shift and drag zooms");
    await tab.keyboard.press("0");
    await tab.touchscreen.tap(box.x + box.width * 0.8, box.y + 60);
    expect(parseFloat((await now()).slice(9)) > 3, "a tap moves the play head: " + await now());
    await setHead(tab, 1);
    await tab.locator("#play").click();
    await tab.waitForFunction(() => document.getElementById("head").value > 1.1); // it plays
    await tab.locator("#play").click();

    // Half turns and whole turns: the axis stays and the angle rises, in every cycle anew.
    const spin = JSON.parse(await text(tab, "#track3 script")), angle = spin.panels.find((panel) => panel.title === "angle");
    const turn = angle.lines[0].values, back = turn.filter((value, row) => row && value !== null && value < turn[row - 1] - 1e-3);
    expect(Math.max(...turn) > 350 && Math.min(...turn) >= 0 && back.every((value) => value < 10), "turns: " + back);
    // An eased fraction of a quarter is passed later than a quarter of the time.
    const eased = JSON.parse(await text(tab, "#track6 script")).keys;
    expect(eased.some((time) => time > 0.55 && time < 0.8), "keys behind the ease: " + eased);

    // Round and round, or to the end.
    const time = async () => parseFloat((await now()).slice(9));
    for (const loops of [true, false]) {
        await tab.locator("#loop").setChecked(loops);
        await setHead(tab, 4.9);
        await tab.locator("#play").click();
        await tab.waitForFunction(() => document.getElementById("play").textContent === "Play" || document.getElementById("head").value < 4.8);
        same(await text(tab, "#play"), loops ? "Pause" : "Play", "looping: " + loops);
        if (loops)
            await tab.locator("#play").click();
    }
    same(await time(), 5, "without loop it stops at the end");

    // Ctrl and wheel, and two fingers, zoom around where they are.
    const shownWidth = () => tab.evaluate(() => {
        const [first, ...more] = [...document.querySelectorAll("#track1 .dygraph-axis-label-x")].map((label) => +label.textContent);
        return more.pop() - first;
    });
    const all = await shownWidth();
    await chart.scrollIntoViewIfNeeded();
    const {x, y, width} = await chart.boundingBox();
    await tab.mouse.move(x + width / 2, y + 60);
    await tab.keyboard.down("Control");
    await tab.mouse.wheel(0, -300);
    await tab.keyboard.up("Control");
    await tab.waitForTimeout(200);
    expect(await shownWidth() < all / 2, `Ctrl and wheel zoom: ${await shownWidth()} of ${all}`);
    await tab.locator("#whole").click();
    const touch = await tab.context().newCDPSession(tab), fingers = (type, ...at) => touch.send("Input.dispatchTouchEvent",
        {type, touchPoints: at.map((part, id) => ({x: x + width * part, y: y + 60, id}))});
    await fingers("touchStart", 0.45, 0.55);
    for (const spread of [0.1, 0.2, 0.3])
        await fingers("touchMove", 0.5 - spread, 0.5 + spread);
    await fingers("touchEnd");
    await tab.waitForTimeout(200);
    expect(await shownWidth() < all / 2, `two fingers zoom: ${await shownWidth()} of ${all}`);
    await tab.locator("#whole").click();

    // A view in space turns by keys, and the play head stays.
    const space = tab.locator("#track3 .turntable canvas"), picture = () => space.evaluate((canvas) => canvas.toDataURL());
    await space.focus();
    const before = [await now(), await picture()];
    await tab.keyboard.press("ArrowRight");
    expect(await now() === before[0] && await picture() !== before[1], "the arrow keys turn a view in space");

    await tab.locator("#filter").fill("wave");
    same(await tab.locator("section.track:visible").count(), 1, "cards that the filter shows");
    same(await text(tab, "#track4 .values dt"), "x, mean", "a block shows its mean");
    await tab.locator("#track4 .element input").fill("1");
    expect((await text(tab, "#track4 .element output")).startsWith("1: "), "an element is chosen");
    await tab.context().close();
}

// -- For everybody

/// In the page: text has to stand out 4.5 to 1 from what it is written on, marks 3 to 1.
function contrasts() {
    const context = Object.assign(document.createElement("canvas"), {width: 1, height: 1}).getContext("2d", {willReadFrequently: true});
    const luminance = (colour) => {
        context.fillStyle = colour;
        context.fillRect(0, 0, 1, 1);
        const [r, g, b] = [...context.getImageData(0, 0, 1, 1).data].map((c) => c / 255)
            .map((c) => c <= 0.04045 ? c / 12.92 : ((c + 0.055) / 1.055) ** 2.4);
        return 0.2126 * r + 0.7152 * g + 0.0722 * b;
    };
    const style = getComputedStyle(document.documentElement), own = (name) => style.getPropertyValue("--" + name);
    const stroke = (name) => getComputedStyle(document.querySelector("#palette ." + name)).stroke;
    const pair = (what, colour, on, least) => {
        const [high, low] = [luminance(colour), luminance(own(on))].sort((a, b) => b - a);
        return {what, on, least, ratio: (high + 0.05) / (low + 0.05)};
    };
    const texts = ["ink", "quiet", "link", "found", "c0", "c1", "c2", "c3"];
    const marks = ["c0", "c1", "c2", "c3", "key", "seam", "found", "head"];
    return [...["card", "paper"].flatMap((on) => texts.map((name) => pair(name, own(name), on, 4.5))),
        ...marks.map((name) => pair("mark " + name, stroke(name), "card", 3)), pair("control", own("control"), "card", 3)];
}

for (const [name, options] of [["light", {}], ["dark", {colorScheme: "dark"}], ["narrow", {viewport: {width: 390, height: 844}}],
    ["across", {viewport: {width: 844, height: 390}}]]) {
    const tab = await open(page, options);
    await drawn(tab);
    const wide = await tab.evaluate(() => document.documentElement.scrollWidth - innerWidth);
    expect(wide <= 0, `${name}: ${wide} pixels do not fit`);
    await tab.evaluate(axe);
    const found = await tab.evaluate(() => axe.run({resultTypes: ["violations"]}));
    for (const {id, impact, nodes} of found.violations.filter(({impact}) => impact === "serious" || impact === "critical"))
        expect(false, `${name}: axe finds ${impact} ${id}: ${nodes[0].html}`);
    for (const {what, on, ratio, least} of await tab.evaluate(contrasts))
        expect(ratio >= least, `${name}: ${what} on ${on} has a contrast of ${ratio.toFixed(2)}, not ${least}`);
    if (looks) {
        mkdirSync(looks, {recursive: true});
        await tab.screenshot({path: join(looks, name + ".png"), fullPage: true});
    }
    if (name === "light") {
        const pdf = await tab.pdf({path: looks && join(looks, "printed.pdf")});
        expect(pdf.length > 20000, "it prints");
    }
    await tab.context().close();
}

// -- The scene beside the curves: the fields in the engine are those of the program, and nothing else moves them

const engine = spawnSync(program, ["run", join(examples, "door.x3d"), "--start-all", "--html", join(folder, "door.html"), "--scene"],
    {encoding: "utf8"});
if (engine.status === 3 && engine.stderr.includes("scripts/scene-engine"))
    console.log("skipped: the scene in the page (scripts/scene-engine fetches what draws it)");
else
    await testScenes();

async function testScenes() {
    const charts = browser;
    browser = await launch("--use-angle=swiftshader", "--enable-unsafe-swiftshader");
    const fields = (tab) => tab.evaluate(() => JSON.parse(document.getElementById("staged").textContent).moved.map(({node, name, field, type}) => {
        const value = document.querySelector(`#stage [DEF=n${node}]`)._x3domNode._vf[field];
        return [name, type, type === "SFRotation" ? [value.x, value.y, value.z, value.w]
            : typeof value === "object" ? value.toString().trim().split(/[\s,]+/).map(Number) : [Number(value)]];
    }));
    const show = async (tab, at) => {
        await setHead(tab, at);
        await tab.waitForFunction(() => !document.querySelector("#stage x3d").runtime.canvas.doc.needRender); // is drawn
        await tab.evaluate(() => new Promise((done) => requestAnimationFrame(() => requestAnimationFrame(done))));
    };
    for (const [scene, length] of [["three-ways", 4], ["turntable", 6], ["wind-farm", 4], ["waving-flag", 2], ["daylight", 12], ["eye", 4]]) {
        const file = join(examples, scene + ".x3d"), tab = await open(pageOf(file, scene + "-scene", "--to", String(length), "--scene"));
        await tab.waitForFunction(() => document.body.dataset.staged > 0);
        for (const part of [0.77, 0, 0.21, 0.5, 1]) {
            const at = Math.round(length * part * 60) / 60, expected = new Map(play(file, "--at", String(at), "--csv", "-").trim()
                .split("\n").slice(1).map((line) => line.split(",")).map(([, node, field, value]) => [`${node}.${field}`, value.trim().split(/\s+/).map(Number)]));
            await show(tab, at);
            for (const [name, type, value] of await fields(tab)) {
                let wanted = expected.get(name);
                if (type === "SFRotation") {
                    wanted = quaternion(wanted);
                    const sign = Math.sign(wanted.reduce((sum, one, i) => sum + one * value[i], 0)) || 1;
                    wanted = wanted.map((one) => one * sign);
                }
                const off = wanted.length === value.length ? Math.max(...value.map((one, i) => Math.abs(one - wanted[i]))) : Infinity;
                expect(off < 2e-6, `${scene} ${name} at ${at} is ${value.slice(0, 8)}, not ${wanted.slice(0, 8)}`);
            }
        }
        await tab.context().close();
    }
    await testHostile(fields, show);
    await browser.close();
    browser = charts;
}

// Through PROTOs, in every syntax; pictures in the folder go along; nothing of the scene runs, leads or asks anywhere.
async function testHostile(fields, show) {
    const pixel = "iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAYAAAAfFcSJAAAADUlEQVR42mNk+M9QDwADhgGAWjR9awAAAABJRU5ErkJggg==";
    mkdirSync(join(folder, "in"));
    for (const place of ["in/dot.png", "dot.png"])
        writeFileSync(join(folder, place), Buffer.from(pixel, "base64"));
    writeFileSync(join(folder, "in", "part.wrl"), "#VRML V2.0 utf8\nTransform { translation 0 -1.5 0 children Shape { geometry Box { size 0.5 0.5 0.5 } "
        + "appearance Appearance { material Material { diffuseColor 0 0 0 emissiveColor 0 1 0 } } } }\n");
    const taken = "document.body.dataset.taken=1", ball = (field) => `<ProtoInstance name='Ball' DEF='B'><fieldValue name='what'>
        <Shape><Sphere radius='0.4'/><Appearance><Material diffuseColor='0 0 0' emissiveColor='1 0 0'/></Appearance></Shape></fieldValue>${field}</ProtoInstance>`;
    writeFileSync(join(folder, "in", "hostile.x3d"), `<X3D><Scene><Viewpoint position='0 0 10'/>
      <ProtoDeclare name='Ball'><ProtoInterface><field name='at' type='SFVec3f' accessType='inputOutput' value='0 0 0'/>
        <field name='what' type='MFNode' accessType='initializeOnly'/></ProtoInterface><ProtoBody><Transform>
        <IS><connect nodeField='translation' protoField='at'/><connect nodeField='children' protoField='what'/></IS></Transform></ProtoBody></ProtoDeclare>
      ${ball("<fieldValue name='at' value='1 2 3'/>")}<Inline url='"part.wrl"'/><Inline url='"https://example.invalid/x.x3d"'/>
      <Group DEF='Round'><Group USE='Round'/></Group><Script url='"javascript:${taken}"'/><script>${taken}</script><iframe src='javascript:${taken}'/>
      <Anchor url='"javascript:${taken}"' onclick='${taken}'><Shape onclick='${taken}' onmouseover='${taken}'><Text string='"&lt;img src=x onerror=${taken}>"'/>
      <Appearance><ImageTexture url='"dot.png"'/></Appearance></Shape></Anchor><Foo DEF='&lt;img src=x onerror=${taken}>'><Shape><Extrusion/></Shape></Foo>
      <Shape><Appearance><ImageTexture url='"../dot.png" "https://example.invalid/a.png"'/></Appearance></Shape>
      <TimeSensor DEF='T' loop='true' cycleInterval='2'/><PositionInterpolator DEF='P' key='0 1' keyValue='-3 1 0 3 1 0'/>
      <ROUTE fromNode='T' fromField='fraction_changed' toNode='P' toField='set_fraction'/><ROUTE fromNode='P' fromField='value_changed' toNode='B' toField='at'/>
      </Scene></X3D>`);
    const tab = await open(pageOf(join(folder, "in", "hostile.x3d"), "hostile-scene", "--scene"));
    await tab.waitForFunction(() => document.body.dataset.staged > 0);
    const seen = async (at) => {
        await show(tab, at);
        return tab.evaluate(() => { // where red and green are, from 0 on the left and the top to 1
            const canvas = document.querySelector("#stage canvas"), {width, height} = canvas;
            const copy = Object.assign(document.createElement("canvas"), {width, height}).getContext("2d", {willReadFrequently: true});
            copy.drawImage(canvas, 0, 0);
            const {data} = copy.getImageData(0, 0, width, height);
            return [0, 1].map((c) => {
                const places = [];
                for (let i = 0; i < data.length; i += 4)
                    if (data[i + c] > 180 && data[i + 1 - c] < 60 && data[i + 2] < 60)
                        places.push([i / 4 % width / width, Math.floor(i / 4 / width) / height]);
                return places.length > 20 && [0, 1].map((axis) => places.reduce((sum, at) => sum + at[axis], 0) / places.length);
            });
        });
    };
    const [[red, green], [redLater, greenLater]] = [await seen(0.2), await seen(1.8)];
    expect(red && green && redLater && greenLater, "the PROTO's ball and the Inline's box are seen");
    expect(red[0] < 0.4 && redLater[0] > 0.6 && red[1] < 0.5, `the ball goes from the left to the right: ${red}, ${redLater}`);
    same(greenLater, green, "the box stays");
    const said = await text(tab, "#left"), stage = tab.locator("#stage canvas"), box = await stage.boundingBox();
    for (const sentence of ["X3DOM lacks", "Extrusion", "Foo (shown as a Group)", "lies outside", "example.invalid/x.x3d"])
        expect(said.includes(sentence), `what is not drawn is told: ${sentence}: ${said}`);
    same(await tab.evaluate(() => JSON.parse(document.getElementById("staged").textContent).pictures.length), 1, "pictures taken along");
    for (const [x, y] of [[0.5, 0.5], [0.3, 0.5], [0.6, 0.45]])
        await tab.mouse.click(box.x + box.width * x, box.y + box.height * y);
    await tab.waitForTimeout(300);
    same(await tab.evaluate(() => [document.body.dataset.taken, document.querySelectorAll("script").length, document.querySelector("iframe, #stage script")]),
        [null, await tab.evaluate(() => document.querySelectorAll("section.track").length + 5), null], "nothing of the scene runs");
    await tab.evaluate(axe);
    const found = await tab.evaluate(() => axe.run({resultTypes: ["violations"]}));
    for (const {id, impact, nodes} of found.violations.filter(({impact}) => impact === "serious" || impact === "critical"))
        expect(false, `with the scene: axe finds ${impact} ${id}: ${nodes[0].html}`);
    await tab.context().close();
}

// Nothing moves: the page says what waits for what.
{
    const file = pageOf(join(examples, "door.x3d"), "still"), still = readFileSync(file, "utf8");
    expect(still.includes("Nothing moves.") && still.includes("--start Swing"), "a still page says what starts it");
}
// Many tracks: drawn when they come into view.
{
    const names = Array.from({length: 300}, (_, i) => "I" + i);
    writeFileSync(join(folder, "many.x3d"), `<X3D><Scene><TimeSensor DEF='Clock' cycleInterval='5' loop='true'/>${names.map((name) =>
        `<PositionInterpolator DEF='${name}' key='0 0.3 1' keyValue='0 0 0 1 2 3 0 0 0'/>
         <ROUTE fromNode='Clock' fromField='fraction_changed' toNode='${name}' toField='set_fraction'/>`).join("")}</Scene></X3D>`);
    const many = pageOf(join(folder, "many.x3d"), "many", "--to", "5"), tab = await open(many);
    const paint = await tab.evaluate(() => performance.getEntriesByName("first-contentful-paint")[0]?.startTime);
    const count = await tab.evaluate(() => +document.body.dataset.drawn);
    expect(statSync(many).size < 5e6, `300 tracks take ${statSync(many).size} bytes`);
    expect(count < 30, `${count} of 300 tracks are drawn at once`);
    console.log(`300 tracks: ${statSync(many).size} bytes, first paint after ${Math.round(paint)} ms, ${count} drawn`);
    await tab.context().close();
}
await browser.close();
rmSync(folder, {recursive: true});
if (failures)
    process.exit(1);
console.log("fine");
