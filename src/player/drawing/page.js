"use strict";
// Puts charts in the place of the still pictures, track by track as they come into view.
(() => {
    const tracks = [...document.querySelectorAll("section.track")];
    const together = document.getElementById("together");
    const axisTitle = document.body.dataset.axis;
    const drawn = new Map(); // section -> charts
    let settling = false;

    window.addEventListener("error", (event) => { document.body.dataset.failed = event.message; });

    // The colours are those of the still pictures: one source, and they follow the theme.
    const paint = (name) => getComputedStyle(document.querySelector("#palette ." + name)).stroke;
    const looks = (panel) => ({
        colors: panel.lines.map((line) => paint("c" + line.colour)),
        gridLineColor: paint("grid"),
        axisLineColor: paint("frame"),
    });

    function element(parent, name, className) {
        const made = parent.appendChild(document.createElement(name));
        made.className = className;
        return made;
    }

    /// Index of the time nearest to `x`.
    function rowAt(times, x) {
        let low = 0, high = times.length - 1;
        while (low < high) {
            const middle = (low + high) >> 1;
            if (times[middle] < x)
                low = middle + 1;
            else
                high = middle;
        }
        return low > 0 && x - times[low - 1] < times[low] - x ? low - 1 : low;
    }

    // Degrees are derived from floats, which have no more than these digits; the other values are exact.
    const isAngle = (panel) => panel.unit.startsWith("°");
    const shown = (value, digits = 15) => value === null ? "–" : String(+value.toPrecision(digits));
    function withUnit(value, panel) {
        if (value === null || !panel.unit)
            return shown(value);
        if (!isAngle(panel))
            return shown(value) + " " + panel.unit;
        const radians = panel.unit === "°" && panel.title !== "hue"
            ? " = " + shown(value * Math.PI / 180, 6) + " rad" : "";
        return shown(value, 6) + panel.unit + radians;
    }

    function valuesText(panel, row) {
        const title = panel.title + (panel.unit ? " (" + panel.unit + ")" : "");
        const single = panel.lines.length === 1;
        return title + panel.lines.map((line) => {
            const name = single ? "" : line.name;
            const head = `<b style="color:${paint("c" + line.colour)}">${name}</b> `;
            if (row === undefined)
                return single ? "" : head;
            const band = line.low && line.low[row] !== null
                ? ` (${shown(line.low[row], 9)} … ${shown(line.high[row], 9)})` : "";
            return head + `<i>${withUnit(line.values[row], panel)}${band}</i>`;
        }).join("");
    }

    // Degrees fall on fractions of a turn; everything else is the library's.
    function degreeTicker(low, high, pixels, options, chart, values) {
        const rough = (high - low) / Math.max(pixels / 30, 1);
        if (rough <= 5)
            return Dygraph.numericTicks(low, high, pixels, options, chart, values);
        let step = [15, 30, 45, 90, 180, 360].find((one) => one >= rough);
        for (step = step || 720; step < rough; step *= 2);
        const ticks = [];
        for (let tick = Math.ceil(low / step) * step; tick <= high; tick += step)
            ticks.push({v: tick, label: String(tick)});
        return ticks;
    }

    function drawPlaces(context, chart, places, name) {
        const area = chart.getArea(), many = places.length > area.w / 5;
        context.strokeStyle = paint(name);
        context.lineWidth = name === "seam" ? 1.5 : 1;
        context.setLineDash(name === "seam" ? [] : [2, 3]);
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

    function colourAt(strip, row, x) {
        const times = strip.times, colours = strip.rows[row];
        if (times.length === 1)
            return colours[0];
        if (x < times[0] || x > times[times.length - 1])
            return -1;
        let after = rowAt(times, x);
        if (times[after] < x)
            ++after;
        if (times[after] === x)
            return colours[after];
        const a = colours[after - 1], b = colours[after];
        if (a < 0 || b < 0)
            return -1;
        const part = (x - times[after - 1]) / (times[after] - times[after - 1]);
        const mix = (shift) => Math.round((a >> shift & 255) * (1 - part) + (b >> shift & 255) * part) << shift;
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

    function placeDot(dot, path, panel, row) {
        const at = (line) => panel.lines[line].values[row];
        let [across, up] = path.axes.map(at);
        if (path.wheel) {
            const rgb = [at(0), at(1), at(2)], most = Math.max(...rgb), delta = most - Math.min(...rgb);
            const sector = most === rgb[2] ? 4 + (rgb[0] - rgb[1]) / delta
                : most === rgb[1] ? 2 + (rgb[2] - rgb[0]) / delta : (rgb[1] - rgb[2]) / delta;
            const radius = most > 0 ? Math.min(delta / most, 1) : 0;
            across = delta > 0 ? radius * Math.cos(sector * Math.PI / 3) : 0;
            up = delta > 0 ? radius * Math.sin(sector * Math.PI / 3) : 0;
        }
        const [size, unit, middleX, middleY] = path.plot;
        dot.setAttribute("cx", size / 2 + (across - middleX) * unit);
        dot.setAttribute("cy", size / 2 - (up - middleY) * unit);
        dot.style.display = across === null || up === null ? "none" : "";
    }

    function draw(section) {
        if (drawn.has(section))
            return;
        const charts = [];
        drawn.set(section, charts);
        const data = JSON.parse(section.querySelector("script").textContent);
        const live = section.querySelector(".live");
        if (!data.panels.length)
            return;
        section.classList.add("drawn");
        if (data.panels.length === 1)
            live.classList.add("alone");

        const at = element(live, "div", "at");
        const where = element(at, "span", "");
        const whole = element(at, "button", "");
        whole.textContent = "whole curve";
        whole.type = "button";
        whole.hidden = true;
        const canvas = data.strip && element(live, "canvas", "strip");
        const cursor = element(live, "div", "cursor");
        let dot = null;
        if (data.path) {
            dot = document.createElementNS("http://www.w3.org/2000/svg", "circle");
            dot.setAttribute("class", "cursorDot");
            dot.setAttribute("r", 5);
            dot.style.display = "none";
            section.querySelector("svg.path").appendChild(dot);
        }

        function select(source, x) {
            if (settling)
                return;
            settling = true;
            charts.forEach((chart, i) => {
                const panel = data.panels[i], row = x === undefined ? undefined : rowAt(panel.times, x);
                if (chart !== source)
                    x === undefined ? chart.clearSelection() : chart.setSelection(row);
                panel.box.innerHTML = valuesText(panel, row);
            });
            settling = false;
            cursor.style.display = x === undefined ? "none" : "block";
            where.textContent = x === undefined ? "" : axisTitle + " " + shown(x, 9);
            if (dot)
                dot.style.display = "none";
            if (x === undefined)
                return;
            cursor.style.left = charts[0].toDomXCoord(x) + "px";
            if (dot)
                placeDot(dot, data.path, data.panels[0], rowAt(data.panels[0].times, x));
            if (data.strip && data.strip.rows.length === 1)
                element(where, "span", "swatch").style.background = css(colourAt(data.strip, 0, x));
        }

        const isWhole = (chart) => String(chart.xAxisRange()) === String(chart.wholeCurve.dateWindow)
            && String(chart.yAxisRange()) === String(chart.wholeCurve.valueRange);
        const reached = () => together && together.checked ? [...drawn.values()].flat() : charts;
        function follow(source) {
            if (canvas && source === charts[0])
                drawStrip(canvas, data.strip, source);
            whole.hidden = charts.every(isWhole);
            if (settling)
                return;
            settling = true;
            const dateWindow = source.xAxisRange();
            for (const chart of reached())
                if (chart !== source && String(chart.xAxisRange()) !== String(dateWindow))
                    chart.updateOptions({dateWindow});
            settling = false;
        }
        const reset = () => {
            settling = true;
            for (const chart of reached())
                chart.updateOptions(chart.wholeCurve);
            settling = false;
        };
        whole.addEventListener("click", reset);

        const wide = data.panels.some((panel) => Math.max(...panel.scale.map(Math.abs)) >= 1e6);
        data.panels.forEach((panel, i) => {
            panel.times = panel.times || data.panels[0].times;
            const box = element(live, "div", "panel");
            panel.box = element(box, "div", "values");
            panel.box.innerHTML = valuesText(panel);
            const frame = element(box, "div", "chart");
            frame.tabIndex = 0;
            const bands = panel.lines.some((line) => line.low);
            const rows = panel.times.map((time, row) => [time, ...panel.lines.map((line) =>
                bands ? [line.low[row], line.values[row], line.high[row]] : line.values[row])]);
            const last = i === data.panels.length - 1;
            const chart = new Dygraph(frame, rows, {
                ...looks(panel),
                labels: [axisTitle, ...panel.lines.map((line) => line.name)],
                customBars: bands,
                fillAlpha: 0.22,
                strokeWidth: 1.7,
                drawPoints: panel.times.length < 80,
                pointSize: 2.5,
                highlightCircleSize: 4,
                dateWindow: data.axis,
                valueRange: panel.scale,
                legend: "never",
                axisLabelFontSize: 11,
                axisLineWidth: 1,
                gridLineWidth: 1,
                rightGap: 8,
                axes: {
                    x: {drawAxis: last},
                    y: {
                        axisLabelWidth: wide ? 92 : 46,
                        pixelsPerLabel: 26,
                        axisLabelFormatter: (value) => shown(value, 12),
                        ...isAngle(panel) ? {ticker: degreeTicker} : {},
                    },
                },
                plugins: [{activate: () => ({didDrawChart(event) {
                    drawPlaces(event.drawingContext, event.dygraph, data.keys, "key");
                    drawPlaces(event.drawingContext, event.dygraph, data.seams, "seam");
                }})}],
                highlightCallback: (event, x) => select(chart, x),
                unhighlightCallback: () => select(chart),
                drawCallback: (self, initial) => { if (!initial) follow(self); },
            });
            chart.wholeCurve = {dateWindow: data.axis, valueRange: panel.scale};
            chart.panel = panel;
            chart.resetZoom = reset; // what a double-click calls
            charts.push(chart);
            frame.addEventListener("keydown", (event) => {
                const step = {ArrowLeft: -1, ArrowRight: 1}[event.key];
                if (!step)
                    return;
                event.preventDefault();
                const row = chart.getSelection() < 0 ? 0 : chart.getSelection() + step * (event.shiftKey ? 10 : 1);
                const within = Math.min(Math.max(row, 0), panel.times.length - 1);
                chart.setSelection(within);
                select(chart, panel.times[within]);
            });
            frame.addEventListener("blur", () => { chart.clearSelection(); select(chart); });
        });
        if (canvas)
            drawStrip(canvas, data.strip, charts[0]);
        section.dataset.charts = charts.length;
        document.body.dataset.drawn = drawn.size;
    }

    // The first ones at once; of many more only what is looked at.
    tracks.slice(0, 12).forEach(draw);
    const seen = new IntersectionObserver((entries) => {
        for (const entry of entries)
            if (entry.isIntersecting)
                draw(entry.target);
    }, {rootMargin: "800px"});
    tracks.slice(12).forEach((section) => seen.observe(section));

    matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => {
        settling = true;
        for (const chart of [...drawn.values()].flat())
            chart.updateOptions(looks(chart.panel));
        settling = false;
    });

    const filter = document.getElementById("filter");
    if (filter)
        filter.addEventListener("input", () => {
            const wanted = filter.value.toLowerCase();
            document.querySelectorAll("nav li").forEach((item, i) => {
                const hidden = !item.textContent.toLowerCase().includes(wanted);
                item.hidden = hidden;
                tracks[i].hidden = hidden;
            });
        });
})();
