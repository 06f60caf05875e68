// The stream of events from the program. It reconnects by itself, waiting longer each time. fetch instead of EventSource,
// because that hides the status and the text of a refusal, and the ping comments.
import { answered, Problem } from "./api.js";

/** Events come at least every 10 s (a ping); silence for longer than this means that the connection is dead. */
const silenceMs = 25_000;
const delaysMs = [500, 1000, 2000, 4000, 8000, 15_000];
const largestEvent = 8_000_000; // characters

/**
 * @typedef {object} LinkState
 * @property {"connecting" | "connected" | "lost"} state
 * @property {number} [retryAt] ms since 1970: when the next attempt is made
 * @property {Problem} [problem] what the program answered, if it refused
 */

export class Link {
    #attempt = 0;
    /** @type {Problem | undefined} what the last attempt was refused with */
    #problem;
    /** @type {AbortController | null} */
    #request = null;
    /** @type {() => void} */
    #wake = () => {};

    /**
     * @param {(event: string, data: unknown) => void} onEvent @param {(state: LinkState) => void} onState
     */
    constructor(onEvent, onState) {
        this.onEvent = onEvent;
        this.onState = onState;
        addEventListener("online", () => this.retryNow());
    }

    async run() {
        for (;;) {
            try {
                await this.#listen();
            } catch (error) {
                this.#problem = error instanceof Problem && error.code !== "unreachable" ? error : undefined;
            }
            await this.#pause();
        }
    }

    retryNow() {
        this.#wake();
    }

    /** Drops the connection; run() makes another one. */
    restart() {
        this.#request?.abort();
    }

    async #listen() {
        this.onState({ state: "connecting", problem: this.#problem });
        this.#request = new AbortController();
        const headers = { Accept: "text/event-stream" };
        const response = await this.#withDeadline(
            answered("/api/events", { headers, signal: this.#request.signal }),
        );
        this.#attempt = 0;
        this.#problem = undefined;
        this.onState({ state: "connected" });
        const reader = response.body.pipeThrough(new TextDecoderStream()).getReader();
        let rest = "";
        for (;;) {
            const { done, value } = await this.#withDeadline(reader.read());
            if (done) return;
            rest = this.#dispatch(rest + value);
            if (rest.length > largestEvent) return this.restart();
        }
    }

    /** @template T @param {Promise<T>} step @returns {Promise<T>} */
    async #withDeadline(step) {
        const timer = setTimeout(() => this.#request?.abort(), silenceMs);
        try {
            return await step;
        } finally {
            clearTimeout(timer);
        }
    }

    /** @param {string} text @returns {string} the beginning of an event that is not complete yet */
    #dispatch(text) {
        const blocks = text.split(/\r?\n\r?\n/);
        const rest = blocks.pop() ?? "";
        for (const block of blocks) this.#take(block);
        return rest;
    }

    /** @param {string} block */
    #take(block) {
        let name = "message";
        let data = "";
        for (const line of block.split(/\r?\n/)) {
            if (line.startsWith("event:")) name = line.slice(6).trim();
            else if (line.startsWith("data:")) data += line.slice(5);
        }
        if (data) this.onEvent(name, JSON.parse(data));
    }

    #pause() {
        const base = delaysMs[Math.min(this.#attempt++, delaysMs.length - 1)];
        const delay = base * (0.8 + 0.4 * Math.random()); // many pages must not come back in the same instant
        this.onState({ state: "lost", retryAt: Date.now() + delay, problem: this.#problem });
        return new Promise((resolve) => {
            const timer = setTimeout(resolve, delay);
            this.#wake = () => {
                clearTimeout(timer);
                resolve(undefined);
            };
        });
    }
}
