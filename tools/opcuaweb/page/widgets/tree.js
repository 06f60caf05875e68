// A tree whose levels are loaded as they are opened. Keyboard and roles follow the ARIA practice for trees: one item is in the
// tab order, arrows move.
import { isAborted } from "../data/api.js";
import { element, icon } from "./dom.js";
import { t } from "../text/language.js";

/**
 * @typedef {{id: string, name: string, children: boolean, symbol?: string, note?: string}} TreeNode note: small print
 *
 * @typedef {object} TreeSource
 * @property {string} label for screen readers
 * @property {TreeNode} top
 * @property {(id: string, signal: AbortSignal) => Promise<TreeNode[]>} load the children of a node
 * @property {(id: string, name: string) => void} [onSelect]
 * @property {() => void} [onLoaded] the items below one were added
 */

/** A folder may have thousands of children; more of them are shown on request. */
const portion = 200;
/** So many branches are opened at the beginning. */
const fewBranches = 3;

export class Tree {
    /** @type {AbortController} */
    #requests = new AbortController();

    /** @param {TreeSource} source */
    constructor(source) {
        this.source = source;
        this.selected = source.top.id;
        this.root = element("ul", {
            class: "tree",
            role: "tree",
            "aria-label": source.label,
            on: {
                keydown: (event) => this.#key(/** @type {KeyboardEvent} */ (event)),
                click: (event) => this.#click(event),
            },
        });
        this.top = this.#item(source.top, 1);
        this.root.append(this.top);
        this.#makeTabStop(this.top);
        this.#openOnly(this.top);
    }

    /** Loads the top again, if that has failed. */
    retry() {
        const isLoaded = this.top.getAttribute("aria-busy") || this.top.querySelector('[role="group"]');
        if (!isLoaded) this.#openOnly(this.top);
    }

