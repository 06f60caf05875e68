// Fields that several views have.
import { element, iconButton } from "./dom.js";
import { t } from "../text/language.js";

/** A button for narrow screens that opens fields. @param {string} key @param {...HTMLElement} fields */
export function unfolds(key, ...fields) {
    const button = iconButton(
        "filter",
        t(key),
        () => {
            const isOpen = button.getAttribute("aria-expanded") === "false";
            button.setAttribute("aria-expanded", String(isOpen));
            for (const field of fields) field.classList.toggle("is-open", isOpen);
        },
        { class: "only-small" },
    );
    button.setAttribute("aria-expanded", "false");
    return button;
}

/** A time of the browser's zone, to the second. @param {string} key */
export function dateField(key) {
    const input = /** @type {HTMLInputElement} */ (element("input", { type: "datetime-local", step: "1" }));
    return { input, root: element("label", { class: "field" }, element("span", {}, t(key)), input) };
}
