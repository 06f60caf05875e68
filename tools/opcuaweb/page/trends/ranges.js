// The range of a trend: the last minutes, which move with time, or a fixed one; and its toolbar.
import { element, iconButton } from "../widgets/dom.js";
import { dateField, unfolds } from "../widgets/fields.js";
import { fromInputTime, inputTime } from "../text/format.js";
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
    /** @param {{onRange: (range: Range) => void, onBack: () => void}} events @param {HTMLElement} beside another button of the view */
    constructor({ onRange, onBack }, beside) {
        this.buttons = presets.map(([name, seconds]) =>
            element(
                "button",
                {
                    type: "button",
                    class: "button",
                    "data-last": seconds,
                    on: { click: () => onRange({ last: Number(seconds) }) },
                },
                t(`range.${name}`),
            ),
        );
        this.from = dateField("range.from");
        this.to = dateField("range.to");
        this.back = iconButton("left", t("range.back"), onBack);
        this.live = iconButton("live", t("range.live"), () => onRange({ last: this.#lastSeconds() }));
        const step = (symbol, key, how) =>
            iconButton(symbol, t(key), () => onRange(changed(this.range, how)), { quiet: true });
        const form = element(
            "form",
            { class: "range-form folded" },
            this.from.root,
            this.to.root,
            element("button", { class: "button" }, t("range.show")),
        );
        form.addEventListener("submit", (event) => {
            event.preventDefault();
            this.#showTyped(onRange);
        });
        this.root = element(
            "div",
            { class: "range-bar" },
            element(
                "div",
                { class: "segments", role: "group", "aria-label": t("range.presets") },
                ...this.buttons,
            ),
            element(
                "div",
                { class: "segments", role: "group", "aria-label": t("range.move") },
                step("left", "range.earlier", { shift: -0.5 }),
                step("right", "range.later", { shift: 0.5 }),
                step("minus", "range.out", { factor: 2 }),
                step("plus", "range.in", { factor: 0.5 }),
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
        const [from, to] = limitsOf(range);
        if (!this.root.contains(document.activeElement) || document.activeElement?.tagName !== "INPUT") {
            this.from.input.value = inputTime(from);
            this.to.input.value = inputTime(to);
        }
    }

    #lastSeconds() {
        const [from, to] = limitsOf(this.range);
        return Math.max(60, Math.round((to - from) / 1000));
    }

    /** @param {(range: Range) => void} onRange */
    #showTyped(onRange) {
        const from = fromInputTime(this.from.input.value);
        const to = fromInputTime(this.to.input.value);
        const isWrong = from === null || to === null || to <= from;
        this.to.input.setAttribute("aria-invalid", String(isWrong));
        if (!isWrong) onRange({ from, to });
    }
}
