// The columns of several pens as rows of one chart, and questions about columns.

/** @typedef {import("./history.js").Column} Column */
/** @typedef {[low: number, value: number, high: number] | null} Cell null: this pen has nothing to say at that time */

const gap = /** @type {Cell} */ ([NaN, NaN, NaN]);

/**
 * @param {Column[][]} pens each in time order
 * @returns {(number | Cell)[][]} a row for each time that occurs: the time, then a cell for each pen. NaN breaks a line, null
 *   does not
 */
export function merged(pens) {
    const times = [...new Set(pens.flatMap((columns) => columns.map((column) => column[0])))].sort(
        (a, b) => a - b,
    );
    const next = pens.map(() => 0);
    return times.map((time) => [
        time,
        ...pens.map((columns, pen) => {
            if (columns[next[pen]]?.[0] !== time) return null;
            let column = columns[next[pen]++];
            while (columns[next[pen]]?.[0] === time) column = columns[next[pen]++];
            return cellOf(column);
        }),
    ]);
}

/** @param {Column} column @returns {Cell} */
function cellOf([, min, max, last, bad]) {
    if (bad || last === null) return gap;
    return [min ?? last, last, max ?? last];
}

/**
 * New columns as far as they have come, the old ones after that, so that a zoomed curve does not vanish while it is read again.
 * @param {Column[]} fresh @param {Column[]} old
 */
export function patched(fresh, old) {
    const end = fresh.at(-1)?.[0];
    return end === undefined ? old : [...fresh, ...old.filter((column) => column[0] > end)];
}

/** The column at a time: the last one not after it. @param {Column[]} columns @param {number} time */
export function columnAt(columns, time) {
    let low = 0;
    let high = columns.length;
    while (low < high) {
        const middle = (low + high) >> 1;
        if (columns[middle][0] <= time) low = middle + 1;
        else high = middle;
    }
    return low ? columns[low - 1] : undefined;
}

/** Least and greatest value of a range, or null. @param {Column[]} columns @param {number} from @param {number} to */
export function extremes(columns, from, to) {
    let range = null;
    for (const [time, min, max, last, bad] of columns) {
        if (time < from || time > to || bad || last === null) continue;
        range = range
            ? { min: Math.min(range.min, min ?? last), max: Math.max(range.max, max ?? last) }
            : { min: min ?? last, max: max ?? last };
    }
    return range;
}

/** The spans of bad quality. @param {Column[]} columns @returns {[from: number, to: number][]} */
export function gapsOf(columns) {
    /** @type {[number, number][]} */
    const gaps = [];
    let start = null;
    for (const [time, , , , bad] of columns) {
        if (bad) start ??= time;
        else if (start !== null) {
            gaps.push([start, time]);
            start = null;
        }
    }
    if (start !== null) gaps.push([start, columns.at(-1)[0]]);
    return gaps;
}
