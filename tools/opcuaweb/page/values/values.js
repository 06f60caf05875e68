// The values: tree on the left, table on the right, details of the chosen row beside it.
import { isAborted } from "../data/api.js";
import { announce, element, icon, iconButton, notice, setText } from "../widgets/dom.js";
import { count } from "../text/format.js";
import { t } from "../text/language.js";
import { go, note } from "../frame/router.js";
import { loadRows, mostHits } from "./rows.js";
import { Details } from "./details.js";
import { ItemChoice } from "./item_choice.js";
import { searchBox } from "../widgets/search.js";
import { on } from "../data/store.js";
import { Table } from "./table.js";
import { nodeTree, topNode } from "./node_tree.js";
import { textOf } from "../trends/pens.js";
import { pensOf } from "./pens_of.js";
import { watch } from "../data/watch.js";
import { canWrite, openWriteDialog } from "./write_dialog.js";

/** @typedef {{node: string, q: string, only: string, item: string, sel: string}} Wanted */

class ValuesView {
    /** @type {AbortController} */
    #request = new AbortController();
    /** @type {import("../data/store.js").Row[]} */
    #rows = [];
    #shown = "";
    #hasFailed = false;
    /** Searched while the program was still making its index. */
    #isPartial = false;

    /** @param {HTMLElement} root @param {Record<string, string>} parameters */
    constructor(root, parameters) {
        this.tree = nodeTree(
            (id) => this.#chooseNode(id),
            () => this.#heading(),
        );
        this.table = new Table({
            onOpen: (row) => this.#open(row),
            onVisible: (ids) => watch("table", ids),
            onKey: (code, row) => (code === "KeyT" ? trend(row) : canWrite(row) && openWriteDialog(row)),
        });
        this.details = new Details(() => this.#close());
        this.table.root.addEventListener("keydown", ({ key }) => {
            if (key === "Escape" && this.details.row) this.#close();
        });
        this.search = searchBox((q) => this.#search(q));
        this.title = element("h2", { class: "table-title" });
        this.count = element("span", { class: "muted" });
        this.only = element("span", { class: "chips" });
        this.items = new ItemChoice((item) => this.#chooseItem(item));
        this.message = element("div", { class: "table-message", hidden: true });
        this.treePanel = element(
            "aside",
            {
                class: "panel tree-panel",
                "aria-label": t("tree.label"),
                on: {
                    keydown: (event) =>
                        /** @type {KeyboardEvent} */ (event).key === "Escape" && this.#showTree(false),
                },
            },
            element(
                "header",
                {},
                element("h2", { class: "grow" }, t("tree.title")),
                iconButton("close", t("tree.hide"), () => this.#showTree(false), {
                    quiet: true,
                    class: "plain tree-close",
                }),
            ),
            this.tree.root,
        );
        this.treeButton = iconButton("folder", t("tree.title"), () => this.#showTree(true), {
            class: "tree-button",
        });
        root.append(
            this.treePanel,
            element(
                "section",
                { class: "panel table-panel", "aria-label": t("table.label") },
                element(
                    "header",
                    {},
                    this.treeButton,
                    this.search.root,
                    this.items.root,
                    element("div", { class: "table-heading" }, this.title, this.count, this.only),
                ),
                this.message,
                this.table.root,
            ),
            this.details.root,
        );
        // After the connection was lost, what could not be loaded is loaded again.
        this.ends = [
            on("link", (link) => link.connected && this.#recover()),
            on("hello", () => this.#recover()),
            on("overview", ({ variables }) => this.#isPartial && variables !== null && this.#load()),
        ];
        this.arrive(parameters);
    }

    #recover() {
        this.tree.retry();
        if (this.#hasFailed) this.#load();
    }

    leave() {
        this.#request.abort();
        this.ends.forEach((end) => end());
        this.tree.leave();
        this.table.leave();
        this.details.leave();
        this.search.leave();
        watch("table", []);
    }

    /** @param {Record<string, string>} parameters */
    arrive(parameters) {
        /** @type {Wanted} */
        this.wanted = { node: topNode, q: "", only: "", item: "", sel: "", ...parameters };
        this.search.show(this.wanted.q);
        this.tree.select(this.wanted.node);
        const { node, q, only, sel } = this.wanted;
        if (JSON.stringify([node, q, only]) !== this.#shown) this.#load();
        else if (this.wanted.item !== this.items.root.value) this.#showRows();
        else if (sel !== (this.details.row?.id ?? "")) this.#restore();
    }

    /** @param {boolean} isShown on narrow screens, where the tree covers the table */
    #showTree(isShown) {
        this.treePanel.classList.toggle("is-open", isShown);
        if (isShown) /** @type {HTMLElement} */ (this.tree.root.querySelector('[tabindex="0"]'))?.focus();
        else this.treeButton.focus();
    }

    /** @param {string} id */
    #chooseNode(id) {
        this.treePanel.classList.remove("is-open");
        note({ node: id === topNode ? null : id, q: null, only: null, sel: null }, { keep: true });
        this.arrive({ node: id, item: this.wanted.item });
    }

    /** @param {string} q */
    #search(q) {
        note({ q, only: null, sel: null });
        this.arrive({ node: this.wanted.node, item: this.wanted.item, q });
    }

    async #load() {
        const { node, q, only } = this.wanted;
        this.#shown = JSON.stringify([node, q, only]);
        this.#request.abort();
        this.#request = new AbortController();
        const { signal } = this.#request;
        this.#heading();
        this.table.root.setAttribute("aria-busy", "true");
        this.message.hidden = this.#rows.length > 0;
        this.table.root.hidden = !this.#rows.length;
        if (!this.#rows.length) this.message.replaceChildren(notice(t("table.loading"), "wait"));
        try {
            const { rows, complete } = await loadRows(this.wanted, signal);
            this.#hasFailed = false;
            this.#show(rows, complete);
        } catch (error) {
            if (isAborted(error)) return;
            this.#hasFailed = true;
            this.#show([], true, error.message);
        }
    }

    /** @param {import("../data/store.js").Row[]} rows @param {boolean} isComplete @param {string} [problem] */
    #show(rows, isComplete, problem) {
        this.#rows = rows;
        this.#isPartial = Boolean(this.wanted.q) && !isComplete;
        this.table.root.removeAttribute("aria-busy");
        this.#heading();
        const { q, only } = this.wanted;
        const text =
            problem ?? (q ? t("search.none", { text: q }) : only ? t("table.noneLikeThis") : t("table.none"));
        this.message.hidden = rows.length > 0;
        this.table.root.hidden = rows.length === 0;
        if (!rows.length)
            this.message.replaceChildren(
                notice(text, problem ? "bad" : "search", q && !isComplete ? t("search.building") : ""),
            );
        const some = isComplete ? "" : ` · ${t(q ? "search.building" : "table.incomplete")}`;
        const full = q && rows.length >= mostHits ? ` · ${t("search.many")}` : "";
        this.suffix = problem ? "" : some + full;
        this.items.offer(rows);
        this.#showRows();
        announce(problem ?? this.count.textContent);
    }

    /** @param {string} item */
    #chooseItem(item) {
        this.wanted.item = item;
        note({ item });
        this.#showRows();
    }

