// The rows of the table of values: those below a node, those that a search finds, or those in need of attention.
import { get, Problem } from "../data/api.js";
import { t } from "../text/language.js";

/** What one search may show; more hits than this call for more letters. */
export const mostHits = 500;
const mostInNeed = 2000;

/**
 * @param {{node: string, q: string, only: string}} wanted the text or the condition counts before the node
 * @param {AbortSignal} signal
 * @returns {Promise<{rows: import("../data/store.js").Row[], complete: boolean}>}
 */
export async function loadRows({ node, q, only }, signal) {
    if (only && !q) return inNeed(only, signal);
    if (!q) return get("rows", { node }, signal);
    const { hits, complete } = await get("search", { q, limit: mostHits }, signal);
    return { rows: hits, complete };
}

/** @param {string} kind @param {AbortSignal} signal */
async function inNeed(kind, signal) {
    try {
        return await get("attention", { kind, limit: mostInNeed }, signal);
    } catch (error) {
        if (error instanceof Problem && error.code === "unknown-path") {
            throw new Problem(error.code, t("table.noAttention"));
        }
        throw error;
    }
}
