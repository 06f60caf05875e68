// What needs attention by name, worst first: the tags that have values which the counts count. A line shows the quality as it
// is now; the counts, and whether there is a line at all, follow at the program's next round.
import { get, isAborted } from "../data/api.js";
import { on, store, valueOf } from "../data/store.js";
import { watch } from "../data/watch.js";
import { addressOf } from "../frame/router.js";
import { conditionOf, count } from "../text/format.js";
import { t } from "../text/language.js";
import { element, icon, setIcon, setText } from "../widgets/dom.js";

const kinds = ["bad", "old", "uncertain"];
const mostTags = 6;
/** A tag may have dozens of values, all of them bad. */
const mostRows = 200;

/** @typedef {{kind: string, row: import("../data/store.js").Row, n: number}} Tag row: its first value; n: how many it has */

export class Attention {
    #request = new AbortController();
    #loaded = "";
    /** @type {ReturnType<line>[]} */
    #lines = [];

    constructor() {
        this.list = element("ul", { class: "attention-list" });
        this.note = element("p", { class: "attention-note muted" }, "…");
        this.root = element(
            "section",
            { class: "panel attention live", "aria-labelledby": "attention-title" },
            element("header", {}, element("h2", { class: "grow", id: "attention-title" }, t("table.only"))),
            this.list,
            this.note,
        );
        this.ends = [on("overview", () => this.#load()), on("values", () => this.#paint())];
        this.#load();
    }

    leave() {
        this.#request.abort();
        this.ends.forEach((end) => end());
        watch("attention", []);
    }

    /** After each round of the program: which they are. */
    async #load() {
        const { overview } = store;
        const counts = JSON.stringify(overview && [overview.sweep, ...kinds.map((kind) => overview[kind])]);
        if (!overview?.sweep || counts === this.#loaded) return;
        this.#loaded = counts;
        this.#request.abort();
        this.#request = new AbortController();
        try {
            this.#show(await this.#worst(overview));
        } catch (error) {
            if (!isAborted(error)) this.#loaded = ""; // the next overview tries again
        }
    }

    /** @returns {Promise<Tag[]>} */
    async #worst(overview) {
        /** @type {Map<string, Tag>} */
        const tags = new Map();
        for (const kind of kinds) {
            if (!overview[kind] || tags.size > mostTags) continue;
            const { rows } = await get("attention", { kind, limit: mostRows }, this.#request.signal);
            for (const row of rows) {
                const tag = tags.get(row.tag || row.id);
                if (tag) ++tag.n;
                else tags.set(row.tag || row.id, { kind, row, n: 1 });
            }
        }
        return [...tags.values()];
    }

    /** @param {Tag[]} tags */
    #show(tags) {
        this.#lines = tags.slice(0, mostTags).map((tag) => line(tag));
        this.list.replaceChildren(...this.#lines.map(({ root }) => root));
        setText(
            this.note,
            tags.length > mostTags ? t("attention.more") : tags.length ? "" : t("attention.none"),
        );
        watch(
            "attention",
            this.#lines.map(({ row }) => row.id),
        );
        this.#paint();
    }

    #paint() {
        for (const { row, sign, word } of this.#lines) {
            const known = valueOf(row.id);
            if (!known) continue;
            const condition = conditionOf(known, row);
            setIcon(sign, condition);
            sign.setAttribute("class", `icon is-${condition}`);
            setText(word, t(condition === "good" ? "attention.recovered" : `quality.${condition}`));
        }
    }
}

/** @param {Tag} tag */
function line({ kind, row, n }) {
    const sign = icon(kind);
    sign.setAttribute("class", `icon is-${kind}`);
    const word = element("strong", {}, t(`quality.${kind}`));
    const root = element(
        "li",
        {},
        element(
            "a",
            { href: addressOf("values", { only: kind, sel: row.id }) },
            sign,
            element(
                "span",
                { class: "grow" },
                element("strong", {}, row.tag || row.item || row.id),
                element("span", { class: "muted" }, row.name || row.folder),
            ),
            element(
                "span",
                { class: "right" },
                word,
                element("span", { class: "muted" }, t("table.rows", { n, count: count(n) })),
            ),
        ),
    );
    return { row, root, sign, word };
}
