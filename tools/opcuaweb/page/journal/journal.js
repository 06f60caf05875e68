// The event journal, newest first; new messages arrive by themselves.
import { get, isAborted } from "../data/api.js";
import { announce, debounced, element, iconButton, notice, setText } from "../widgets/dom.js";
import { count, exactTime } from "../text/format.js";
import { said, t } from "../text/language.js";
import { note } from "../frame/router.js";
import { TimeField, unfolds } from "../widgets/fields.js";
import { searchBox } from "../widgets/search.js";
import { on, store } from "../data/store.js";

/** Messages that are shown; older ones are found by time. */
const most = 1000;
const announceMs = 10_000;

/** @typedef {{time: number, dictionary: number, code: number, variable: string, text: import("../text/language.js").Text}} Message */

class JournalView {
    /** @type {Message[]} newest last */
    #messages = [];
    #words = "";
    #unsaid = 0;
    #saying = 0;
    #request = new AbortController();
    #hasFailed = false;

    /** @param {HTMLElement} root @param {Record<string, string>} parameters */
    constructor(root, parameters) {
        this.codes = /** @type {HTMLInputElement} */ (
            element("input", {
                type: "text",
                inputMode: "numeric",
                autocomplete: "off",
                placeholder: "18094, 17900-17999",
                maxLength: 200,
            })
        );
        const filter = debounced(300, () => this.#filter());
        this.codes.addEventListener("input", filter);
        this.from = new TimeField("range.from", filter);
        this.to = new TimeField("range.to", filter);
        this.search = searchBox(
            (text) => {
                note({ q: text });
                this.#filterWords(text);
            },
            { placeholder: "journal.search" },
        );
        this.count = element("p", { class: "muted journal-count" });
        this.body = element("tbody", { role: "rowgroup" });
        this.message = element("div", { hidden: true });
        this.table = element(
            "div",
            { class: "scroll live", tabIndex: 0, role: "region", "aria-label": t("journal.label") },
            element(
                "table",
                { class: "journal", role: "table" },
                element(
                    "thead",
                    { role: "rowgroup" },
                    element(
                        "tr",
                        { role: "row" },
                        ...["time", "code", "variable", "text"].map((name) =>
                            element("th", { scope: "col", role: "columnheader" }, t(`journal.${name}`)),
                        ),
                    ),
                ),
                this.body,
            ),
        );
        const fields = [
            element("label", { class: "field codes" }, element("span", {}, t("journal.codes")), this.codes),
            this.from.root,
            this.to.root,
            iconButton("close", t("journal.reset"), () => this.#reset()),
        ];
        for (const field of fields) field.classList.add("folded");
        root.append(
            element(
                "section",
                { class: "panel journal-panel", "aria-label": t("nav.journal") },
                element("header", {}, this.search.root, unfolds("journal.filter", ...fields), ...fields),
                this.count,
                this.message,
                this.table,
            ),
        );
        this.ends = [
            () => filter.cancel(),
            on("journal", (messages) => this.#add(messages)),
            on("hello", () => this.#load()),
            on("link", () => this.#hasFailed && this.#load()),
        ];
        this.arrive(parameters);
    }

    leave() {
        this.#request.abort();
        this.search.leave();
        clearTimeout(this.#saying);
        this.ends.forEach((end) => end());
    }

    /** @param {Record<string, string>} parameters */
    arrive({ codes = "", from = "", to = "", q = "" }) {
        this.search.show(q);
        this.#words = q;
        this.codes.value = codes;
        this.from.show(Number(from) || null);
        this.to.show(Number(to) || null);
        this.#load();
    }

    /** @param {string} text of what has been loaded */
    #filterWords(text) {
        this.#words = text;
        this.#paint();
    }

    #reset() {
        this.codes.value = "";
        this.from.show(null);
        this.to.show(null);
        this.search.show("");
        this.#words = "";
        this.#filter();
        this.codes.focus();
    }

    #filter() {
        const codes = this.codes.value.trim();
        const isWrong = codes !== "" && !rangesOf(codes);
        this.codes.setAttribute("aria-invalid", String(isWrong));
        if (isWrong) return setText(this.count, t("journal.wrongCodes"));
        for (const field of [this.from, this.to])
            if (!field.isEmpty() && field.time() === null) return setText(this.count, t("time.wrong"));
        note({ codes, from: this.from.time(), to: this.to.time(), q: this.#words });
        return this.#load();
    }

    #wanted() {
        return { codes: this.codes.value.trim(), from: this.from.time(), to: this.to.time() };
    }

    async #load() {
        if (store.hello && !store.hello.journal)
            return this.#show([], t("journal.absent"), "info", t("journal.absentAdvice"));
        this.#request.abort();
        this.#request = new AbortController();
        try {
            const { messages } = await get(
                "journal",
                { ...this.#wanted(), limit: most },
                this.#request.signal,
            );
            this.#hasFailed = false;
            this.#show(messages, t("journal.none"), "journal");
        } catch (error) {
            if (isAborted(error)) return undefined;
            this.#hasFailed = true;
            this.#show([], error.message, "bad");
        }
        return undefined;
    }

    #show(messages, ifNone, symbol, advice = "") {
        this.#messages = messages;
        this.message.replaceChildren(notice(ifNone, symbol, advice));
        this.#paint();
    }

    /** @param {Message[]} messages new ones, of which the filter lets through what it lets through */
    #add(messages) {
        const { codes, from, to } = this.#wanted();
        const ranges = rangesOf(codes);
        const suits = (/** @type {Message} */ message) =>
            (!codes || ranges?.some(([low, high]) => message.code >= low && message.code <= high)) &&
            (!from || message.time >= from) &&
            (!to || message.time <= to);
        const fresh = messages.filter(suits);
        if (!fresh.length) return;
        this.#messages = [...this.#messages, ...fresh].slice(-most);
        const shown = fresh.filter((message) => this.#hasWords(message)).reverse();
        // Only the new lines: what somebody reads further down stays where it is.
        this.body.prepend(...shown.map((message) => line(message, true)));
        while (this.body.childElementCount > most) this.body.lastElementChild.remove();
        this.#paintCount();
        this.#announce(shown.length);
    }

    /** Not each message by itself: a screen reader would never end. @param {number} fresh */
    #announce(fresh) {
        this.#unsaid += fresh;
        if (!this.#unsaid || this.#saying) return;
        announce(t("journal.new", { n: this.#unsaid }));
        this.#unsaid = 0;
        this.#saying = setTimeout(() => {
            this.#saying = 0;
            this.#announce(0);
        }, announceMs);
    }

    /** @param {Message} message */
    #hasWords(message) {
        const text = `${message.code} ${message.variable} ${said(message.text)}`;
        return text.toLocaleLowerCase().includes(this.#words.toLocaleLowerCase());
    }

    #paint() {
        const shown = this.#messages.filter((message) => this.#hasWords(message)).reverse();
        this.body.replaceChildren(...shown.map((message) => line(message, false)));
        this.#paintCount();
    }

    #paintCount() {
        const n = this.body.childElementCount;
        this.table.hidden = n === 0;
        this.message.hidden = n > 0;
        setText(this.count, n ? t("journal.count", { n, count: count(n) }) : "");
    }
}

/**
 * The roles are written out because on narrow screens the style sheet makes blocks of rows and cells.
 * @param {Message} message @param {boolean} isFresh
 */
function line(message, isFresh) {
    const cell = (kind, content, title = "") => element("td", { class: kind, role: "cell", title }, content);
    const when = element("time", { dateTime: new Date(message.time).toISOString() }, exactTime(message.time));
    return element(
        "tr",
        { class: isFresh ? "flash-row" : "", role: "row" },
        cell("when", when),
        cell("code", String(message.code), t("journal.dictionary", { n: message.dictionary })),
        cell("variable", message.variable),
        cell("words", said(message.text)),
    );
}

/** "18094, 17900-17999" as ranges; null if it is not such a list. @param {string} text @returns {[number, number][] | null} */
function rangesOf(text) {
    /** @type {[number, number][]} */
    const ranges = [];
    for (const part of text
        .split(",")
        .map((piece) => piece.trim())
        .filter(Boolean)) {
        const match = /^(\d+)(?:\s*-\s*(\d+))?$/.exec(part);
        if (!match) return null;
        ranges.push([Number(match[1]), Number(match[2] ?? match[1])]);
    }
    return ranges;
}

/** @type {import("../app.js").MakeView} */
export function journalView(root, parameters) {
    return new JournalView(root, parameters);
}
