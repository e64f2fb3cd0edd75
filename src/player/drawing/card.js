"use strict";
// One track: its charts, its values at the play head, and what is beside them.
tools.cardsOf = ({head, frame, axisTitle, paint, sharedTimes, whole, seen, play, moveTo, announce, setView, zoom}) => {
    const {Turntable, colourAt, css, element, rowAt, shown} = tools;

    // Degrees are derived from floats, which have no more than these digits; the other values are exact.
    const isAngle = (panel) => panel.unit.startsWith("°");
    function withUnit(value, panel) {
        if (value === null || value === undefined)
            return "–";
        if (!isAngle(panel))
            return shown(value) + (panel.unit ? " " + panel.unit : "");
        const radians = panel.unit === "°" && panel.title !== "hue"
            ? " = " + shown(value * Math.PI / 180, 6) + " rad" : "";
        return shown(value, 6) + panel.unit + radians;
    }
    // Wide enough for the labels of every chart: all have one axis of the same width.
    const labelWidth = 58;
    const tickText = (value) => {
        const text = String(+value.toPrecision(7));
        return text.length > 9 ? value.toExponential(2) : text;
    };
    // Degrees fall on fractions of a turn; everything else is the library's.
    function degreeTicker(low, high, pixels, options, chart, values) {
        const rough = (high - low) / Math.max(pixels / 30, 1);
        if (rough <= 5)
            return Dygraph.numericTicks(low, high, pixels, options, chart, values);
        let one = [15, 30, 45, 90, 180, 360].find((candidate) => candidate >= rough);
        for (one = one || 720; one < rough; one *= 2);
        const ticks = [];
        for (let tick = Math.ceil(low / one) * one; tick <= high; tick += one)
            ticks.push({v: tick, label: String(tick)});
        return ticks;
    }

    function drawPlaces(context, chart, places, name) {
        const area = chart.getArea(), many = places.length > area.w / 5;
        context.strokeStyle = paint(name);
        context.lineWidth = name === "key" ? 1 : 1.5;
        context.setLineDash({key: [2, 3], found: [6, 3]}[name] || []);
        context.beginPath();
        for (const place of places) {
            const x = Math.round(chart.toDomXCoord(place)) + 0.5;
            if (x < area.x || x > area.x + area.w + 1)
                continue;
            context.moveTo(x, many ? area.y + area.h - 6 : area.y);
            context.lineTo(x, area.y + area.h);
        }
        context.stroke();
        context.setLineDash([]);
    }

    class Card {
        constructor(section, number) {
            this.number = number;
            this.section = section;
            this.data = JSON.parse(section.querySelector("script").textContent);
            for (const panel of this.data.panels)
                panel.times = panel.shared ? sharedTimes : panel.times || this.data.panels[0].times;
            this.charts = [];
            this.view = this.data.axis;
            this.live = section.querySelector(".live");
            this.makeValues();
            if (this.data.panels.length)
                this.makeCharts();
            if (this.data.elements)
                this.elements = new tools.Elements(this.data.elements, section.querySelector(".element"),
                    () => this.redraw());
            const place = section.querySelector(".turntable");
            if (place)
                this.turntable = new Turntable(place, this.data, this.elements, paint);
            this.dot = section.querySelector("svg.path .headDot");
        }

        makeValues() {
            const list = this.section.querySelector(".values");
            this.rows = this.data.panels.flatMap((panel) => panel.lines.map((line) => {
                const row = element(list, "div", "");
                const name = panel.lines.length > 1 && panel.title !== "position" && panel.title !== "value"
                    && panel.title !== "colour" ? panel.title + " " + line.name
                    : panel.lines.length > 1 ? line.name : panel.title;
                element(row, "dt", "t" + line.colour).textContent = name + (line.low ? ", mean" : "");
                return {panel, line, cell: element(row, "dd", "")};
            }));
            if (this.data.strip && this.data.strip.rows.length === 1)
                this.swatch = element(list.parentNode, "div", "swatch");
        }

        makeCharts() {
            const {data, live} = this;
            const drawn = data.panels.filter((panel) => !panel.flat);
            this.section.classList.add("drawn");
            live.classList.toggle("alone", drawn.length === 1);
            this.canvas = data.strip && element(live, "canvas", "strip");
            this.cursor = element(live, "div", "cursor");
            this.box = element(live, "div", "selection");
            drawn.forEach((panel, i) => this.makeChart(panel, i === drawn.length - 1));
            this.listen();
            new ResizeObserver(() => this.place()).observe(live);
        }

        makeChart(panel, last) {
            const box = element(this.live, "div", "panel"), bands = panel.lines.some((line) => line.low);
            const title = element(box, "div", "heading");
            title.textContent = panel.title + (panel.unit ? " (" + panel.unit + ")" : "");
            if (panel.lines.length > 1)
                for (const line of panel.lines)
                    element(title, "b", "t" + line.colour).textContent = line.name;
            if (bands)
                element(title, "span", "").textContent = "line: mean of the elements, band: least to greatest";
            const rows = panel.times.map((time, row) => [time, ...panel.lines.map((line) =>
                bands ? [line.low[row], line.values[row], line.high[row]] : line.values[row])]);
            const chart = new Dygraph(element(box, "div", "chart"), rows, {
                ...this.looks(panel),
                labels: [axisTitle, ...panel.lines.map((line) => line.name)],
                series: Object.fromEntries(panel.lines.filter((line) => line.second)
                    .map((line) => [line.name, {strokePattern: [6, 4], drawPoints: false}])),
                customBars: bands,
                fillAlpha: 0.22,
                strokeWidth: 1.7,
                drawPoints: panel.times.length < 80,
                pointSize: 2.5,
                highlightCircleSize: 0,
                interactionModel: {},
                dateWindow: this.view,
                valueRange: panel.scale,
                legend: "never",
                axisLabelFontSize: 11,
                axisLineWidth: 1,
                gridLineWidth: 1,
                rightGap: 8,
                axes: {
                    x: {drawAxis: last, axisLabelFormatter: tickText},
                    y: {
                        axisLabelWidth: labelWidth,
                        pixelsPerLabel: 26,
                        axisLabelFormatter: tickText,
                        ...isAngle(panel) ? {ticker: degreeTicker} : {},
                    },
                },
                plugins: [{activate: () => ({didDrawChart: (event) => {
                    for (const [places, name] of [["keys", "key"], ["seams", "seam"], ["found", "found"]])
                        drawPlaces(event.drawingContext, event.dygraph, this.data[places], name);
                    if (this.elements)
                        this.elements.draw(event.drawingContext, event.dygraph, panel, paint);
                }})}],
            });
            chart.panel = panel;
            this.charts.push(chart);
        }

        looks(panel) {
            return {
                colors: panel.lines.map((line) => paint("c" + line.colour)),
                gridLineColor: paint("grid"),
                axisLineColor: paint("frame"),
            };
        }
        recolour() {
            this.charts.forEach((chart) => chart.updateOptions(this.looks(chart.panel)));
            this.turntable && this.turntable.draw(head.time);
        }
        redraw() {
            this.charts.forEach((chart) => chart.updateOptions({}));
            this.show(head.time);
        }

        // A press or a drag moves the play head; with Shift it chooses a window, as two fingers do.
        listen() {
            const {live} = this, fingers = new Map();
            let start = null, between = null;
            const at = (event) => this.charts[0].toDataXCoord(event.clientX - live.getBoundingClientRect().left);
            live.addEventListener("pointerdown", (event) => {
                if (event.button !== 0)
                    return;
                live.focus({preventScroll: true});
                live.setPointerCapture(event.pointerId);
                fingers.set(event.pointerId, at(event));
                between = fingers.size === 2 ? [[...fingers.values()], this.view] : null;
                start = event.shiftKey ? at(event) : null;
                if (fingers.size === 1 && start === null) {
                    play(false);
                    moveTo(at(event));
                }
            });
            live.addEventListener("pointermove", (event) => {
                if (this.elements && !fingers.size)
                    this.elements.point(event, this.charts);
                if (!fingers.has(event.pointerId))
                    return;
                fingers.set(event.pointerId, at(event));
                if (between && fingers.size === 2)
                    this.pinch(between, fingers);
                else if (start !== null)
                    this.select(start, at(event));
                else
                    moveTo(at(event));
            });
            const end = (event) => {
                if (!fingers.delete(event.pointerId))
                    return;
                const to = at(event), chosen = start;
                start = between = null;
                this.box.style.display = "none";
                if (event.type === "pointerup" && chosen !== null && Math.abs(to - chosen) > frame / 10)
                    setView(this, [Math.min(chosen, to), Math.max(chosen, to)]);
                announce();
            };
            live.addEventListener("pointerup", end);
            live.addEventListener("pointercancel", end);
            live.addEventListener("dblclick", () => setView(this, whole));
            live.addEventListener("wheel", (event) => {
                if (!event.ctrlKey && !event.metaKey)
                    return;
                event.preventDefault();
                zoom(this, Math.exp(event.deltaY / 200), at(event));
            }, {passive: false});
        }
        pinch([was, window], fingers) {
            const is = [...fingers.values()], factor = Math.abs(was[1] - was[0]) / Math.max(Math.abs(is[1] - is[0]), 1e-9);
            const middle = (was[0] + was[1]) / 2;
            setView(this, [middle - (middle - window[0]) * factor, middle + (window[1] - middle) * factor]);
            fingers.forEach((value, id) => fingers.set(id, value));
        }
        select(from, to) {
            const [left, right] = [from, to].map((x) => this.charts[0].toDomXCoord(x)).sort((a, b) => a - b);
            Object.assign(this.box.style, {display: "block", left: left + "px", width: right - left + "px"});
        }

        isZoomed() { return this.view[0] !== this.data.axis[0] || this.view[1] !== this.data.axis[1]; }
        setView(wanted) {
            // A curve with an axis of its own shows what it has of the window.
            const [from, to] = [Math.max(wanted[0], this.data.axis[0]), Math.min(wanted[1], this.data.axis[1])];
            this.view = from < to ? [from, to] : this.data.axis;
            if (seen.has(this))
                this.place();
        }
        /// What depends on the window and on the width.
        place() {
            for (const chart of this.charts)
                if (String(chart.xAxisRange()) !== String(this.view))
                    chart.updateOptions({dateWindow: this.view});
            if (this.canvas && this.charts.length)
                tools.drawStrip(this.canvas, this.data.strip, this.charts[0]);
            this.show(head.time);
        }

        show(time) {
            for (const {panel, line, cell} of this.rows) {
                const row = rowAt(panel.times, time + frame * 1e-6);
                const band = row >= 0 && line.low && line.low[row] !== null
                    ? ` (${shown(line.low[row], 7)} … ${shown(line.high[row], 7)})` : "";
                const value = row < 0 ? null : line.values[row];
                cell.textContent = (line.low ? shown(value, 7) : withUnit(value, panel)) + band;
            }
            if (this.swatch)
                this.swatch.style.background = css(colourAt(this.data.strip, 0, time));
            if (this.charts.length) {
                const chart = this.charts[0], x = chart.toDomXCoord(time);
                this.cursor.style.display = time < this.view[0] || time > this.view[1] ? "none" : "block";
                this.cursor.style.transform = `translateX(${x}px)`;
            }
            if (this.dot)
                tools.placeDot(this.dot, this.data, rowAt(this.data.panels[0].times, time + frame * 1e-6));
            this.elements && this.elements.show(time);
            this.turntable && this.turntable.draw(time);
        }
        spoken() {
            return this.section.querySelector("h2").textContent + " "
                + this.rows.map(({cell}) => cell.previousElementSibling.textContent + " " + cell.textContent).join(", ");
        }
    }

    return Card;
};
