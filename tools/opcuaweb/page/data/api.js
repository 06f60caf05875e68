// Requests to the program. Every failure becomes a Problem with a code and a text for the operator.
import { said, t } from "../text/language.js";

export class Problem extends Error {
    /** @param {string} code the program's word in kebab-case, or "unreachable" @param {string} text for the operator */
    constructor(code, text) {
        super(text);
        this.code = code;
    }
}

/**
 * @param {string} path @param {Record<string, string | number | null | undefined>} [query] empty values are left out
 */
export function address(path, query = {}) {
    const given = Object.entries(query).filter(
        ([, value]) => value !== null && value !== undefined && value !== "",
    );
    const text = new URLSearchParams(given.map(([name, value]) => [name, String(value)])).toString();
    return text ? `/api/${path}?${text}` : `/api/${path}`;
}

/** @param {string} path @param {Record<string, string | number | null | undefined>} [query] @param {AbortSignal} [signal] */
export async function get(path, query, signal) {
    return (await answered(address(path, query), { signal })).json();
}

/**
 * What the program knows of one variable; undefined for one that its search does not find.
 * @param {string} id @param {AbortSignal} [signal] @returns {Promise<import("./store.js").Row | undefined>}
 */
export async function rowOf(id, signal) {
    const { hits } = await get("search", { q: id, limit: 10 }, signal);
    return hits.find((/** @type {import("./store.js").Row} */ hit) => hit.id === id);
}

/** @param {string} path @param {unknown} body @param {AbortSignal} [signal] */
export async function post(path, body, signal) {
    const headers = { "Content-Type": "application/json", "X-Opcuaweb": "1" };
    return (
        await answered(address(path), { method: "POST", headers, body: JSON.stringify(body), signal })
    ).json();
}

/**
 * The answer, if it is one of success.
 * @param {string} url @param {RequestInit} options @returns {Promise<Response>} @throws {Problem | DOMException} the latter
 *   when the request was aborted
 */
export async function answered(url, options) {
    let response;
    try {
        response = await fetch(url, { ...options, cache: "no-store", redirect: "error" });
    } catch (error) {
        if (error instanceof DOMException && error.name === "AbortError") throw error;
        throw new Problem("unreachable", t("problem.unreachable"));
    }
    if (response.ok) return response;
    throw await problemOf(response);
}

/** @param {Response} response */
async function problemOf(response) {
    try {
        const { error, text } = await response.json();
        return new Problem(String(error), said(text) || String(error));
    } catch {
        return new Problem("http", t("problem.http", { status: response.status }));
    }
}

/** Whether an error only says that the request was not wanted any more. @param {unknown} error */
export function isAborted(error) {
    return error instanceof DOMException && error.name === "AbortError";
}
