// The table of values. Of many thousand rows only those on screen are elements; the grid's roles carry the true numbers.
import { element, icon } from "../widgets/dom.js";
import { t } from "../text/language.js";
import { columns, RowView } from "./row.js";
import { on } from "../data/store.js";
import { onTheme } from "../style/theme.js";

/** Rows above and below the visible ones that are kept ready. */
const margin = 6;

/**
 * @typedef {object} TableEvents
 * @property {(row: import("../data/store.js").Row) => void} onOpen Enter or a click
 * @property {(code: string, row: import("../data/store.js").Row) => void} onKey "KeyT" or "KeyW" pressed on a row
 * @property {(ids: string[]) => void} onVisible the nodes on screen changed
 */

export class Table {
    /** @type {import("../data/store.js").Row[]} */
    #rows = [];
    /** @type {RowView[]} */
    #views = [];
    #current = 0;
    #painting = 0;
    #sorted = { column: "", isDown: false };
    /** @type {import("../data/store.js").Row[]} as the program sent them */
    #given = [];
    #visible = "";

    /** @param {TableEvents} events */
    constructor(events) {
        this.events = events;
        this.headers = columns.map((column, i) => this.#header(column, i));
        this.body = element("div", { class: "table-body", role: "rowgroup" });
        this.root = element(
            "div",
            {
                class: "table live",
                role: "grid",
                "aria-label": t("table.label"),
                "aria-colcount": columns.length,
                "aria-readonly": "true",
            },
            element(
                "div",
                { class: "table-head", role: "rowgroup" },
                element("div", { class: "row head", role: "row", "aria-rowindex": 1 }, ...this.headers),
            ),
            this.body,
        );
        this.root.addEventListener("scroll", () => this.#later(), { passive: true });
        this.body.addEventListener("click", (event) => this.#click(event));
        this.body.addEventListener("keydown", (event) => this.#key(event));
        this.sizes = new ResizeObserver(() => this.#later());
        this.sizes.observe(this.root);
        const repaint = () => this.#later(true);
        this.ends = [on("values", repaint), on("link", repaint), onTheme(repaint)];
        this.timer = setInterval(() => this.#views.forEach((view) => view.paintAge()), 1000);
    }

    leave() {
        this.ends.forEach((end) => end());
        this.sizes.disconnect();
        clearInterval(this.timer);
        cancelAnimationFrame(this.#painting);
    }

    /** @param {import("../data/store.js").Row[]} rows */
    show(rows) {
        this.#given = rows;
        this.root.classList.toggle("is-nameless", !rows.some((row) => row.name));
        this.#current = 0;
        this.root.scrollTop = 0;
        this.#sort();
    }

    /** Moves the focus to the first row. */
    focus() {
        this.#moveTo(this.#current);
    }

    /** Marks the row whose details are open. @param {string} id "" for none */
    mark(id) {
        this.marked = id;
        for (const view of this.#views) this.#markView(view);
        const place = this.#rows.findIndex((row) => row.id === id);
        if (place >= 0) this.#current = place;
    }

    /** @param {{name: string, sort?: boolean}} column @param {number} i */
    #header(column, i) {
        const text = t(`column.${column.name}`);
        const inner = column.sort
            ? element(
                  "button",
                  { type: "button", class: "sort", on: { click: () => this.#sortBy(column.name) } },
                  text,
                  icon("chevron"),
              )
            : element("span", {}, text);
        return element(
            "div",
            { class: `cell cell-${column.name}`, role: "columnheader", "aria-colindex": i + 1 },
            inner,
        );
    }

    /** Up, down, then the program's own order. @param {string} column */
    #sortBy(column) {
        const { column: before, isDown } = this.#sorted;
        if (before !== column) this.#sorted = { column, isDown: false };
        else this.#sorted = isDown ? { column: "", isDown: false } : { column, isDown: true };
        this.#sort();
    }

    #sort() {
        const { column, isDown } = this.#sorted;
        columns.forEach(({ name }, i) => {
            if (name === column)
                this.headers[i].setAttribute("aria-sort", isDown ? "descending" : "ascending");
            else this.headers[i].removeAttribute("aria-sort");
        });
        this.#rows = this.#given;
        if (column) {
            const order = new Intl.Collator(undefined, { numeric: true }).compare;
            const sign = isDown ? -1 : 1;
            this.#rows = [...this.#given].sort((a, b) => sign * order(a[column] ?? "", b[column] ?? ""));
        }
        this.root.setAttribute("aria-rowcount", String(this.#rows.length + 1));
        this.#later(true);
    }

    #later(repaint = false) {
        this.repaint ||= repaint;
        this.#painting ||= requestAnimationFrame(() => {
            this.#painting = 0;
            this.#paint();
        });
    }

    #rowHeight() {
        return parseFloat(getComputedStyle(this.root).getPropertyValue("--row-height")) || 36;
    }

    #paint() {
        const height = this.#rowHeight();
        this.body.style.height = `${this.#rows.length * height}px`;
        const used = Math.min(this.#rows.length, Math.ceil(this.root.clientHeight / height) + 1 + 2 * margin);
        const first = Math.max(
            0,
            Math.min(this.#rows.length - used, Math.floor(this.root.scrollTop / height) - margin),
        );
        const last = first + used;
        this.#grow(used);
        for (let index = first; index < last; ++index) {
            const view = this.#views[index % used]; // a row that stays on screen keeps its element, and with it the focus
            if (this.height !== height) view.index = -1;
            view.assign(this.#rows[index], index, index * height);
            view.root.tabIndex = index === this.#current ? 0 : -1;
            this.#markView(view);
            if (this.repaint) view.paint();
        }
        this.height = height;
        this.repaint = false;
        this.#keepTabStop(first, last);
        this.#report(first, last);
    }

    /** Exactly as many elements as rows on screen, so that each row has one of its own. @param {number} wanted */
    #grow(wanted) {
        if (this.#views.length === wanted) return;
        while (this.#views.length < wanted) {
            const view = new RowView();
            this.#views.push(view);
            this.body.append(view.root);
        }
        while (this.#views.length > wanted) this.#views.pop().root.remove();
        for (const view of this.#views) view.index = -1;
    }

    /** The table stays reachable by Tab when its current row has been scrolled away. */
    #keepTabStop(first, last) {
        if (this.#views.length && (this.#current < first || this.#current >= last)) {
            this.#views[(first + margin) % this.#views.length].root.tabIndex = 0;
        }
    }

    #report(first, last) {
        const ids = this.#rows.slice(first, last).map((row) => row.id);
        const text = ids.join("\n");
        if (text === this.#visible) return;
        this.#visible = text;
        this.events.onVisible(ids);
    }

    /** @param {RowView} view */
    #markView(view) {
        view.root.setAttribute("aria-selected", String(view.row?.id === this.marked));
    }

    /** @param {number} index clamped to the rows */
    #moveTo(index) {
        if (!this.#rows.length) return;
        this.#current = Math.max(0, Math.min(this.#rows.length - 1, index));
        const height = this.#rowHeight();
        const head = this.headers[0].offsetHeight;
        const top = this.#current * height;
        const room = this.root.clientHeight - head;
        if (top < this.root.scrollTop) this.root.scrollTop = top;
        else if (top + height > this.root.scrollTop + room) this.root.scrollTop = top + height - room;
        this.#paint();
        this.#views.find((view) => view.index === this.#current)?.root.focus({ preventScroll: true });
    }

    /** @param {Event} event @returns {RowView | undefined} */
    #viewOf(event) {
        const root = /** @type {Element} */ (event.target).closest(".row");
        return this.#views.find((view) => view.root === root);
    }

    /** @param {Event} event */
    #click(event) {
        const view = this.#viewOf(event);
        if (!view?.row) return;
        this.#current = view.index;
        this.#later();
        this.events.onOpen(view.row);
    }

    /** @param {KeyboardEvent} event */
    #key(event) {
        const view = this.#viewOf(event);
        if (!view?.row || event.ctrlKey || event.altKey || event.metaKey) return;
        const page = Math.max(1, Math.floor(this.root.clientHeight / this.#rowHeight()) - 2);
        /** @type {Record<string, number>} */
        const moves = {
            ArrowDown: view.index + 1,
            ArrowUp: view.index - 1,
            PageDown: view.index + page,
            PageUp: view.index - page,
            Home: 0,
            End: this.#rows.length - 1,
        };
        if (event.key in moves) this.#moveTo(moves[event.key]);
        else if (event.key === "Enter" || event.key === " ") this.events.onOpen(view.row);
        else if (event.code === "KeyT" || event.code === "KeyW")
            this.events.onKey(event.code, view.row); // in any layout
        else return;
        event.preventDefault();
    }
}
