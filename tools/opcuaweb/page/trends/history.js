// Reads histories: a stream of lines, so that the first columns are drawn while the archive is still being read.
import { address, answered, Problem } from "../data/api.js";
import { said, t } from "../text/language.js";

/**
 * A column of pixels: time in ms since 1970; least, greatest and last value in it; 1 where there is a gap because the quality is
 * bad or there is no value.
 * @typedef {[time: number, min: number | null, max: number | null, last: number | null, bad: 0 | 1]} Column
 *
 * @typedef {{node: string, from: number, to: number, width: number}} HistoryRange times in ms since 1970, width in pixels
 */

/**
 * @param {HistoryRange} range @param {(columns: Column[], progress: number) => void} onPart in time order; progress 0 to 1
 * @param {AbortSignal} signal
 * @returns {Promise<{values: number, problem: string}>} how many values were read; what the server refused, or ""
 * @throws {Problem} when the program cannot be reached or ends in the middle
 */
export async function readHistory(range, onPart, signal) {
    const query = {
        ...range,
        from: Math.round(range.from),
        to: Math.round(range.to),
        width: Math.round(range.width),
    };
    const response = await answered(address("history", query), { signal });
    for await (const line of linesOf(response)) {
        const part = JSON.parse(line);
        if (part.end) return { values: part.values ?? 0, problem: said(part.problem) };
        if (part.columns) onPart(part.columns, part.progress ?? 0);
    }
    throw new Problem("cut-short", t("trends.cutShort"));
}

/** @param {{node: string, from: number, to: number}} range @returns {string} the address of all its values as CSV */
export function csvAddress(range) {
    return address("history.csv", { ...range, from: Math.round(range.from), to: Math.round(range.to) });
}

/** @param {Response} response */
async function* linesOf(response) {
    const reader = response.body.pipeThrough(new TextDecoderStream()).getReader();
    let rest = "";
    for (;;) {
        const { done, value } = await reader.read();
        const lines = (rest + (value ?? "")).split("\n");
        rest = done ? "" : (lines.pop() ?? "");
        for (const line of lines) if (line.trim()) yield line;
        if (done) return;
    }
}
