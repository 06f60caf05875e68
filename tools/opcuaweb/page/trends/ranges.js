// The range of a trend: the last minutes, which move with time, or a fixed one; and its toolbar.
import { element, iconButton, setText } from "../widgets/dom.js";
import { TimeField, unfolds } from "../widgets/fields.js";
import { t } from "../text/language.js";
import { now } from "../data/store.js";

/** @typedef {{last: number} | {from: number, to: number}} Range last: seconds up to now; from, to: ms since 1970 */

const presets = [
    ["10m", 600],
    ["1h", 3600],
    ["8h", 28_800],
    ["24h", 86_400],
    ["7d", 604_800],
    ["30d", 2_592_000],
];
const shortestMs = 1000;
const longestMs = 20 * 365 * 86_400_000;

/** @param {Record<string, string>} parameters @returns {Range} */
export function rangeOf(parameters) {
    const from = Number(parameters.from);
    const to = Number(parameters.to);
    if (from > 0 && to > from) return { from, to };
    const last = Number(parameters.last);
    return { last: last >= 1 && last * 1000 <= longestMs ? last : 3600 };
}

/** As parameters of the address. @param {Range} range */
export function parametersOf(range) {
    return "last" in range
        ? { last: range.last, from: null, to: null }
        : { last: null, from: Math.round(range.from), to: Math.round(range.to) };
}

/** @param {Range} range @returns {[from: number, to: number]} ms since 1970 */
export function limitsOf(range) {
    return "last" in range ? [now() - range.last * 1000, now()] : [range.from, range.to];
}

/** A range that can be shown, whatever was dragged. @param {number} from @param {number} to @returns {Range} */
export function fixed(from, to) {
    const middle = (from + to) / 2;
    const half = Math.max(shortestMs, Math.min(longestMs, to - from)) / 2;
    return { from: middle - half, to: middle + half };
}

/** Shifted by a share of its length, or longer by a factor. @param {Range} range @param {{shift?: number, factor?: number}} how */
export function changed(range, { shift = 0, factor = 1 }) {
    const [from, to] = limitsOf(range);
    const length = to - from;
    const middle = (from + to) / 2 + shift * length;
    return fixed(middle - (length * factor) / 2, middle + (length * factor) / 2);
}

export class RangeBar {
    /** Times are being typed: the live range must not replace them. */
    #isTyped = false;

    /** @param {{onRange: (range: Range) => void, onBack: () => void}} events @param {HTMLElement} beside another button of the view */
    constructor({ onRange, onBack }, beside) {
        this.onRange = (/** @type {Range} */ range) => {
            this.#isTyped = false;
            setText(this.error, "");
            onRange(range);
        };
        this.buttons = presets.map(([name, seconds]) => this.#preset(`range.${name}`, Number(seconds)));
        this.back = iconButton("left", t("range.back"), onBack);
        this.live = iconButton("live", t("range.live"), () => this.onRange({ last: this.#lastSeconds() }));
        const form = this.#form();
        this.root = element(
            "div",
            { class: "range-bar" },
            segments("range.presets", ...this.buttons),
            segments(
                "range.move",
                this.#step("left", "range.earlier", { shift: -0.5 }),
                this.#step("right", "range.later", { shift: 0.5 }),
                this.#step("minus", "range.out", { factor: 2 }),
                this.#step("plus", "range.in", { factor: 0.5 }),
            ),
            this.live,
            this.back,
            beside,
            unfolds("range.fields", form),
            form,
        );
    }

    /** @param {Range} range @param {boolean} canGoBack */
    show(range, canGoBack) {
        this.range = range;
        const isLive = "last" in range;
        for (const button of this.buttons) {
            button.setAttribute("aria-pressed", String(isLive && Number(button.dataset.last) === range.last));
        }
        this.live.setAttribute("aria-pressed", String(isLive));
        this.back.hidden = !canGoBack;
        if (this.#isTyped) return;
        const [from, to] = limitsOf(range);
        this.from.show(from);
        this.to.show(to);
    }

    /** @param {string} key @param {number} seconds */
    #preset(key, seconds) {
        return element(
            "button",
            {
                type: "button",
                class: "button",
                "data-last": seconds,
                on: { click: () => this.onRange({ last: seconds }) },
            },
            t(key),
        );
    }

    /** @param {string} symbol @param {string} key @param {{shift?: number, factor?: number}} how */
    #step(symbol, key, how) {
        return iconButton(symbol, t(key), () => this.onRange(changed(this.range, how)), { quiet: true });
    }

    #form() {
        this.error = element("p", { class: "error-text", role: "alert" });
        const typed = () => {
            this.#isTyped = true;
            setText(this.error, "");
        };
        this.from = new TimeField("range.from", typed);
        this.to = new TimeField("range.to", typed);
        const form = element(
            "form",
            { class: "range-form folded" },
            this.from.root,
            this.to.root,
            element("button", { class: "button" }, t("range.show")),
            this.error,
        );
        form.addEventListener("submit", (event) => {
            event.preventDefault();
            this.#showTyped();
        });
        return form;
    }

    #lastSeconds() {
        const [from, to] = limitsOf(this.range);
        return Math.max(60, Math.round((to - from) / 1000));
    }

    #showTyped() {
        const from = this.from.time();
        const to = this.to.time();
        this.from.mark(from === null);
        this.to.mark(to === null || to <= (from ?? -Infinity));
        if (from === null || to === null) setText(this.error, t("time.wrong"));
        else if (to <= from) setText(this.error, t("range.reversed"));
        else this.onRange(fixed(from, to));
    }
}

/** @param {string} key @param {...HTMLElement} buttons */
function segments(key, ...buttons) {
    return element("div", { class: "segments", role: "group", "aria-label": t(key) }, ...buttons);
}
