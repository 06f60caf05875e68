// What the page knows: the newest value of each watched node with its recent past, the connection, the overview. Bounded,
// because a page may stay open for weeks.

/**
 * @typedef {object} Row a variable in a table, as /api/rows sends it
 * @property {string} id @property {string} tag @property {string} name @property {string} item @property {string} unit
 * @property {string} type @property {string} access @property {boolean} history @property {string} folder
 *
 * @typedef {object} Known what is known of a node's value
 * @property {number | string | boolean | null} value
 * @property {0 | 1 | 2} quality good, uncertain, bad
 * @property {string} status the status' name
 * @property {number | null} time source time, ms since 1970
 * @property {number} changes counts the changes of value or quality, so that a painter sees that there was one
 * @property {number} decimals the most decimals that the value has had, so that a column does not jump
 * @property {Recent | null} recent for the sparkline
 *
 * @typedef {{times: Float64Array, values: Float64Array, next: number, count: number}} Recent a ring; NaN where bad
 */

const mostNodes = 4000;
/** Two minutes at twice a second; values that stand still take two places, however long. */
const recentLength = 240;
export const shownDecimals = 3;

/** @type {Map<string, Known>} in order of the last change, oldest first */
const known = new Map();
const changes = new EventTarget();

export const store = {
    /** @type {any} the newest of each event, null before the first */
    hello: null,
    link: null,
    overview: null,
    /** @type {import("./link.js").LinkState} */
    page: { state: "connecting" },
    /** program's clock minus the browser's, ms */
    clockOffset: 0,
};

/** The program's time, ms since 1970. */
export function now() {
    return Date.now() + store.clockOffset;
}

/**
 * Calls a listener after each event of the name ("values", "overview", "page" …).
 * @param {string} name @param {(data: any) => void} listener @returns {() => void} ends it
 */
export function on(name, listener) {
    const wrapped = (/** @type {CustomEvent} */ event) => listener(event.detail);
    changes.addEventListener(name, wrapped);
    return () => changes.removeEventListener(name, wrapped);
}

/** Takes an event of the stream, or of the page itself. @param {string} name @param {any} data */
export function take(name, data) {
    if (name === "values") data.forEach(takeValue);
    else if (name in store) store[name] = data;
    if (name === "overview" && data.now) store.clockOffset = data.now - Date.now();
    changes.dispatchEvent(new CustomEvent(name, { detail: data }));
}

/** @param {string} id @returns {Known | undefined} */
export function valueOf(id) {
    return known.get(id);
}

/** Whether nothing that is shown can be trusted to be current. */
export function isFrozen() {
    return store.page.state !== "connected" || store.link?.connected === false;
}

/** @param {Known} value */
export function isOld(value) {
    const limit = store.overview?.oldAfter;
    return value.time !== null && limit > 0 && now() - value.time > limit * 1000;
}

/** @param {[string, any, 0 | 1 | 2, number | null, string?]} update */
function takeValue([id, value, quality, time, status]) {
    const before = known.get(id);
    const entry = before ?? {
        value: null,
        quality: 0,
        status: "",
        time: null,
        changes: 0,
        decimals: 0,
        recent: null,
    };
    if (!before || before.value !== value || before.quality !== quality) ++entry.changes;
    Object.assign(entry, { value, quality, time, status: status ?? (quality === 0 ? "Good" : "") });
    if (typeof value === "number") entry.decimals = Math.max(entry.decimals, decimalsOf(value));
    addRecent(entry);
    known.delete(id); // to the end of the order
    known.set(id, entry);
    if (known.size > mostNodes) known.delete(known.keys().next().value);
}

/** @param {number} value a Float has seven significant digits; the rest is noise of its conversion */
function decimalsOf(value) {
    const text = String(Number(value.toPrecision(7)));
    const point = text.indexOf(".");
    return point < 0 || text.includes("e") ? 0 : Math.min(text.length - point - 1, shownDecimals);
}

/** @param {Known} entry */
function addRecent(entry) {
    if (typeof entry.value !== "number" && typeof entry.value !== "boolean") return;
    entry.recent ??= {
        times: new Float64Array(recentLength),
        values: new Float64Array(recentLength),
        next: 0,
        count: 0,
    };
    const recent = entry.recent;
    const value = entry.quality === 2 ? NaN : Number(entry.value);
    const [last, before] = [1, 2].map((back) => (recent.next - back + recentLength) % recentLength);
    if (
        recent.count > 1 &&
        Object.is(recent.values[last], value) &&
        Object.is(recent.values[before], value)
    ) {
        recent.times[last] = Date.now();
        return;
    }
    recent.times[recent.next] = Date.now();
    recent.values[recent.next] = value;
    recent.next = (recent.next + 1) % recentLength;
    recent.count = Math.min(recent.count + 1, recentLength);
}
