// Finds the histories of a row: its own, or those of the plotters' pens that record its tag.
import { get } from "../data/api.js";
import { on } from "../data/store.js";

/** Pens by the tag that they record. @type {Promise<Map<string, string[]>> | null} */
let byTag = null;

on("link", () => (byTag = null)); // another server, or another configuration

/** @returns {Promise<Map<string, string[]>>} */
async function load() {
    const { plotters } = await get("pens");
    const found = new Map();
    for (const pen of plotters.flatMap((plotter) => plotter.pens)) {
        const [, tag] = /^\S*\.(\S+)/.exec(pen.name) ?? []; // "R1_P1.VA_6 Water, °C" records VA_6
        if (tag) found.set(tag, [...(found.get(tag) ?? []), pen.id]);
    }
    return found;
}

/** @param {import("../data/store.js").Row} row @returns {Promise<string[]>} ids, [] if nothing records it */
export async function pensOf(row) {
    if (row.history) return [row.id];
    try {
        byTag ??= load();
        return (await byTag).get(row.tag) ?? [];
    } catch {
        byTag = null; // the next row asks again
        return [];
    }
}
