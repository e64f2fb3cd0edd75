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
            return kind instanceof x3dom.nodeTypes.Shape || kind instanceof x3dom.nodeTypes.X3DGroupingNode;
        });
        // What X3DOM lacks is shown as a Group when it holds something to show.
        const holds = nodes.map(() => false);
        for (let i = nodes.length - 1; i >= 0; --i)
            if (nodes[i][1] >= 0 && (isShown[nodes[i][3] >= 0 ? nodes[i][3] : i] || holds[i]))
                holds[nodes[i][1]] = true;
        this.elements = nodes.map(([type, , , use], i) => use < 0 ? this.elementFor(type, nodes[i], holds[i]) : null);
        nodes.forEach(([, parent, field, use], i) => {
            if (use >= 0 && this.elements[use] && !this.isAbove(use, parent)) {
                this.elements[use].setAttribute("DEF", "n" + use);
                this.elements[i] = this.create(this.elements[use].localName);
                this.elements[i].setAttribute("USE", "n" + use);
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
                this.lack(this.data.nodes[moved.node][0] + "." + moved.field);
            else if (node)
                this.fields.push(new tools.MovedField(moved, times, element));
        }
        if (!this.x3d.runtime)
            this.say("The scene cannot be shown: there is no WebGL here.");
        else if (!this.data.nodes.some(([type]) => type.endsWith("Viewpoint")))
            this.x3d.runtime.showAll("negZ");
        if (this.lacking.size)
            this.say("X3DOM lacks " + [...this.lacking].map(([what, count]) => what + (count > 1 ? ` (${count} times)` : "")).join(", ") + ".");
        document.body.dataset.staged = this.fields.length;
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
