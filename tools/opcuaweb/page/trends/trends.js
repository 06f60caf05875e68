// The trends: pens, range and charts. Zooming reads the histories again for the new range; the present moves on by itself.
import { announce, debounced, element, iconButton, notice, setText } from "../widgets/dom.js";
import { isTyping } from "../frame/keys.js";
import { Lanes } from "./lanes.js";
import { t } from "../text/language.js";
import { Legend } from "./legend.js";
import { idsOf, mostPens, PenPicker, textOf } from "./pens.js";
import { changed, fixed, limitsOf, parametersOf, RangeBar, rangeOf } from "./ranges.js";
import { note } from "../frame/router.js";
import { ShownPens } from "./shown_pens.js";
import { now, on } from "../data/store.js";

/** Ranges that the button "undo zoom" returns to. */
const remembered = 30;

class TrendsView {
    /** @type {import("./ranges.js").Range[]} */
    #before = [];
    #drawing = 0;
    #tailAt = 0;
    #isTailing = false;
    #readWidth = 0;
    #isDragging = false;
    /** @type {[from: number, to: number]} the range on screen, ms since 1970 */
    #drawn = [0, 0];

    /** @param {HTMLElement} root @param {Record<string, string>} parameters */
    constructor(root, parameters) {
        this.pens = new ShownPens(() => this.#draw());
        this.picker = new PenPicker({
            onPick: (pen, isPicked) => (isPicked ? this.#add(pen) : this.#remove(pen.id)),
            onAll: (pens) => this.#replace(pens),
        });
        const penButton = iconButton("plus", t("pens.title"), () => this.picker.toggle(), {
            class: "pens-button",
        });
        this.bar = new RangeBar(
            { onRange: (range) => this.#go(range), onBack: () => this.#back() },
            penButton,
        );
        this.lanes = new Lanes({
            onRange: (from, to) => this.#dragged(from, to),
            onBack: () => this.#back(),
            onPointer: (time) => this.legend.point(time),
        });
        this.legend = new Legend({
            onRemove: (id) => this.#remove(id),
            onAxis: (id) => this.#changeAxis(id),
        });
        this.progress = element("span", {});
        this.state = element("p", { class: "muted small trend-state" });
        this.empty = element("div", { class: "trends-empty" });
        this.charts = element(
            "div",
            {
                class: "charts live",
                tabIndex: 0,
                role: "group",
                "aria-label": t("trends.label"),
                "aria-describedby": "chart-keys",
                on: { keydown: (event) => this.#key(/** @type {KeyboardEvent} */ (event)) },
            },
            this.lanes.root,
        );
        root.append(
            this.picker.root,
            element(
                "section",
                { class: "panel trend-panel", "aria-label": t("trends.label") },
                element("header", {}, this.bar.root),
                element("div", { class: "progress", "aria-hidden": "true" }, this.progress),
                this.empty,
                this.charts,
                element("p", { class: "spoken", id: "chart-keys" }, t("trends.keys")),
                this.state,
                this.legend.root,
            ),
        );
        this.ends = [
            on("link", (link) => link.connected && this.#recover()),
            on("hello", () => this.#recover()),
            on(
                "overview",
                ({ variables }) => this.picker.isPartial && variables !== null && this.#complete(),
            ),
        ];
        this.readLater = debounced(250, () => this.#read());
        this.timer = setInterval(() => this.#tick(), 1000);
        this.#start(parameters);
    }

    leave() {
        this.ends.forEach((end) => end());
        this.pens.leave();
        this.readLater.cancel();
        clearInterval(this.timer);
        cancelAnimationFrame(this.#drawing);
        this.picker.leave();
        this.lanes.leave();
    }

    /** @param {Record<string, string>} parameters */
    async #start(parameters) {
        this.range = rangeOf(parameters);
        this.#draw();
        await this.#loadPens();
        await this.arrive(parameters);
    }

    /** @param {Record<string, string>} parameters */
    async arrive(parameters) {
        const ids = idsOf(parameters.pens ?? "").slice(0, mostPens);
        this.range = rangeOf(parameters);
        this.pens.keep(ids);
        for (const id of ids) this.pens.put(await this.picker.find(id));
        const own = idsOf(parameters.own ?? "");
        for (const pen of this.pens.list) pen.hasOwnAxis = own.includes(pen.id);
        this.#changedPens();
        await this.#read();
    }

    async #loadPens() {
        await this.picker.load();
        const hasPens = this.picker.hasPens();
        this.empty.replaceChildren(
            notice(
                t(hasPens ? "trends.empty" : "pens.none"),
                "trends",
                hasPens ? t("trends.emptyAdvice") : "",
            ),
            iconButton("plus", t("pens.choose"), () => this.picker.toggle(), {
                class: `primary pens-button ${hasPens ? "" : "is-useless"}`,
            }),
        );
    }

    /** The program has found all pens meanwhile: they, and the names of those that are shown. */
    async #complete() {
        await this.#loadPens();
        for (const pen of this.pens.list) Object.assign(pen, await this.picker.find(pen.id));
        this.#changedPens();
    }

    /** After the connection was lost, what could not be loaded is loaded again. */
    async #recover() {
        if (!this.picker.hasFailed && !this.pens.list.some((pen) => pen.problem)) return;
        if (this.picker.hasFailed) await this.#loadPens();
        await this.#read();
    }

    #add(pen) {
        this.pens.put(pen);
        this.#changedPens();
        this.#read();
    }

    /** @param {import("./pens.js").Pen[]} pens */
    #replace(pens) {
        this.pens.keep(pens.map((pen) => pen.id));
        for (const pen of pens) this.pens.put(pen);
        this.picker.root.classList.remove("is-open");
        this.#changedPens({ keep: true });
        this.#read();
    }

    /** @param {string} id */
    #remove(id) {
        this.pens.keep(this.#ids().filter((other) => other !== id));
        this.#changedPens();
    }

    /** @param {string} id */
    #changeAxis(id) {
        for (const pen of this.pens.list) if (pen.id === id) pen.hasOwnAxis = !pen.hasOwnAxis;
        this.#changedPens();
    }

    #ids() {
        return this.pens.list.map((pen) => pen.id);
    }

    /** @param {{keep?: boolean}} [how] see note() */
    #changedPens(how) {
        this.picker.show(this.#ids());
        const own = this.pens.list.filter((pen) => pen.hasOwnAxis);
        note({ pens: textOf(this.#ids()), own: textOf(own.map((pen) => pen.id)) }, how);
        this.#draw();
    }

    #remember() {
        this.#before = [...this.#before, this.range].slice(-remembered);
    }

    /** A chosen range: the button "undo zoom", and "back" of the browser, return from it. @param {import("./ranges.js").Range} range */
    #go(range) {
        this.#remember();
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

    /** Dragged or wheeled: drawn at once from what there is, read again when it comes to rest. @param {number} from @param {number} to */
    #dragged(from, to) {
        const [shownFrom, shownTo] = this.#drawn;
        const tolerance = (shownTo - shownFrom) / 1e4;
        if (Math.abs(from - shownFrom) < tolerance && Math.abs(to - shownTo) < tolerance) return;
        if (!this.#isDragging) this.#remember();
        this.#isDragging = true;
        this.range = fixed(from, to);
        this.readLater();
        this.#draw();
    }

    /** Reads the histories of all pens for the present range. */
    async #read() {
        this.readLater.cancel();
        if (this.#isDragging) note(parametersOf(this.range));
        this.#isDragging = false;
        this.#tailAt = now();
        this.#readWidth = this.lanes.width();
        const hasRead = await this.pens.read(...limitsOf(this.range), this.#readWidth);
        if (hasRead && this.pens.list.length) announce(t("trends.read"));
    }

    /** While the range ends now: moves it on, and reads what is new as often as a pixel takes. */
    async #tick() {
        if (document.hidden || this.#isDragging) return;
        const width = this.lanes.width();
        if (this.pens.list.length && Math.abs(width - this.#readWidth) > this.#readWidth / 5) this.#read(); // the window was resized
        if (!("last" in this.range)) return;
        const pixelMs = (this.range.last * 1000) / width;
        if (pixelMs < 5000) this.#draw();
        if (now() - this.#tailAt < Math.max(1000, Math.min(pixelMs, 60_000)) || this.#isTailing) return;
        this.#tailAt = now();
        this.#isTailing = true;
        await this.pens.extend(...limitsOf(this.range), width);
        this.#isTailing = false;
    }

    #draw() {
        this.#drawing ||= requestAnimationFrame(() => {
            this.#drawing = 0;
            this.#paint();
        });
    }

    #paint() {
        const [from, to] = limitsOf(this.range);
        const { list } = this.pens;
        this.#drawn = [from, to];
        this.empty.hidden = list.length > 0;
        this.charts.hidden = list.length === 0;
        this.bar.show(this.range, this.#before.length > 0);
        if (list.length) this.lanes.draw(list, from, to);
        this.legend.show(list, from, to);
        const progress = this.pens.progress();
        this.progress.style.transform = `scaleX(${progress < 1 ? Math.max(0.02, progress) : 0})`;
        const isEmpty =
            list.length > 0 && list.every((pen) => pen.progress === 1 && !pen.columns.length && !pen.problem);
        setText(this.state, isEmpty ? t("trends.noValues") : "");
    }

    /** @param {KeyboardEvent} event */
    #key(event) {
        if (event.ctrlKey || event.altKey || event.metaKey || isTyping(event.target)) return;
        const moves = {
            ArrowLeft: { shift: -0.2 },
            ArrowRight: { shift: 0.2 },
            "+": { factor: 0.5 },
            "=": { factor: 0.5 },
            "-": { factor: 2 },
            "−": { factor: 2 },
        };
        const [from, to] = this.#drawn;
        if (event.key in moves) this.#go(changed(this.range, moves[event.key]));
        else if (event.key === "0") this.#go({ last: Math.max(60, Math.round((to - from) / 1000)) });
        else if (event.key === "Backspace") this.#back();
        else return;
        event.preventDefault();
        event.stopPropagation();
    }
}

/** @type {import("../app.js").MakeView} */
export function trendsView(root, parameters) {
    return new TrendsView(root, parameters);
}
