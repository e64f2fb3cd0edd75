"use strict";
// What the page shows beside its charts: colours, single elements of blocks, and shapes in a view that turns.
const tools = (() => {
    function element(parent, name, className) {
        const made = parent.appendChild(document.createElement(name));
        made.className = className;
        return made;
    }
    const shown = (value, digits = 15) => value === null || value === undefined ? "–" : String(+value.toPrecision(digits));

    /// Index of the last time that is not after `x`; -1 before the first.
    function rowAt(times, x) {
        let low = 0, high = times.length;
        while (low < high) {
            const middle = (low + high) >> 1;
            if (times[middle] <= x)
                low = middle + 1;
            else
                high = middle;
        }
        return low - 1;
    }

    function colourAt(strip, row, x) {
        const times = strip.times, colours = strip.rows[row], before = rowAt(times, x);
        if (before < 0 || before === times.length - 1 || times[before] === x)
            return before < 0 ? -1 : colours[before];
        const a = colours[before], b = colours[before + 1];
        if (a < 0 || b < 0)
            return -1;
        const share = (x - times[before]) / (times[before + 1] - times[before]);
        const mix = (shift) => Math.round((a >> shift & 255) * (1 - share) + (b >> shift & 255) * share) << shift;
        return mix(16) | mix(8) | mix(0);
    }
    const css = (colour) => colour < 0 ? "transparent" : "#" + colour.toString(16).padStart(6, "0");

    function drawStrip(canvas, strip, chart) {
        const area = chart.getArea(), ratio = window.devicePixelRatio || 1;
        canvas.style.marginLeft = area.x + "px";
        canvas.style.width = area.w + "px";
        canvas.width = Math.max(1, Math.round(area.w * ratio));
        canvas.height = Math.round((strip.rows.length > 1 ? Math.min(8 * strip.rows.length, 48) : 18) * ratio);
        canvas.style.height = canvas.height / ratio + "px";
        const context = canvas.getContext("2d"), [from, to] = chart.xAxisRange();
        const height = canvas.height / strip.rows.length;
        for (let row = 0; row < strip.rows.length; ++row)
            for (let column = 0; column < canvas.width; ++column) {
                context.fillStyle = css(colourAt(strip, row, from + (column + 0.5) / canvas.width * (to - from)));
                context.fillRect(column, Math.floor(row * height), 1, Math.ceil(height));
            }
    }

    /// The play head on a path in a plane.
    function placeDot(dot, {path, panels}, row) {
        const at = (line) => row < 0 ? null : panels[0].lines[line].values[row];
        let [across, up] = path.axes.map((axis, i) => at(axis) === null ? null : at(axis) * path.signs[i]);
        if (path.wheel) {
            const rgb = [at(0), at(1), at(2)], most = Math.max(...rgb), delta = most - Math.min(...rgb);
            const sector = most === rgb[2] ? 4 + (rgb[0] - rgb[1]) / delta
                : most === rgb[1] ? 2 + (rgb[2] - rgb[0]) / delta : (rgb[1] - rgb[2]) / delta;
            const radius = most > 0 ? Math.min(delta / most, 1) : 0;
            across = delta > 0 ? radius * Math.cos(sector * Math.PI / 3) : 0;
            up = delta > 0 ? radius * Math.sin(sector * Math.PI / 3) : 0;
        }
        dot.style.display = across === null || up === null ? "none" : "";
        const [size, unit, middleX, middleY] = path.plot;
        dot.setAttribute("transform", `translate(${size / 2 + (across - middleX) * unit} ${size / 2 - (up - middleY) * unit})`);
    }

    /// Single elements of a block: chosen by a slider, or by pointing at a chart.
    class Elements {
        constructor(data, place, changed) {
            Object.assign(this, data);
            const bytes = Uint8Array.from(atob(data.numbers), (c) => c.charCodeAt(0));
            this.numbers = new Float32Array(bytes.buffer);
            this.changed = changed;
            this.pointed = this.chosen = -1;
            this.row = 0;
            const label = element(place, "label", "");
            label.append("element ");
            const slider = element(label, "input", "");
            Object.assign(slider, {type: "range", min: -1, max: this.count - 1, value: -1});
            this.said = element(place, "output", "");
            slider.addEventListener("input", () => { this.chosen = +slider.value; this.pointed = -1; changed(); });
            place.hidden = false;
        }
        at(row, item, component) { return this.numbers[(row * this.count + item) * this.width + component]; }
        which() { return this.pointed >= 0 ? this.pointed : this.chosen; }
        name(item) { return String(item * this.stride); }

        /// The element whose curve is nearest to the pointer.
        point(event, charts) {
            const chart = charts.find((one) => {
                const {top, bottom} = one.graphDiv.getBoundingClientRect();
                return event.clientY >= top && event.clientY < bottom;
            });
            if (!chart || chart.panel.component === undefined)
                return;
            const frame = chart.graphDiv.getBoundingClientRect();
            const row = Math.max(rowAt(this.times, chart.toDataXCoord(event.clientX - frame.left)), 0);
            const wanted = chart.toDataYCoord(event.clientY - frame.top), [low, high] = chart.yAxisRange();
            let nearest = -1, distance = (high - low) / 12;
            for (let item = 0; item < this.count; ++item) {
                const off = Math.abs(this.at(row, item, chart.panel.component) - wanted);
                if (off < distance)
                    [nearest, distance] = [item, off];
            }
            if (nearest === this.pointed)
                return;
            this.pointed = nearest;
            cancelAnimationFrame(this.coming);
            this.coming = requestAnimationFrame(this.changed);
        }
        draw(context, chart, panel, paint) {
            const item = this.which();
            if (item < 0 || panel.component === undefined)
                return;
            context.strokeStyle = paint("head");
            context.lineWidth = 1.5;
            context.beginPath();
            this.times.forEach((time, row) => {
                const y = this.at(row, item, panel.component);
                context[row ? "lineTo" : "moveTo"](chart.toDomXCoord(time), chart.toDomYCoord(y));
            });
            context.stroke();
        }
        show(time) {
            this.row = Math.max(rowAt(this.times, time + 1e-9), 0);
            const item = this.which();
            const values = Array.from({length: this.width}, (_, c) => shown(this.at(this.row, item, c), 7));
            this.said.textContent = item < 0 ? "all" : this.name(item) + ": " + values.join(" ");
        }
    }

    const sides = {front: [0, 0], above: [0, 90], right: [-90, 0], turned: [-30, 22]};

    /// A path, a block or a turning cross in space (x to the right, y up, z to the viewer), turned by mouse, touch
    /// and keys; a block in a plane is seen from the front.
    class Turntable {
        constructor(place, data, elements, paint) {
            Object.assign(this, {data, elements, paint, kind: data.shape});
            this.canvas = element(place, "canvas", "");
            this.measure();
            if (this.kind !== "outline")
                this.addControls(place);
            this.look(this.kind === "outline" ? "front" : this.flatSide() || "turned");
        }
        addControls(place) {
            const {canvas} = this;
            canvas.tabIndex = 0;
            canvas.setAttribute("role", "img");
            canvas.setAttribute("aria-label", {path: "path in space", cloud: "the elements in space",
                turned: "how it is turned"}[this.kind] + ", at the play head; arrow keys turn it");
            const label = element(place, "label", "");
            label.append("seen from ");
            this.select = element(label, "select", "");
            for (const side in sides)
                this.select.append(new Option(side === "turned" ? "anywhere" : "the " + side, side));
            this.select.options[1].textContent = "above";
            this.select.addEventListener("change", () => this.look(this.select.value));
            let last = null;
            canvas.addEventListener("pointerdown", (event) => {
                last = [event.clientX, event.clientY];
                canvas.setPointerCapture(event.pointerId);
            });
            canvas.addEventListener("pointermove", (event) => {
                if (!last)
                    return;
                this.turn((event.clientX - last[0]) * 0.7, (event.clientY - last[1]) * 0.7);
                last = [event.clientX, event.clientY];
            });
            for (const end of ["pointerup", "pointercancel"])
                canvas.addEventListener(end, () => { last = null; });
            canvas.addEventListener("keydown", (event) => {
                const by = {ArrowLeft: [-10, 0], ArrowRight: [10, 0], ArrowUp: [0, -10], ArrowDown: [0, 10]}[event.key];
                if (!by)
                    return;
                event.preventDefault();
                event.stopPropagation(); // the play head stays
                this.turn(...by);
            });
        }
        look(side) {
            [this.yaw, this.pitch] = sides[side];
            if (this.select)
                this.select.value = side;
            this.draw(this.time || 0);
        }
        turn(yaw, pitch) {
            this.yaw = (this.yaw + yaw) % 360;
            this.pitch = Math.min(Math.max(this.pitch + pitch, -90), 90);
            this.select.value = "turned";
            this.draw(this.time);
        }
        /// The side from which a shape in a plane is seen whole.
        flatSide() {
            const widths = this.low.map((low, c) => this.high[c] - low), most = Math.max(...widths);
            return ["front", "above", "right"].find((_, i) => widths[2 - i] <= most * 1e-5);
        }
        measure() {
            this.low = [Infinity, Infinity, Infinity];
            this.high = [-Infinity, -Infinity, -Infinity];
            const add = (point) => point.forEach((value, c) => {
                if (value === null)
                    return;
                this.low[c] = Math.min(this.low[c], value);
                this.high[c] = Math.max(this.high[c], value);
            });
            if (this.kind === "turned")
                [[-1, -1, -1], [1, 1, 1]].forEach(add);
            else if (this.kind === "path") {
                const {times} = this.data.panels[0], {seams} = this.data;
                this.points = [];
                times.forEach((at, row) => {
                    const seam = row ? rowAt(seams, at) : -1;
                    if (seam >= 0 && seams[seam] >= times[row - 1])
                        this.points.push(null); // where a cycle begins again, nothing moves along the way
                    this.points.push(this.position(row));
                    add(this.position(row));
                });
            } else
                for (let row = 0; row < this.elements.times.length; ++row)
                    for (let item = 0; item < this.elements.count; ++item)
                        add(this.item(row, item));
            this.middle = this.low.map((low, c) => (low + this.high[c]) / 2);
            const half = this.low.map((low, c) => (this.high[c] - low) / 2);
            this.reach = (this.kind === "outline" ? Math.max(...half) : Math.hypot(...half)) || 1;
        }
        position(row) { return this.data.panels[0].lines.map((line) => line.values[row]); }
        item(row, item) {
            return [0, 1, 2].map((c) => c < this.elements.width ? this.elements.at(row, item, c) : 0);
        }

        at(point) {
            const [x, y, z] = point.map((value, c) => value - this.middle[c]), rad = Math.PI / 180;
            const [sy, cy, sp, cp] = [Math.sin(this.yaw * rad), Math.cos(this.yaw * rad), Math.sin(this.pitch * rad),
                Math.cos(this.pitch * rad)];
            const depth = z * cy - x * sy, scale = (this.size / 2 - 22) / this.reach;
            return [this.size / 2 + (x * cy + z * sy) * scale, this.size / 2 - (y * cp - depth * sp) * scale];
        }
        run(points, name, width = 1.6) {
            const {context} = this;
            context.strokeStyle = this.paint(name);
            context.lineWidth = width;
            context.beginPath();
            let down = false;
            for (const point of points) {
                if (!point || point.includes(null)) {
                    down = false;
                    continue;
                }
                context[down ? "lineTo" : "moveTo"](...this.at(point));
                down = true;
            }
            context.stroke();
        }
        dot(point, name, radius) {
            this.context.fillStyle = this.paint(name);
            this.context.beginPath();
            this.context.arc(...this.at(point), radius, 0, 7);
            this.context.fill();
        }
        mark(point) { // the play head's own
            const [x, y] = this.at(point), {context} = this;
            context.fillStyle = this.paint("head");
            context.beginPath();
            for (const [dx, dy] of [[0, -7], [7, 0], [0, 7], [-7, 0]])
                context.lineTo(x + dx, y + dy);
            context.fill();
        }
        write(point, text, name) {
            const [x, y] = this.at(point);
            this.context.fillStyle = this.paint(name);
            this.context.textAlign = x < 30 ? "left" : x > this.size - 30 ? "right" : "center";
            this.context.fillText(text, x, y > this.size / 2 ? y + 13 : y - 5);
        }

        draw(time) {
            this.time = time;
            const ratio = window.devicePixelRatio || 1;
            this.size = this.canvas.clientWidth || 200;
            this.canvas.width = this.canvas.height = Math.round(this.size * ratio);
            this.context = this.canvas.getContext("2d");
            this.context.scale(ratio, ratio);
            this.context.font = "11px system-ui, sans-serif";
            this.box();
            this[this.kind](time);
        }
        /// The scales: edges of the box that holds everything, with the ends of x, y and z.
        box() {
            const {low, high} = this, corner = (c) => low.map((value, i) => i === c ? high[i] : value);
            const size = Math.max(...low.map((value, c) => high[c] - value));
            const short = (value) => String(Math.abs(value) < size * 1e-6 ? 0 : +value.toPrecision(3));
            for (const a of [0, 1, 2])
                for (const b of [0, 1, 2])
                    if (a !== b)
                        this.run([corner(a), corner(a).map((value, i) => i === b ? high[i] : value)], "grid", 1);
            ["x", "y", "z"].forEach((name, c) => {
                if (this.kind === "turned" || high[c] === low[c])
                    return;
                this.run([low, corner(c)], "c" + c, 1.2);
                // Two labels at a short edge would lie on each other.
                const [x, y] = this.at(low), [u, v] = this.at(corner(c)), both = Math.hypot(u - x, v - y) < 45;
                this.write(corner(c), name + " " + (both ? short(low[c]) + " … " : "") + short(high[c]), "c" + c);
                if (both)
                    return;
                const near = low.map((value, i) => i === c ? value + (high[i] - value) * 0.12 : value);
                this.write(near, short(low[c]), "c" + c);
            });
        }
        path(time) {
            const {times} = this.data.panels[0];
            this.run(this.points, "c3");
            for (const key of this.data.keys) {
                const row = rowAt(times, key + 1e-9);
                if (row >= 0 && !this.position(row).includes(null))
                    this.dot(this.position(row), "key", 2.5);
            }
            const row = rowAt(times, time + 1e-9);
            if (row >= 0 && !this.position(row).includes(null))
                this.mark(this.position(row));
        }
        cloud() {
            const {row, count} = this.elements;
            for (let item = 0; item < count; ++item)
                this.dot(this.item(row, item), "c3", count > 300 ? 1.3 : 2);
            if (this.elements.which() >= 0)
                this.mark(this.item(row, this.elements.which()));
        }
        outline() {
            const {row, count} = this.elements;
            this.run(Array.from({length: count}, (_, item) => this.item(row, item)), "c3");
            if (this.elements.which() >= 0)
                this.mark(this.item(row, this.elements.which()));
        }
        turned(time) {
            const [axis, angle] = ["axis", "angle"].map((end) => this.data.panels.find(({title}) => title.endsWith(end)));
            const row = rowAt(angle.times, time + 1e-9), at = rowAt(axis.times, time + 1e-9);
            const turn = row < 0 ? null : angle.lines[0].values[row];
            if (turn === null)
                return;
            const direction = axis.lines.map((line) => line.values[at]), known = !direction.includes(null);
            const [u, v, w] = known ? direction : [0, 0, 1];
            const radians = known ? turn * Math.PI / 180 : 0, c = Math.cos(radians), s = Math.sin(radians);
            const rotated = ([x, y, z]) => {
                const along = (u * x + v * y + w * z) * (1 - c);
                return [x * c + (v * z - w * y) * s + u * along, y * c + (w * x - u * z) * s + v * along,
                    z * c + (u * y - v * x) * s + w * along];
            };
            if (known) {
                this.context.setLineDash([4, 3]);
                this.run([[-u, -v, -w], [u, v, w]].map((point) => point.map((one) => one * 1.25)), "seam", 1.4);
                this.context.setLineDash([]);
            }
            [[1, 0, 0], [0, 1, 0], [0, 0, 1]].forEach((unit, i) => {
                this.run([[0, 0, 0], rotated(unit)], "c" + i, 2.5);
                this.write(rotated(unit), "xyz"[i], "c" + i);
            });
        }
    }

    return {element, shown, rowAt, colourAt, css, drawStrip, placeDot, Elements, Turntable};
})();
