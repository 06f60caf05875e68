// Fields that several views have.
import { element, iconButton } from "./dom.js";
import { now } from "../data/store.js";
import { dateTime } from "../text/format.js";
import { t } from "../text/language.js";
import { pickerText, readTime } from "../text/times.js";

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

/**
 * A time, to the second. It is typed as the page writes it: the browser's own field would follow the browser's language. The
 * button opens the browser's calendar.
 */
export class TimeField {
    /** @param {string} key of its label @param {() => void} [onInput] typed or picked */
    constructor(key, onInput = () => {}) {
        this.onInput = onInput;
        this.input = /** @type {HTMLInputElement} */ (
            element("input", {
                type: "text",
                class: "time-text",
                autocomplete: "off",
                maxLength: 30,
                placeholder: t("time.pattern"),
            })
        );
        this.input.addEventListener("input", () => this.#changed());
        this.picker = /** @type {HTMLInputElement} */ (
            element("input", {
                type: "datetime-local",
                class: "time-picker",
                step: "1",
                tabIndex: -1,
                "aria-hidden": "true",
            })
        );
        this.picker.addEventListener("input", () => this.#picked());
        const label = t(key);
        this.root = element(
            "div",
            { class: "field time-field" },
            element("label", { class: "field" }, element("span", {}, label), this.input),
            this.picker,
            iconButton("calendar", t("time.pick", { field: label }), () => this.#pick(), {
                quiet: true,
                class: "plain",
            }),
        );
    }

    /** @returns {number | null} ms since 1970; null if nothing, or no time, was typed */
    time() {
        return readTime(this.input.value, now());
    }

    isEmpty() {
        return this.input.value.trim() === "";
    }

    /** @param {number | null} ms since 1970 */
    show(ms) {
        this.input.value = ms === null ? "" : dateTime(ms);
        this.mark(false);
    }

    /** @param {boolean} isWrong */
    mark(isWrong) {
        this.input.setAttribute("aria-invalid", String(isWrong));
    }

    #changed() {
        this.mark(!this.isEmpty() && this.time() === null);
        this.onInput();
    }

    #pick() {
        this.picker.value = pickerText(this.time() ?? now());
        try {
            this.picker.showPicker();
        } catch {
            this.input.focus(); // a browser without calendar: the time is typed
        }
    }

    #picked() {
        const time = Date.parse(this.picker.value);
        if (Number.isNaN(time)) return;
        this.show(time);
        this.onInput();
    }
}
