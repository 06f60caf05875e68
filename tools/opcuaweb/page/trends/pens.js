// Picks pens: those of the plotters, filtered as one types, and the present choice.
import { get, isAborted, rowOf } from "../data/api.js";
import { element, iconButton, notice } from "../widgets/dom.js";
import { count } from "../text/format.js";
import { t } from "../text/language.js";
import { searchBox } from "../widgets/search.js";

/** @typedef {{id: string, name: string, unit: string}} Pen */

/** Pens shown for one plotter; the filter finds the others. */
const portion = 100;
export const mostPens = 8;

/** Ids for an address. Commas and per cent signs are escaped once more: an id may contain a comma. @param {string[]} ids */
export function textOf(ids) {
    return ids.map((id) => id.replace(/[%,]/g, encodeURIComponent)).join(",");
}

/** The ids in an address. @param {string} text */
export function idsOf(text) {
    try {
        return text.split(",").filter(Boolean).map(decodeURIComponent);
    } catch {
        return []; // somebody else's per cent sign
    }
}

export class PenPicker {
    /** @type {{id: string, name: string, pens: Pen[]}[]} */
    #plotters = [];
    #filter = "";
    /** @type {Set<string>} */
    #closed = new Set();
    #request = new AbortController();

    /** @param {{onPick: (pen: Pen, isPicked: boolean) => void, onAll: (pens: Pen[]) => void}} events onAll: these in place of others */
    constructor(events) {
        this.events = events;
        this.hasFailed = false;
        /** The program was still looking for pens. */
        this.isPartial = false;
        /** @type {string[]} */
        this.picked = [];
        this.search = searchBox(
            (text) => {
                this.#filter = text.toLocaleLowerCase();
                this.#paint();
            },
            { placeholder: "pens.filter" },
        );
        this.list = element("div", { class: "pen-list" }, notice(t("table.loading"), "wait"));
        this.root = element(
            "aside",
            {
                class: "panel pens-panel",
                "aria-label": t("pens.title"),
                on: { keydown: (event) => this.#key(event) },
            },
            element(
                "header",
                {},
                element("h2", { class: "grow" }, t("pens.title")),
                iconButton("close", t("close"), () => this.toggle(), {
                    quiet: true,
                    class: "plain pens-close",
                }),
                this.search.root,
            ),
            this.list,
        );
    }

    leave() {
        this.#request.abort();
        this.search.leave();
    }

    /** Opens or closes the list, where it covers the charts. */
    toggle() {
        if (this.root.classList.toggle("is-open")) this.search.focus();
    }

    /** @param {Event} event */
    #key(event) {
        const isOpen = this.root.classList.contains("is-open");
        if (isOpen && /** @type {KeyboardEvent} */ (event).key === "Escape") this.toggle();
    }

    async load() {
        try {
            const { plotters, complete } = await get("pens", {}, this.#request.signal);
            this.#plotters = plotters;
            this.hasFailed = false;
            this.isPartial = complete === false;
            this.#paint();
        } catch (error) {
            this.hasFailed = true;
            if (!isAborted(error)) this.list.replaceChildren(notice(error.message, "bad"));
        }
    }

    /** Whether there is anything to pick, or that is unknown because the list is not there yet. */
    hasPens() {
        return this.hasFailed || this.isPartial || this.#plotters.some((plotter) => plotter.pens.length);
    }

    /** What is known of a pen. @param {string} id @returns {Promise<Pen>} */
    async find(id) {
        const known = this.#plotters.flatMap((plotter) => plotter.pens).find((pen) => pen.id === id);
        if (known) return known;
        try {
            // A variable with history that belongs to no plotter.
            const row = await rowOf(id, this.#request.signal);
            if (row) return { id, name: [row.tag, row.item].filter(Boolean).join(" "), unit: row.unit ?? "" };
        } catch {
            // Its id is name enough.
        }
        return { id, name: id, unit: "" };
    }

    /** @param {string[]} ids */
    show(ids) {
        this.picked = ids;
        this.#paint();
    }

    #paint() {
        const shown = this.#plotters
            .map((plotter) => ({ plotter, pens: plotter.pens.filter((pen) => this.#suits(plotter, pen)) }))
            .filter(({ pens }) => pens.length);
        if (!shown.length) {
            this.list.replaceChildren(
                this.isPartial
                    ? notice(t("table.loading"), "wait")
                    : notice(t(this.#plotters.length ? "pens.noneFound" : "pens.none"), "trends"),
            );
            return;
        }
        const focused = document.activeElement?.getAttribute("data-pen");
        this.list.replaceChildren(...shown.map(({ plotter, pens }) => this.#plotter(plotter, pens)));
        if (focused)
            /** @type {HTMLElement | null} */ (
                this.list.querySelector(`[data-pen="${CSS.escape(focused)}"]`)
            )?.focus();
    }

    #suits(plotter, pen) {
        return (
            !this.#filter ||
            `${plotter.name} ${pen.name} ${pen.id} ${pen.unit}`.toLocaleLowerCase().includes(this.#filter)
        );
    }

    #plotter(plotter, pens) {
        const rest = pens.length - portion;
        const section = element(
            "details",
            { class: "plotter", open: this.#filter !== "" || !this.#closed.has(plotter.id) },
            element(
                "summary",
                {},
                plotter.name || plotter.id,
                element("span", { class: "muted" }, ` ${count(pens.length)}`),
            ),
            pens.length > 1 && this.#plotAll(plotter.id, pens),
            element("ul", {}, ...pens.slice(0, portion).map((pen) => element("li", {}, this.#check(pen)))),
            rest > 0 && element("p", { class: "muted small" }, t("pens.more", { n: count(rest) })),
        );
        section.addEventListener("toggle", () => {
            if (/** @type {HTMLDetailsElement} */ (section).open) this.#closed.delete(plotter.id);
            else this.#closed.add(plotter.id);
        });
        return section;
    }

    /** @param {string} id the plotter's @param {Pen[]} pens */
    #plotAll(id, pens) {
        const all = pens.slice(0, mostPens);
        const text = t(pens.length > mostPens ? "pens.first" : "pens.all", { n: all.length });
        const button = iconButton("trends", text, () => this.events.onAll(all), { class: "plain plot-all" });
        button.dataset.pen = `all of ${id}`; // keeps the focus when the list is painted again
        return button;
    }

    /** @param {Pen} pen */
    #check(pen) {
        const isPicked = this.picked.includes(pen.id);
        const box = /** @type {HTMLInputElement} */ (
            element("input", {
                type: "checkbox",
                checked: isPicked,
                "data-pen": pen.id,
                disabled: !isPicked && this.picked.length >= mostPens,
            })
        );
        box.addEventListener("change", () => this.events.onPick(pen, box.checked));
        return element(
            "label",
            { class: "check" },
            box,
            element("span", { class: "grow pen-name" }, pen.name || pen.id),
            !pen.name.endsWith(pen.unit) && element("span", { class: "muted" }, pen.unit),
        );
    }
}
