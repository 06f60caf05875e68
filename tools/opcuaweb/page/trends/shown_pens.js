// The pens of a trend and the columns that have been read for them.
import { isAborted } from "../data/api.js";
import { readHistory } from "./history.js";
import { mostPens } from "./pens.js";
import { patched } from "./series.js";

/** Histories read at the same time: the server answers them one after the other, and a browser has few connections. */
const parallelReads = 2;

/**
 * @typedef {import("./pens.js").Pen & {slot: number, columns: import("./history.js").Column[], progress: number, problem: string,
 *   hasOwnAxis: boolean}} ShownPen slot: its colour, from 0; progress: 0 to 1, then its history has been read
 */

export class ShownPens {
    /** @type {ShownPen[]} */
    list = [];
    #request = new AbortController();

    /** @param {() => void} onChange more columns have come */
    constructor(onChange) {
        this.onChange = onChange;
    }

    leave() {
        this.#request.abort();
    }

    /** @param {import("./pens.js").Pen} pen takes the first free colour */
    put(pen) {
        if (this.list.some(({ id }) => id === pen.id)) return;
        const slot =
            [...Array(mostPens).keys()].find((free) => !this.list.some((other) => other.slot === free)) ?? 0;
        this.list.push({ ...pen, slot, columns: [], progress: 0, problem: "", hasOwnAxis: false });
    }

    /** @param {string[]} ids the others are removed */
    keep(ids) {
        this.list = this.list.filter((pen) => ids.includes(pen.id));
    }

    /** How much of all histories has been read, 0 to 1. */
    progress() {
        return this.list.length
            ? this.list.reduce((sum, pen) => sum + pen.progress, 0) / this.list.length
            : 1;
    }

    /**
     * Reads the histories of all pens. What was read before stays until it is replaced.
     * @param {number} from @param {number} to ms since 1970 @param {number} width pixels @returns {Promise<boolean>} false: another
     *   range was wanted meanwhile
     */
    async read(from, to, width) {
        this.#request.abort();
        this.#request = new AbortController();
        const { signal } = this.#request;
        const waiting = [...this.list];
        for (const pen of waiting) pen.progress = 0;
        const reader = async () => {
            for (let pen = waiting.shift(); pen && !signal.aborted; pen = waiting.shift()) {
                await this.#readOne(pen, { node: pen.id, from, to, width }, signal);
            }
        };
        await Promise.all(Array.from({ length: parallelReads }, reader));
        return !signal.aborted;
    }

    /** @param {ShownPen} pen @param {import("./history.js").HistoryRange} range @param {AbortSignal} signal */
    async #readOne(pen, range, signal) {
        const old = pen.columns;
        /** @type {import("./history.js").Column[]} */
        let fresh = [];
        try {
            const { problem } = await readHistory(
                range,
                (columns, progress) => {
                    fresh = fresh.concat(columns);
                    pen.columns = patched(fresh, old);
                    pen.progress = Math.min(progress, 0.99);
                    this.onChange();
                },
                signal,
            );
            pen.columns = fresh;
            pen.problem = problem;
        } catch (error) {
            if (isAborted(error)) return;
            pen.problem = error.message;
        }
        pen.progress = 1;
        this.onChange();
    }

    /**
     * Reads what has been archived since the last reading of each pen, and forgets what has left the range.
     * @param {number} from @param {number} to ms since 1970 @param {number} width pixels
     */
    async extend(from, to, width) {
        const { signal } = this.#request;
        // Joined tails are finer than pixels; after a while everything is read again at their width.
        if (this.list.some((pen) => pen.columns.length > 3 * width + 200)) {
            await this.read(from, to, width);
            return;
        }
        for (const pen of this.list)
            if (pen.progress === 1) await this.#extendOne(pen, from, to, width, signal);
    }

    /** Reads again from the last column, which was not complete yet. */
    async #extendOne(pen, from, to, width, signal) {
        const start = pen.columns.at(-1)?.[0] ?? from;
        const share = Math.max(1, Math.ceil((width * (to - start)) / (to - from)));
        /** @type {import("./history.js").Column[]} */
        const fresh = [];
        try {
            const { problem } = await readHistory(
                { node: pen.id, from: start, to, width: share },
                (columns) => fresh.push(...columns),
                signal,
            );
            pen.problem = problem;
        } catch (error) {
            if (!isAborted(error)) pen.problem = error.message;
            return;
        }
        if (!fresh.length || pen.progress !== 1) return;
        const margin = (to - from) / 10;
        pen.columns = [...pen.columns.filter(([time]) => time < start && time > from - margin), ...fresh];
        this.onChange();
    }
}
