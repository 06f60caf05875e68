// A search field that searches as one types. Esc empties it.
import { debounced, element, icon } from "./dom.js";
import { t } from "../text/language.js";

/** Long enough for a fast typist, short enough to seem immediate. */
const pauseMs = 180;

/**
 * @param {(text: string) => void} onSearch the trimmed text; "" when it was emptied
 * @param {{placeholder?: string}} [options] key of a text
 */
export function searchBox(onSearch, { placeholder = "search.placeholder" } = {}) {
    const input = /** @type {HTMLInputElement} */ (
        element("input", {
            type: "search",
            "data-search": "",
            autocomplete: "off",
            spellcheck: false,
            enterKeyHint: "search",
            placeholder: t(placeholder),
            "aria-label": t(placeholder),
            maxLength: 200,
        })
    );
    let searched = "";
    const searchNow = () => {
        later.cancel();
        const text = input.value.trim();
        if (text === searched) return;
        searched = text;
        onSearch(text);
    };
    const later = debounced(pauseMs, searchNow);
    input.addEventListener("input", later);
    input.addEventListener("keydown", (event) => {
        if (event.key === "Enter") searchNow();
        if (event.key !== "Escape") return;
        input.value = "";
        searchNow();
    });
    return {
        root: element("div", { class: "search", role: "search" }, icon("search"), input),
        /** Shows a text without searching for it, unless the operator is typing. @param {string} text */
        show(text) {
            if (document.activeElement !== input || text !== searched) input.value = text;
            searched = text;
        },
        focus: () => input.focus(),
        leave: later.cancel,
    };
}
