// The trends: pens, range and charts. Zooming reads the histories again for the new range; the present moves on by itself.
import { isAborted } from "./api.js";
import { notice } from "./banner.js";
import { announce, debounced, element, iconButton, setText } from "./dom.js";
import { Lanes } from "./lanes.js";
import { Legend } from "./legend.js";
import { readHistory } from "./history.js";
import { t } from "./language.js";
import { mostPens, PenPicker } from "./pens.js";
import { changed, fixed, limitsOf, parametersOf, RangeBar, rangeOf } from "./ranges.js";
import { note } from "./router.js";
import { patched } from "./series.js";
import { now } from "./store.js";
import { isTyping } from "./keys.js";

/** Histories read at the same time: the server answers them one after the other, and a browser has few connections. */
const parallelReads = 2;
const remembered = 30;

/**
 * A pen that is shown.
 * @typedef {import("./pens.js").Pen & {slot: number, columns: import("./history.js").Column[], progress: number, problem: string}}
 *   ShownPen slot: its colour, from 0
 */

class TrendsView {
    /** @type {ShownPen[]} */
    #pens = [];
    /** @type {import("./ranges.js").Range[]} */
    #before = [];
    #request = new AbortController();
    #drawing = 0;
    #tailAt = 0;
    #isTailing = false;

