// Values, times and qualities as an operator reads them, in the page's language.
import { locale, t } from "./language.js";
import { isOld, now, shownDecimals } from "../data/store.js";

/** @typedef {"good" | "uncertain" | "bad" | "old" | "none"} Condition "none": no value has come yet */

export const missing = "—";
const dayMs = 86_400_000;
/** @type {Map<string, Intl.NumberFormat | Intl.DateTimeFormat>} making one takes longer than using it */
const formatters = new Map();

/** @template T @param {string} name @param {(locale: string) => T} make @returns {T} */
function cached(name, make) {
    const key = locale() + name;
    if (!formatters.has(key)) formatters.set(key, /** @type {any} */ (make(locale())));
    return /** @type {any} */ (formatters.get(key));
}

/** A whole number with its thousands apart. @param {number | null | undefined} n */
export function count(n) {
    if (n === null || n === undefined) return missing;
    return cached("count", (l) => new Intl.NumberFormat(l)).format(n);
}

/**
 * A measured number: a Float has seven significant digits.
 * @param {number} value @param {number} [decimals] at least as many, so that a column does not jump; without it all digits
 */
export function number(value, decimals) {
    if (!Number.isFinite(value)) return String(value);
    const size = Math.abs(value);
    if (size !== 0 && (size >= 1e9 || size < 1e-3)) {
        return cached(
            "exponent",
            (l) => new Intl.NumberFormat(l, { notation: "scientific", maximumSignificantDigits: 7 }),
        ).format(value);
    }
    if (decimals === undefined) {
        return cached(
            "full",
            (l) => new Intl.NumberFormat(l, { maximumSignificantDigits: 7, useGrouping: "min2" }),
        ).format(value);
    }
    return cached(
        `fixed${decimals}`,
        (l) =>
            new Intl.NumberFormat(l, {
                minimumFractionDigits: decimals,
                maximumFractionDigits: Math.max(decimals, shownDecimals),
                useGrouping: "min2",
            }),
    ).format(value);
}

/**
 * @param {number | string | boolean | null | undefined} value @param {number} [decimals] see number()
 */
export function plainValue(value, decimals) {
    if (value === null || value === undefined) return missing;
    if (typeof value === "number") return number(value, decimals);
    if (typeof value === "boolean") return t(value ? "value.true" : "value.false");
    return value === "" ? t("value.empty") : value;
}

/**
 * The controller's condition of a value, worst first. A pen is never old: what counts is its history.
 * @param {import("../data/store.js").Known | undefined} known @param {import("../data/store.js").Row} row
 */
export function conditionOf(known, row) {
    if (!known) return "none";
    if (known.quality === 2) return "bad";
    if (isOld(known) && !row.history) return "old";
    return known.quality === 1 ? "uncertain" : "good";
}

/** What the status adds to the word of the quality: "SensorFailure", or nothing. @param {string} status */
export function statusDetail(status) {
    return status.replace(/^(Good|Uncertain|Bad)/, "");
}

/** @param {Intl.DateTimeFormatOptions} options */
const timeFormat = (options) => (/** @type {string} */ l) =>
    new Intl.DateTimeFormat(l, { hourCycle: "h23", ...options });
const clock = /** @type {const} */ ({ hour: "2-digit", minute: "2-digit", second: "2-digit" });
const date = /** @type {const} */ ({ day: "2-digit", month: "2-digit", year: "numeric" });

/** The time of day. @param {number} ms since 1970 */
export function timeOfDay(ms) {
    return cached("clock", timeFormat(clock)).format(ms);
}

/** Day and time. @param {number | null | undefined} ms */
export function dateTime(ms) {
    if (ms === null || ms === undefined) return missing;
    return cached("dateTime", timeFormat({ ...date, ...clock }))
        .format(ms)
        .replace(",", "");
}

/** The time, with its day if that is not today. @param {number | null | undefined} ms */
export function shortTime(ms) {
    if (ms === null || ms === undefined) return missing;
    const today = new Date(now()).toDateString() === new Date(ms).toDateString();
    return today ? timeOfDay(ms) : dateTime(ms);
}

/** With milliseconds, for the details. @param {number | null | undefined} ms */
export function exactTime(ms) {
    if (ms === null || ms === undefined) return missing;
    return cached("exact", timeFormat({ ...date, ...clock, fractionalSecondDigits: 3 }))
        .format(ms)
        .replace(", ", " ");
}

/** A span in its largest unit: "12 s", "5 min", "3 h", "4 d". @param {number} ms */
export function span(ms) {
    const seconds = Math.max(0, Math.floor(ms / 1000));
    if (seconds < 120) return t("span.seconds", { n: seconds });
    if (seconds < 7200) return t("span.minutes", { n: Math.floor(seconds / 60) });
    if (ms < 2 * dayMs) return t("span.hours", { n: Math.floor(seconds / 3600) });
    return t("span.days", { n: count(Math.floor(ms / dayMs)) });
}

/** A long span in two units, for how long a server has been running. @param {number} ms */
export function longSpan(ms) {
    const minutes = Math.floor(ms / 60_000);
    if (minutes < 2) return span(ms);
    if (minutes < 60) return t("span.minutes", { n: minutes });
    if (minutes < 1440)
        return `${t("span.hours", { n: Math.floor(minutes / 60) })} ${t("span.minutes", { n: minutes % 60 })}`;
    return `${t("span.days", { n: count(Math.floor(minutes / 1440)) })} ${t("span.hours", { n: Math.floor(minutes / 60) % 24 })}`;
}

/** How old a source time is. @param {number | null | undefined} time */
export function age(time) {
    return time === null || time === undefined ? missing : span(now() - time);
}
