// The page's keys. Those of one character can be switched off, because speech control may type them by mistake.
import { element, find } from "../widgets/dom.js";
import { t } from "../text/language.js";
import { go, goTo, lastAddress, viewNames } from "./router.js";
import { remember, remembered } from "../data/settings.js";

/** What the "?" dialog lists: headings and rows of keys and what they do. */
const documented = [
    [
        "keys.everywhere",
        [
            ["1 … 5", "keys.views"],
            ["/", "keys.search"],
            ["?", "keys.help"],
            ["Esc", "keys.escape"],
        ],
    ],
    [
        "keys.tree",
        [
            ["↑ ↓", "keys.treeMove"],
            ["→ ←", "keys.treeOpen"],
            ["Enter", "keys.treeSelect"],
        ],
    ],
    [
        "keys.table",
        [
            ["↑ ↓", "keys.rowMove"],
            ["PgUp PgDn", "keys.pageMove"],
            ["Home End", "keys.endMove"],
            ["Enter", "keys.rowDetails"],
            ["T", "keys.rowTrend"],
            ["W", "keys.rowWrite"],
        ],
    ],
    [
        "keys.chart",
        [
            ["← →", "keys.pan"],
            ["+ −", "keys.zoom"],
            ["0", "keys.live"],
        ],
    ],
    ["keys.editor", [["Ctrl+Enter", "keys.check"]]],
];

function singleKeysOn() {
    return remembered("singleKeys") !== "off";
}

export function startKeys() {
    document.addEventListener("keydown", (event) => {
        if (event.ctrlKey || event.altKey || event.metaKey || isTyping(event.target) || !singleKeysOn())
            return;
        if (document.querySelector("dialog[open]")) return;
        const action = actionOf(event);
        if (!action) return;
        event.preventDefault();
        action();
    });
    find("#help-button").addEventListener("click", showHelp);
}

/** @param {KeyboardEvent} event */
function actionOf({ key, code, shiftKey }) {
    const view = viewNames()[Number(key) - 1];
    if (view) return () => goTo(lastAddress(view));
    // The key itself too: with the Russian layout it types neither of the two characters.
    if (key === "?" || (code === "Slash" && shiftKey)) return showHelp;
    if (key === "/" || code === "Slash") return focusSearch;
    return null;
}

/** @param {EventTarget | null} target */
export function isTyping(target) {
    return (
        target instanceof HTMLElement && target.closest("input, textarea, select, [contenteditable]") !== null
    );
}

/** The search of the present view, or that of Values. */
function focusSearch() {
    const search = () => document.querySelector("#view [data-search]");
    if (!search()) go("values");
    requestAnimationFrame(() => setTimeout(() => /** @type {HTMLElement | null} */ (search())?.focus(), 50));
}

function showHelp() {
    const dialog = /** @type {HTMLDialogElement} */ (find("#help"));
    const box = /** @type {HTMLInputElement} */ (
        element("input", { type: "checkbox", checked: singleKeysOn() })
    );
    box.addEventListener("change", () => remember("singleKeys", box.checked ? "on" : "off"));
    const close = element(
        "button",
        { type: "button", class: "button primary", on: { click: () => dialog.close() } },
        t("close"),
    );
    dialog.replaceChildren(
        element("h2", { id: "help-title" }, t("keys.title")),
        element("div", { class: "key-groups" }, ...documented.map(([title, rows]) => keyGroup(title, rows))),
        element("p", { class: "muted" }, t("keys.mouse")),
        element("label", { class: "check" }, box, element("span", {}, t("keys.single"))),
        element("div", { class: "dialog-buttons" }, close),
    );
    dialog.showModal();
    close.focus();
}

/** @param {string} title @param {string[][]} rows */
function keyGroup(title, rows) {
    const lines = rows.flatMap(([keys, text]) => [
        element("dt", {}, ...keys.split(" ").map((key) => (key === "…" ? " … " : element("kbd", {}, key)))),
        element("dd", {}, t(text)),
    ]);
    return element("section", {}, element("h3", {}, t(title)), element("dl", {}, ...lines));
}
