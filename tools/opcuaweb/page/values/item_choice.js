// A tag may publish a dozen attributes: this choice leaves one of them in the table, for example the current values.
import { element } from "../widgets/dom.js";
import { count } from "../text/format.js";
import { t } from "../text/language.js";

/** So many kinds of items, the most frequent ones, are offered. */
const mostItems = 60;

export class ItemChoice {
    /** @param {(item: string) => void} onChoose "" for all */
    constructor(onChoose) {
        this.root = /** @type {HTMLSelectElement} */ (
            element("select", { class: "items", "aria-label": t("table.item"), hidden: true })
        );
        this.root.addEventListener("change", () => onChoose(this.root.value));
    }

    /** Offers what several rows have in common. @param {import("../data/store.js").Row[]} rows */
    offer(rows) {
        const counts = new Map();
        for (const { item } of rows) counts.set(item, (counts.get(item) ?? 0) + 1);
        const names = [...counts.keys()]
            .filter((name) => counts.get(name) > 1)
            .sort((a, b) => counts.get(b) - counts.get(a))
            .slice(0, mostItems);
        this.root.hidden = names.length < 2;
        const option = (value, text) => element("option", { value }, text);
        this.root.replaceChildren(
            option("", t("table.allItems")),
            ...names.map((name) => option(name, `${name} (${count(counts.get(name))})`)),
        );
    }

    /**
     * The rows of an item; all of them if it is not offered here.
     * @param {import("../data/store.js").Row[]} rows @param {string} item
     */
    chosen(rows, item) {
        this.root.value = item;
        if (this.root.hidden || this.root.selectedIndex < 0) this.root.value = "";
        return this.root.value ? rows.filter((row) => row.item === item) : rows;
    }
}
