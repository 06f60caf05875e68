// The event journal, newest first; new messages arrive by themselves.
import { get, isAborted } from "../data/api.js";
import { announce, debounced, element, iconButton, notice, setText } from "../widgets/dom.js";
import { count, exactTime, fromInputTime } from "../text/format.js";
import { said, t } from "../text/language.js";
import { note } from "../frame/router.js";
import { dateField, unfolds } from "../widgets/fields.js";
import { searchBox } from "../widgets/search.js";
import { on, store } from "../data/store.js";

/** Messages that are shown; older ones are found by time. */
const most = 1000;

/** @typedef {{time: number, dictionary: number, code: number, variable: string, text: import("../text/language.js").Text}} Message */

class JournalView {
    /** @type {Message[]} newest last */
    #messages = [];
    #words = "";
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
        this.from = dateField("range.from");
        this.to = dateField("range.to");
        this.search = searchBox(
            (text) => {
                this.#words = text.toLocaleLowerCase();
                this.#paint();
            },
            { placeholder: "journal.search" },
        );
        this.count = element("p", { class: "muted", role: "status" });
        this.body = element("tbody", {});
        this.message = element("div", { hidden: true });
        this.table = element(
            "div",
            { class: "scroll live", tabIndex: 0, role: "region", "aria-label": t("journal.label") },
            element(
                "table",
                { class: "journal" },
                element(
                    "thead",
                    {},
                    element(
                        "tr",
                        {},
                        ...["time", "code", "variable", "text"].map((name) =>
                            element("th", { scope: "col" }, t(`journal.${name}`)),
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
        const filter = debounced(300, () => this.#filter());
        for (const input of [this.codes, this.from.input, this.to.input])
            input.addEventListener("input", filter);
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
        this.ends.forEach((end) => end());
    }

    /** @param {Record<string, string>} parameters */
    arrive({ codes = "", from = "", to = "" }) {
        this.codes.value = codes;
        this.from.input.value = from;
        this.to.input.value = to;
        this.#load();
    }

    #reset() {
        this.codes.value = this.from.input.value = this.to.input.value = "";
        this.#filter();
        this.codes.focus();
    }

    #filter() {
        const codes = this.codes.value.trim();
        const isWrong = codes !== "" && !rangesOf(codes);
        this.codes.setAttribute("aria-invalid", String(isWrong));
        if (isWrong) return setText(this.count, t("journal.wrongCodes"));
        note({ codes, from: this.from.input.value, to: this.to.input.value });
        return this.#load();
    }

    #wanted() {
        return {
            codes: this.codes.value.trim(),
            from: fromInputTime(this.from.input.value),
            to: fromInputTime(this.to.input.value),
        };
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
        this.#paint(fresh.length);
        announce(t("journal.new", { n: fresh.length }));
    }

    /** @param {number} [fresh] how many of the newest are marked as new */
    #paint(fresh = 0) {
        const words = this.#words;
        const isFresh = new Set(fresh ? this.#messages.slice(-fresh) : []);
        const shown = this.#messages
            .filter(
                (message) =>
                    !words ||
                    `${message.code} ${message.variable} ${said(message.text)}`
                        .toLocaleLowerCase()
                        .includes(words),
            )
            .reverse();
        this.body.replaceChildren(...shown.map((message) => line(message, isFresh.has(message))));
        this.table.hidden = !shown.length;
        this.message.hidden = shown.length > 0;
        setText(
            this.count,
            shown.length ? t("journal.count", { n: shown.length, count: count(shown.length) }) : "",
        );
    }
}

/** @param {Message} message @param {boolean} isFresh */
function line(message, isFresh) {
    return element(
        "tr",
        { class: isFresh ? "flash-row" : "" },
        element(
            "td",
            { class: "when" },
            element("time", { dateTime: new Date(message.time).toISOString() }, exactTime(message.time)),
        ),
        element(
            "td",
            { class: "code", title: t("journal.dictionary", { n: message.dictionary }) },
            String(message.code),
        ),
        element("td", { class: "variable" }, message.variable),
        element("td", { class: "words" }, said(message.text)),
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