    /** Opens an item, and then what is alone in it; where it branches, the few branches too. @param {HTMLElement} item */
    async #openOnly(item) {
        await this.#open(item, false);
        const inner = /** @type {NodeListOf<HTMLElement>} */ (
            item.querySelectorAll(':scope > [role="group"] > [role="treeitem"]')
        );
        const closed = [...inner].filter((child) => child.getAttribute("aria-expanded") === "false");
        if (inner.length === 1 && closed.length) await this.#openOnly(closed[0]);
        else if (inner.length <= fewBranches) for (const child of closed) await this.#open(child, false);
    }

    leave() {
        this.#requests.abort();
    }

    /** Marks the item of a node, if it is loaded. @param {string} id */
    select(id) {
        this.selected = id;
        for (const item of this.#items()) {
            item.setAttribute("aria-selected", String(item.dataset.id === id));
            if (item.dataset.id === id) this.#makeTabStop(item);
        }
    }

    /** The shown name of a node, or its id. @param {string} id */
    nameOf(id) {
        return this.#items().find((item) => item.dataset.id === id)?.dataset.name ?? id;
    }

    /** @returns {HTMLElement[]} */
    #items() {
        return [...this.root.querySelectorAll('[role="treeitem"]')];
    }

    /** @returns {HTMLElement[]} those that no closed item hides */
    #visible() {
        return this.#items().filter((item) => !item.parentElement.closest('[aria-expanded="false"]'));
    }

    /** @param {TreeNode} node @param {number} level */
    #item(node, level) {
        const line = element(
            "div",
            { class: "tree-line" },
            element("span", { class: "twist" }, icon("chevron")),
            icon(node.symbol ?? "folder"),
            element("span", { class: "tree-name" }, node.name || node.id),
            node.note && element("span", { class: "tree-note" }, node.note),
        );
        line.style.paddingInlineStart = `${(level - 1) * 16 + 4}px`;
        return element(
            "li",
            {
                role: "treeitem",
                tabIndex: -1,
                "data-id": node.id,
                "data-name": node.name,
                "data-level": level,
                "aria-level": level,
                "aria-label": [node.name || node.id, node.note].filter(Boolean).join(", "),
                "aria-selected": String(node.id === this.selected),
                "aria-expanded": node.children ? "false" : null,
            },
            line,
        );
    }

    /** @param {HTMLElement} item */
    #makeTabStop(item) {
        for (const other of this.root.querySelectorAll('[tabindex="0"]'))
            /** @type {HTMLElement} */ (other).tabIndex = -1;
        item.tabIndex = 0;
    }

    /** @param {HTMLElement} item @param {boolean} focus moves into it */
    async #open(item, focus) {
        item.setAttribute("aria-expanded", "true");
        if (!item.querySelector('[role="group"]')) await this.#load(item);
        const first = /** @type {HTMLElement | null} */ (
            item.querySelector('[role="group"] > [role="treeitem"]')
        );
        if (focus && first) this.#focus(first);
    }

    /** @param {HTMLElement} item */
    async #load(item) {
        const group = element("ul", { role: "group" });
        item.append(group);
        item.setAttribute("aria-busy", "true");
        try {
            const nodes = await this.source.load(item.dataset.id, this.#requests.signal);
            this.#show(group, nodes, Number(item.dataset.level) + 1, 0);
            this.source.onLoaded?.();
            if (!nodes.length) item.removeAttribute("aria-expanded"); // nothing but rows of the table
        } catch (error) {
            group.remove(); // the next opening tries again
            if (!isAborted(error)) item.setAttribute("aria-expanded", "false");
        }
        item.removeAttribute("aria-busy");
    }

    /** @param {HTMLElement} group @param {TreeNode[]} nodes @param {number} level @param {number} from */
    #show(group, nodes, level, from) {
        group.append(...nodes.slice(from, from + portion).map((node) => this.#item(node, level)));
        const rest = nodes.length - from - portion;
        if (rest <= 0) return;
        const more = this.#item({ id: "", name: t("tree.more", { n: rest }), children: false }, level);
        more.classList.add("tree-more");
        more.addEventListener("more", () => {
            const before = more.previousElementSibling;
            more.remove();
            this.#show(group, nodes, level, from + portion);
            this.#focus(/** @type {HTMLElement} */ (before?.nextElementSibling));
        });
        group.append(more);
    }

    /** @param {HTMLElement} item */
    #focus(item) {
        this.#makeTabStop(item);
        item.focus();
        item.scrollIntoView({ block: "nearest" });
    }

    /** @param {HTMLElement} item */
    #choose(item) {
        if (item.classList.contains("tree-more")) {
            item.dispatchEvent(new Event("more"));
            return;
        }
        this.select(item.dataset.id);
        this.source.onSelect?.(item.dataset.id, item.dataset.name);
    }

    /** @param {Event} event */
    #click(event) {
        const target = /** @type {Element} */ (event.target);
        const item = /** @type {HTMLElement | null} */ (target.closest('[role="treeitem"]'));
        if (!item) return;
        const isOpen = item.getAttribute("aria-expanded");
        this.#makeTabStop(item);
        if (target.closest(".twist") && isOpen) {
            if (isOpen === "true") item.setAttribute("aria-expanded", "false");
            else this.#open(item, false);
            return;
        }
        if (isOpen === "false") this.#open(item, false);
        this.#choose(item);
    }

    /** @param {KeyboardEvent} event */
    #key(event) {
        const item = /** @type {HTMLElement | null} */ (
            /** @type {Element} */ (event.target).closest('[role="treeitem"]')
        );
        if (!item || event.ctrlKey || event.altKey || event.metaKey) return;
        const visible = this.#visible();
        const place = visible.indexOf(item);
        const isOpen = item.getAttribute("aria-expanded");
        const to = (/** @type {HTMLElement | undefined | null} */ next) => next && this.#focus(next);
        /** @type {Record<string, () => void>} */
        const actions = {
            ArrowDown: () => to(visible[place + 1]),
            ArrowUp: () => to(visible[place - 1]),
            Home: () => to(visible[0]),
            End: () => to(visible.at(-1)),
            ArrowRight: () => isOpen && this.#open(item, isOpen === "true"),
            ArrowLeft: () =>
                isOpen === "true"
                    ? item.setAttribute("aria-expanded", "false")
                    : to(item.parentElement.closest('[role="treeitem"]')),
            Enter: () => this.#choose(item),
            " ": () => this.#choose(item),
        };
        const action =
            actions[event.key] ??
            (event.key.length === 1 && event.key.match(/\p{L}|\p{N}/u)
                ? () => to(this.#startingWith(visible, place, event.key))
                : null);
        if (!action) return;
        event.preventDefault();
        event.stopPropagation();
        action();
    }

    /** The next item whose name begins with a letter. */
    #startingWith(visible, place, letter) {
        const order = [...visible.slice(place + 1), ...visible.slice(0, place)];
        return order.find((item) =>
            item.dataset.name.toLocaleLowerCase().startsWith(letter.toLocaleLowerCase()),
        );
    }
}
