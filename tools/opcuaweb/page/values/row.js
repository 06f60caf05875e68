// One row of the table of values: its cells are made once and then filled with one row after the other while the table scrolls.
import { element, icon, setIcon, setText } from "../widgets/dom.js";
import { age, conditionOf, missing, plainValue, shortTime, statusDetail } from "../text/format.js";
import { t } from "../text/language.js";
import { drawSparkline } from "../widgets/sparkline.js";
import { valueOf } from "../data/store.js";

/** The columns in order; those with `sort` are known without reading values. */
export const columns = [
    { name: "tag", sort: true },
    { name: "name", sort: true },
    { name: "item", sort: true },
    { name: "value" },
    { name: "quality" },
    { name: "curve" },
    { name: "time" },
    { name: "age" },
];

export class RowView {
    /** @type {import("../data/store.js").Row | null} */
    row = null;
    index = -1;
    #changes = 0;
    #flash = "flash-b";

    constructor() {
        this.value = element("span", { class: "value-number" });
        this.unit = element("span", { class: "value-unit" });
        this.sign = icon("none");
        this.word = element("span", {});
        this.status = element("span", { class: "status" });
        this.quality = element("span", { class: "quality" }, this.sign, this.word, this.status);
        this.curve = /** @type {HTMLCanvasElement} */ (element("canvas", { "aria-hidden": "true" }));
        const contents = {
            value: [this.value, " ", this.unit],
            quality: [this.quality],
            curve: [this.curve],
        };
        this.cells = Object.fromEntries(
            columns.map(({ name }, i) => [
                name,
                element(
                    "div",
                    { class: `cell cell-${name}`, role: "gridcell", "aria-colindex": i + 1 },
                    ...(contents[name] ?? []),
                ),
            ]),
        );
        this.root = element("div", { class: "row", role: "row", tabIndex: -1 }, ...Object.values(this.cells));
    }

    /** Shows another row. @param {import("../data/store.js").Row} row @param {number} index from 0 @param {number} top px */
    assign(row, index, top) {
        if (this.index !== index) {
            this.index = index;
            this.root.style.transform = `translateY(${top}px)`;
            this.root.setAttribute("aria-rowindex", String(index + 2)); // the header is row 1
        }
        if (this.row === row) return;
        this.row = row;
        this.root.dataset.id = row.id;
        setText(this.cells.tag, row.tag || row.folder || "");
        setText(this.cells.name, row.name || "");
        setText(this.cells.item, row.item || row.id);
        this.cells.name.title = row.name || "";
        this.cells.item.title = row.item || row.id;
        setText(this.unit, row.unit || "");
        this.#changes = valueOf(row.id)?.changes ?? 0; // a row that scrolls into view has not changed
        this.root.classList.remove("flash-a", "flash-b");
        this.paint();
    }

    /** Shows the newest value; flashes if it has changed. */
    paint() {
        if (!this.row) return;
        const known = valueOf(this.row.id);
        const condition = conditionOf(known, this.row);
        if (this.root.dataset.condition !== condition) this.root.dataset.condition = condition;
        this.unit.hidden = !this.row.unit && typeof known?.value === "string";
        setText(this.value, known ? plainValue(known.value, Math.min(known.decimals, 3)) : missing);
        this.value.title = typeof known?.value === "string" ? known.value : "";
        this.quality.className = `quality is-${condition}`;
        setIcon(this.sign, condition);
        setText(this.word, known ? t(`quality.${condition}`) : "");
        setText(this.status, known ? statusDetail(known.status) : "");
        setText(this.cells.time, shortTime(known?.time));
        this.paintAge();
        if (known && known.changes !== this.#changes) this.#changed(known);
        if (this.curve.clientWidth) drawSparkline(this.curve, known?.recent, condition === "bad");
    }

    paintAge() {
        const known = this.row && valueOf(this.row.id);
        setText(this.cells.age, age(known?.time));
        if (known && conditionOf(known, this.row) !== this.root.dataset.condition) this.paint();
    }

    /** @param {import("../data/store.js").Known} known */
    #changed(known) {
        const isFirst = this.#changes === 0;
        this.#changes = known.changes;
        if (isFirst) return;
        // Two names of the same animation: changing from one to the other starts it again without a forced layout.
        this.root.classList.remove(this.#flash);
        this.#flash = this.#flash === "flash-a" ? "flash-b" : "flash-a";
        this.root.classList.add(this.#flash);
    }
}