    /** The rows that were loaded, or those of one item. */
    #showRows() {
        const rows = this.items.chosen(this.#rows, this.wanted.item);
        this.table.show(rows);
        setText(
            this.count,
            this.#rows.length
                ? t("table.rows", { n: rows.length, count: count(rows.length) }) + this.suffix
                : "",
        );
        this.#restore();
    }

    #heading() {
        const { node, q, only } = this.wanted;
        setText(
            this.title,
            q
                ? t("search.results")
                : only
                  ? t("table.only")
                  : node === topNode
                    ? t("tree.all")
                    : this.tree.nameOf(node),
        );
        this.only.replaceChildren();
        if (!only) return;
        this.only.append(
            element(
                "a",
                { class: "chip", href: "#/values" },
                icon(only),
                t(`quality.${only}`),
                icon("close"),
                element("span", { class: "spoken" }, t("table.all")),
            ),
        );
    }

    /** Opens the row of the address, if it is here. */
    #restore() {
        const row = this.#rows.find(({ id }) => id === this.wanted.sel);
        this.table.mark(row?.id ?? "");
        if (row) this.details.show(row);
        else this.details.hide();
    }

    /** @param {import("../data/store.js").Row} row */
    #open(row) {
        this.wanted.sel = row.id;
        note({ sel: row.id });
        this.table.mark(row.id);
        this.details.show(row);
    }

    #close() {
        this.wanted.sel = "";
        note({ sel: null });
        this.details.hide();
        this.table.focus();
        this.table.mark("");
    }
}

/** @param {import("../data/store.js").Row} row */
async function trend(row) {
    const pens = await pensOf(row);
    if (pens.length) go("trends", { pens: textOf(pens) });
}

/** @type {import("../app.js").MakeView} */
export function valuesView(root, parameters) {
    return new ValuesView(root, parameters);
}
