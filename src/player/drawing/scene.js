"use strict";
// The scene as X3DOM draws it. What is built is built here, node by node: only types and fields that X3DOM has, in its own
// namespace, where no element is a script and no attribute a handler. Nothing in it moves of itself: it is given the
// values that were recorded.
tools.Stage = class {
    static becomes = {Anchor: "Group", Inline: "Group"}; // neither leads anywhere here

    constructor(place, data, left) {
        Object.assign(this, {place, data, left});
        x3dom.debug.doLog = () => {}; // would write what the scene says as markup
        this.lacking = new Map();
        this.fields = [];
        this.elements = [];
        this.x3d = document.createElement("x3d");
        for (const name of ["showLog", "showStat", "showProgress"])
            this.x3d.setAttribute(name, "false");
        this.scene = this.create("Scene");
        if (!data.nodes.some(([type]) => type.endsWith("Viewpoint")))
            this.scene.append(this.eye = this.create("Viewpoint"));
        this.build();
        this.x3d.append(this.scene);
        place.append(this.x3d);
        this.printed = tools.element(place, "img", "printed");
        this.printed.alt = "The scene at the play head";
        window.addEventListener("beforeprint", () => {
            if (this.x3d.runtime)
                this.printed.src = this.x3d.runtime.getScreenshot();
        });
    }

    create(type) { return document.createElementNS(x3dom.x3dNS, type); }
    lack(what) { this.lacking.set(what, (this.lacking.get(what) || 0) + 1); }
    has(type) { return /^(?!X3D)[A-Z]\w*$/.test(type) && Object.hasOwn(x3dom.nodeTypes, type) && type !== "Scene"; }

    build() {
        const {nodes} = this.data, isShown = nodes.map(([type]) => {
            const kind = this.has(type) && x3dom.nodeTypes[type].prototype;
            return kind instanceof x3dom.nodeTypes.X3DShapeNode || kind instanceof x3dom.nodeTypes.X3DGroupingNode;
        });
        // What X3DOM lacks is shown as a Group when it holds something to show.
        const holds = nodes.map(() => false);
        for (let i = nodes.length - 1; i >= 0; --i)
            if (nodes[i][1] >= 0 && (isShown[nodes[i][3] >= 0 ? nodes[i][3] : i] || holds[i]))
                holds[nodes[i][1]] = true;
        this.elements = nodes.map(([type, , , use], i) => use < 0 ? this.elementFor(type, nodes[i], holds[i]) : null);
        nodes.forEach(([, parent, field, use], i) => {
            if (use >= 0 && this.elements[use] && !this.isAbove(use, parent)) {
                this.elements[i] = this.create(this.elements[use].localName);
                this.elements[i].setAttribute("USE", "n" + use);
            } else if (this.elements[i]) {
                this.elements[i].setAttribute("DEF", "n" + i);
            }
            const element = this.elements[i], above = parent === -1 ? this.scene : this.elements[parent];
            if (!element || !above)
                return;
            if (/^\w+$/.test(field))
                element.setAttribute("containerField", field);
            above.append(element);
        });
    }
    /// Whether a node would be used inside itself.
    isAbove(node, at) {
        for (let steps = 0; at >= 0 && steps < 5000; ++steps, at = this.data.nodes[at][1])
            if (at === node)
                return true;
        return false;
    }
    elementFor(type, node, isGroup) {
        let name = tools.Stage.becomes[type] || type;
        if (!this.has(name)) {
            this.lack(type + (isGroup ? " (shown as a Group)" : ""));
            if (!isGroup)
                return null;
            name = "Group";
        }
        if (name === "ImageTexture" && !node.includes("url", 4))
            return null; // would be black
        const element = this.create(name);
        for (let i = 4; i < node.length; i += 2)
            if (/^[a-z]\w*$/i.test(node[i]) && !/^(on.+|def|use|id|class|is)$/i.test(node[i]))
                element.setAttribute(node[i], typeof node[i + 1] === "number" ? `"${this.data.pictures[node[i + 1]]}"` : node[i + 1]);
        return element;
    }

    /// When X3DOM has set up its nodes.
    begin() {
        let times = [];
        for (const moved of this.data.moved) {
            times = moved.times || times;
            const element = this.elements[moved.node], node = element && element._x3domNode;
            if (node && node._vf[moved.field] === undefined)
                this.lack(`${moved.name} of a ${this.data.nodes[moved.node][0]}`);
            else if (node)
                this.fields.push(new tools.MovedField(moved, times, element));
        }
        if (!this.x3d.runtime)
            this.say("The scene cannot be shown: there is no WebGL here.");
        else if (this.eye)
            this.lookAtAll();
        if (this.lacking.size)
            this.say("X3DOM lacks " + [...this.lacking].map(([what, count]) => what + (count > 1 ? ` (${count} times)` : "")).join(", ") + ".");
        document.body.dataset.staged = this.fields.length;
    }
    /// Without a viewpoint of its own, the scene is seen from the front, with all the places it comes to.
    lookAtAll() {
        const times = this.fields.flatMap(({times}) => [times[0], times[times.length - 1]]);
        const first = Math.min(...times), last = Math.max(...times), low = Array(3).fill(Infinity), high = low.map((value) => -value);
        const looks = 16;
        for (let look = 0; look <= looks; ++look) {
            this.show(times.length ? first + (last - first) * look / looks : 0);
            const {min, max} = this.x3d.runtime.getSceneBBox();
            ["x", "y", "z"].forEach((axis, c) => {
                low[c] = Math.min(low[c], min[axis]);
                high[c] = Math.max(high[c], max[axis]);
            });
        }
        const [x, y, z] = low.map((value, c) => (value + high[c]) / 2);
        if (!Number.isFinite(x + y + z))
            return;
        const {clientWidth, clientHeight} = this.place;
        const half = Math.max((high[1] - low[1]) / 2, (high[0] - low[0]) / 2 * clientHeight / clientWidth, 0.1);
        const viewpoint = this.eye._x3domNode, distance = 1.1 * half / Math.tan(Math.PI / 8);
        viewpoint.updateField("centerOfRotation", `${x} ${y} ${z}`);
        viewpoint.updateField("position", `${x} ${y} ${high[2] + distance}`);
        this.x3d.runtime.resetView();
    }
    say(sentence) { tools.element(this.left, "li", "").append(sentence); }

    show(time) {
        let changed = false;
        for (const field of this.fields)
            changed = field.show(time) || changed;
        if (changed && this.x3d.runtime)
            this.x3d.runtime.triggerRedraw();
    }
};

/// A field that recorded values arrive at.
tools.MovedField = class {
    constructor({field, type, width, starts, numbers}, times, element) {
        const bytes = Uint8Array.from(atob(numbers), (c) => c.charCodeAt(0));
        Object.assign(this, {field, type, width, starts, times, element, row: -1});
        this.numbers = new Float32Array(bytes.buffer);
        this.initial = element.getFieldValue(field);
    }
    /// Returns whether something has changed.
    show(time) {
        const row = tools.rowAt(this.times, time);
        if (row === this.row)
            return false;
        this.row = row;
        if (row < 0)
            this.element.setFieldValue(this.field, this.initial);
        else
            this.element._x3domNode.updateField(this.field, this.text(row));
        return true;
    }
    text(row) {
        const {starts, width} = this;
        const values = starts ? this.numbers.subarray(starts[row], starts[row + 1]) : this.numbers.subarray(row * width, (row + 1) * width);
        return this.type.endsWith("Bool") ? Array.from(values, (value) => value ? "true" : "false").join(" ") : values.join(" ");
    }
};
