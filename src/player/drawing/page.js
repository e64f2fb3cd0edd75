"use strict";
// One play head and one window over all tracks. Charts take the place of the still pictures as they come into view.
(() => {
    const body = document.body, axisTitle = body.dataset.axis, frame = +body.dataset.frame;
    const part = (id) => document.getElementById(id);
    const sections = [...document.querySelectorAll("section.track")];
    const cards = new Map(); // of the sections that are drawn
    const seen = new Set();  // cards in sight: only these follow the play head
    const sharedTimes = sections.length ? JSON.parse(part("times").textContent) : [];
    window.addEventListener("error", (event) => { body.dataset.failed = event.message; });

    // The colours are those of the still pictures: one source, and they follow the theme.
    const paint = (name) => getComputedStyle(document.querySelector("#palette ." + name)).stroke;
    const {shown} = tools;

    // -- The play head

    const slider = part("head"), whole = [+slider.min, +slider.max];
    const head = {time: whole[0], playing: false, last: 0};
    let view = whole;

    function moveTo(time, {exact = false, say = false} = {}) {
        const snapped = exact ? time : Math.round(time / frame) * frame;
        head.time = Math.min(Math.max(snapped, whole[0]), whole[1]);
        slider.value = head.time;
        const text = axisTitle + " " + shown(+head.time.toPrecision(9));
        slider.setAttribute("aria-valuetext", text);
        part("now").textContent = text;
        // A zoomed window goes along.
        const width = view[1] - view[0];
        if (head.time < view[0] || head.time > view[1])
            setView(null, [head.time - width / 2, head.time + width / 2]);
        // While it plays, only what is in sight follows.
        for (const card of head.playing ? seen : cards.values())
            card.show(head.time);
        if (stage)
            stage.show(head.time + frame * 1e-6);
        if (say)
            announce();
    }

    let announcing = 0;
    function announce() {
        clearTimeout(announcing);
        announcing = setTimeout(() => {
            const active = document.activeElement.closest("section.track");
            const card = cards.get(active) || [...seen].sort((a, b) => a.number - b.number)[0];
            part("announced").textContent = part("now").textContent + (card ? ": " + card.spoken() : "");
        }, 400);
    }

    function tick(now) {
        if (!head.playing)
            return;
        let time = head.time + (now - head.last) / 1000 * +part("speed").value * (+body.dataset.perSecond);
        head.last = now;
        if (time > whole[1]) {
            if (!part("loop").checked) {
                moveTo(whole[1], {exact: true});
                return play(false);
            }
            time = whole[0] + (time - whole[0]) % (whole[1] - whole[0]);
        }
        moveTo(time, {exact: true});
        requestAnimationFrame(tick);
    }

    function play(on) {
        head.playing = on;
        part("play").textContent = on ? "Pause" : "Play";
        if (!on) {
            moveTo(head.time);
            return announce();
        }
        if (head.time >= whole[1])
            head.time = whole[0];
        head.last = performance.now();
        requestAnimationFrame(tick);
    }

    const step = (frames) => { play(false); moveTo(head.time + frames * frame, {say: true}); };
    part("play").addEventListener("click", () => play(!head.playing));
    part("back").addEventListener("click", () => step(-1));
    part("forward").addEventListener("click", () => step(1));
    slider.addEventListener("input", () => {
        const time = +slider.value;
        head.playing && play(false);
        moveTo(time, {say: true});
    });
    document.addEventListener("visibilitychange", () => { document.hidden && head.playing && play(false); });

    // -- The window over the axis, of all cards or of one

    const together = part("together");
    const asked = (card) => card && !together.checked ? [card] : [...cards.values()];
    function setView(card, [from, to]) {
        const limits = card && !together.checked ? card.data.axis : whole;
        const width = Math.min(Math.max(to - from, (limits[1] - limits[0]) * 1e-4), limits[1] - limits[0]);
        from = Math.min(Math.max(from, limits[0]), limits[1] - width);
        const wanted = [from, width === limits[1] - limits[0] ? limits[1] : from + width];
        if (together.checked || !card)
            view = wanted;
        for (const one of asked(card))
            one.setView(wanted);
        body.dataset.zoomed = asked(card).some((one) => one.isZoomed());
        part("whole").disabled = ![...cards.values()].some((one) => one.isZoomed());
    }
    function zoom(card, factor, around = head.time) {
        const [from, to] = card && !together.checked ? card.view : view;
        const middle = around >= from && around <= to ? around : (from + to) / 2;
        setView(card, [middle - (middle - from) * factor, middle + (to - middle) * factor]);
    }
    part("closer").addEventListener("click", () => zoom(null, 0.5));
    part("wider").addEventListener("click", () => zoom(null, 2));
    part("whole").addEventListener("click", () => setView(null, whole));
    together.addEventListener("change", () => { together.checked && setView(null, view); });

    document.addEventListener("keydown", (event) => {
        if (event.ctrlKey || event.metaKey || event.altKey || event.target.closest("input, select, textarea, summary, #stage"))
            return;
        const card = cards.get(event.target.closest("section.track"));
        const far = event.shiftKey ? 10 : 1;
        const actions = {
            ArrowLeft: () => step(-far), ArrowRight: () => step(far),
            Home: () => moveTo(whole[0], {say: true}), End: () => moveTo(whole[1], {say: true}),
            " ": () => play(!head.playing), "+": () => zoom(card, 0.5), "=": () => zoom(card, 0.5),
            "-": () => zoom(card, 2), "0": () => setView(card, whole),
        };
        if (!actions[event.key] || (event.key === " " && event.target.closest("button, a")))
            return;
        event.preventDefault();
        actions[event.key]();
    });

    // -- The tracks, and the scene

    const Card = tools.cardsOf({head, frame, axisTitle, paint, sharedTimes, whole, seen, play, moveTo, announce, setView, zoom});
    const stage = part("staged") && new tools.Stage(part("stage"), JSON.parse(part("staged").textContent), part("left"));
    function card(section) {
        if (!cards.has(section)) {
            cards.set(section, new Card(section, sections.indexOf(section)));
            body.dataset.drawn = cards.size;
            if (together.checked)
                cards.get(section).setView(view);
        }
        return cards.get(section);
    }
    const sight = new IntersectionObserver((entries) => {
        for (const entry of entries) {
            if (!entry.isIntersecting) {
                seen.delete(cards.get(entry.target));
                continue;
            }
            const one = card(entry.target);
            seen.add(one);
            one.place();
        }
    }, {rootMargin: "400px"});
    sections.forEach((section) => sight.observe(section));

    matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => {
        for (const one of cards.values())
            one.recolour();
    });
    const filter = part("filter");
    if (filter)
        filter.addEventListener("input", () => {
            const wanted = filter.value.toLowerCase();
            document.querySelectorAll("nav li").forEach((item, i) => {
                item.hidden = sections[i].hidden = !item.textContent.toLowerCase().includes(wanted);
            });
        });
    part("player").hidden = false;
    if (stage)
        window.addEventListener("load", () => { stage.begin(); moveTo(head.time, {exact: true}); });
    moveTo(whole[0]);
})();