    /** @param {HTMLElement} root @param {Record<string, string>} parameters */
    constructor(root, parameters) {
        this.picker = new PenPicker((pen, isPicked) => (isPicked ? this.#add(pen) : this.#remove(pen.id)));
        this.bar = new RangeBar({ onRange: (range) => this.#go(range), onBack: () => this.#back() });
        this.lanes = new Lanes({
            onRange: (from, to) => this.#dragged(from, to), onBack: () => this.#back(),
            onPointer: (time) => this.legend.point(time),
        });
        this.legend = new Legend((id) => this.#remove(id));
        this.progress = element("span", {});
        this.state = element("p", { class: "muted small trend-state" });
        this.empty = element("div", {}, notice(t("trends.empty"), "trends", t("trends.emptyAdvice")));
        const penButton = iconButton("plus", t("pens.title"), () => this.picker.root.classList.toggle("is-open"), { class: "pens-button" });
        this.charts = element("div", { class: "charts live", tabIndex: 0, role: "group", "aria-label": t("trends.label"),
            "aria-describedby": "chart-keys", on: { keydown: (event) => this.#key(/** @type {KeyboardEvent} */ (event)) } },
        this.lanes.root);
        root.append(this.picker.root, element("section", { class: "panel trend-panel", "aria-label": t("trends.label") },
            element("header", {}, penButton, this.bar.root), element("div", { class: "progress", "aria-hidden": "true" }, this.progress),
            this.empty, this.charts, element("p", { class: "spoken", id: "chart-keys" }, t("trends.keys")),
            this.state, this.legend.root));
        this.readLater = debounced(250, () => this.#read());
        this.timer = setInterval(() => this.#tick(), 1000);
        this.#start(parameters);
    }

    leave() {
        this.#request.abort();
        this.readLater.cancel();
        clearInterval(this.timer);
        cancelAnimationFrame(this.#drawing);
        this.picker.leave();
        this.lanes.leave();
    }

    async #start(parameters) {
        this.range = rangeOf(parameters);
        this.#draw();
        await this.picker.load();
        this.arrive(parameters);
    }

    /** @param {Record<string, string>} parameters */
    async arrive(parameters) {
        const ids = (parameters.pens ?? "").split(",").filter(Boolean).map(decodeURIComponent).slice(0, mostPens);
        this.range = rangeOf(parameters);
        const kept = this.#pens.filter((pen) => ids.includes(pen.id));
        this.#pens = kept;
        for (const id of ids) if (!kept.some((pen) => pen.id === id)) this.#put(await this.picker.find(id));
        this.#changedPens();
        this.#read();
    }

    /** @param {import("./pens.js").Pen} pen */
    #put(pen) {
        if (this.#pens.some(({ id }) => id === pen.id)) return;
        const slot = [...Array(mostPens).keys()].find((free) => !this.#pens.some((other) => other.slot === free)) ?? 0;
        this.#pens.push({ ...pen, slot, columns: [], progress: 0, problem: "" });
    }

    #add(pen) {
        this.#put(pen);
        this.#changedPens();
        this.#read();
    }

    /** @param {string} id */
    #remove(id) {
        this.#pens = this.#pens.filter((pen) => pen.id !== id);
        this.#changedPens();
    }

    #changedPens() {
        this.picker.show(this.#pens.map((pen) => pen.id));
        // Commas and per cent signs are escaped once more: an id may contain a comma.
        note({ pens: this.#pens.map((pen) => pen.id.replace(/[%,]/g, encodeURIComponent)).join(",") });
        this.#draw();
    }

    /** A chosen range: the button "back", and that of the browser, return from it. */
    #go(range) {
        this.#before = [...this.#before, this.range].slice(-remembered);
        this.range = range;
        note(parametersOf(range), { keep: true });
        this.#read();
        this.#draw();
    }

    #back() {
        const range = this.#before.pop();
        if (!range) return;
        this.range = range;
        note(parametersOf(range));
        this.#read();
        this.#draw();
    }

    /** Dragged or wheeled: drawn at once from what there is, read again when it comes to rest. */
    #dragged(from, to) {
        const range = fixed(from, to);
        const [shownFrom, shownTo] = this.drawn ?? [0, 0];
        const tolerance = (shownTo - shownFrom) / 1e4;
        if (Math.abs(from - shownFrom) < tolerance && Math.abs(to - shownTo) < tolerance) return;
        if (!this.isDragging) this.#before = [...this.#before, this.range].slice(-remembered);
        this.isDragging = true;
        this.range = range;
        this.readLater();
        this.#draw();
    }

    /** Reads the histories of all pens for the present range. */
    async #read() {
        this.readLater.cancel();
        if (this.isDragging) note(parametersOf(this.range));
        this.isDragging = false;
        this.#request.abort();
        this.#request = new AbortController();
        const { signal } = this.#request;
        const [from, to] = limitsOf(this.range);
        const waiting = [...this.#pens];
        for (const pen of waiting) pen.progress = 0;
        this.#tailAt = now();
        const reader = async () => {
            for (let pen = waiting.shift(); pen && !signal.aborted; pen = waiting.shift()) await this.#readPen(pen, from, to, signal);
        };
        await Promise.all(Array.from({ length: parallelReads }, reader));
        if (!signal.aborted) announce(this.#pens.length ? t("trends.read") : "");
    }

    /** @param {ShownPen} pen @param {number} from @param {number} to @param {AbortSignal} signal */
    async #readPen(pen, from, to, signal) {
        const old = pen.columns;
        /** @type {import("./history.js").Column[]} */
        let fresh = [];
        try {
            const range = { node: pen.id, from, to, width: this.lanes.width() };
            const { problem } = await readHistory(range, (columns, progress) => {
                fresh = fresh.concat(columns);
                pen.columns = patched(fresh, old);
                pen.progress = progress;
                this.#draw();
            }, signal);
            pen.columns = fresh;
            pen.problem = problem;
        } catch (error) {
            if (isAborted(error)) return;
            pen.problem = error.message;
        }
        pen.progress = 1;
        this.#draw();
    }

    /** While the range ends now: moves it on, and reads what is new as often as a pixel takes. */
    #tick() {
        if (!("last" in this.range) || document.hidden || this.isDragging) return;
        const pixelMs = (this.range.last * 1000) / this.lanes.width();
        if (pixelMs < 5000) this.#draw();
        if (now() - this.#tailAt < Math.max(1000, Math.min(pixelMs, 60_000)) || this.#isTailing) return;
        this.#tailAt = now();
        this.#readTail();
    }

    async #readTail() {
        this.#isTailing = true;
        const { signal } = this.#request;
        const [from, to] = limitsOf(this.range);
        const width = this.lanes.width();
        try {
            // Joined tails are finer than pixels; after a while everything is read again at their width.
            if (this.#pens.some((pen) => pen.columns.length > 3 * width + 200)) await this.#read();
            else for (const pen of this.#pens) if (pen.progress === 1) await this.#extend(pen, from, to, width, signal);
        } catch (error) {
            if (!isAborted(error)) setText(this.state, error.message);
        }
        this.#isTailing = false;
        this.#draw();
    }

    /** Reads again from the last column, which was not complete yet. */
    async #extend(pen, from, to, width, signal) {
        const start = pen.columns.at(-1)?.[0] ?? from;
        const share = (width * (to - start)) / (to - from);
        /** @type {import("./history.js").Column[]} */
        const fresh = [];
        await readHistory({ node: pen.id, from: start, to, width: Math.max(1, Math.ceil(share)) }, (columns) => fresh.push(...columns), signal);
        if (!fresh.length || pen.progress !== 1) return;
        const margin = (to - from) / 10;
        pen.columns = [...pen.columns.filter(([time]) => time < start && time > from - margin), ...fresh];
    }

    #draw() {
        this.#drawing ||= requestAnimationFrame(() => {
            this.#drawing = 0;
            this.#paint();
        });
    }

    #paint() {
        const [from, to] = limitsOf(this.range);
        const hasPens = this.#pens.length > 0;
        this.drawn = [from, to];
        this.empty.hidden = hasPens;
        this.charts.hidden = !hasPens;
        this.bar.show(this.range, this.#before.length > 0);
        if (hasPens) this.lanes.draw(this.#pens, from, to);
        this.legend.show(this.#pens, from, to);
        const progress = hasPens ? this.#pens.reduce((sum, pen) => sum + pen.progress, 0) / this.#pens.length : 1;
        this.progress.style.transform = `scaleX(${progress < 1 ? Math.max(0.02, progress) : 0})`;
        const isEmpty = hasPens && this.#pens.every((pen) => pen.progress === 1 && !pen.columns.length && !pen.problem);
        setText(this.state, isEmpty ? t("trends.noValues") : "");
    }

    /** @param {KeyboardEvent} event */
    #key(event) {
        if (event.ctrlKey || event.altKey || event.metaKey || isTyping(event.target)) return;
        const moves = { ArrowLeft: { shift: -0.2 }, ArrowRight: { shift: 0.2 }, "+": { factor: 0.5 }, "=": { factor: 0.5 },
            "-": { factor: 2 }, "−": { factor: 2 } };
        if (event.key in moves) this.#go(changed(this.range, moves[event.key]));
        else if (event.key === "0") this.#go({ last: Math.max(60, Math.round((this.drawn[1] - this.drawn[0]) / 1000)) });
        else if (event.key === "Backspace") this.#back();
        else return;
        event.preventDefault();
        event.stopPropagation();
    }
}

/** @type {import("./app.js").MakeView} */
export function trendsView(root, parameters) {
    return new TrendsView(root, parameters);
}
