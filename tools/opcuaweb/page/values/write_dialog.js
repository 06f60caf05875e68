// Writing one value: entered, read as the program understood it, confirmed as old → new, and read back.
import { post } from "../data/api.js";
import { element } from "../widgets/dom.js";
import { conditionOf, plainValue } from "../text/format.js";
import { t } from "../text/language.js";
import { on, store, valueOf } from "../data/store.js";

/** @typedef {import("../data/store.js").Row} Row */

/** @param {Row} row */
export function canWrite(row) {
    return Boolean(store.hello?.writes) && row.access.includes("W");
}

/** @param {Row} row */
export function openWriteDialog(row) {
    const dialog = /** @type {HTMLDialogElement} */ (document.querySelector("#write"));
    const content = element("div", {});
    dialog.replaceChildren(
        element("h2", { id: "write-title" }, t("write.title", { tag: row.tag || row.item })),
        content,
    );
    ask({ dialog, content, row }, "");
    dialog.showModal();
}

/** @typedef {{dialog: HTMLDialogElement, content: HTMLElement, row: Row}} Step */

/** The first step: the new value is entered. @param {Step} step @param {string} text @param {string} [problem] */
function ask(step, text, problem = "") {
    const { content, row, dialog } = step;
    const error = element("p", { class: "error-text", id: "write-error", role: "alert" }, problem);
    const input = /** @type {HTMLInputElement} */ (
        element("input", {
            id: "write-value",
            value: text,
            autocomplete: "off",
            inputMode: isNumber(row) ? "decimal" : "text",
            required: true,
            maxLength: 1000,
            "aria-describedby": "write-now write-error",
            "aria-invalid": problem ? "true" : null,
        })
    );
    const next = element("button", { class: "button primary" }, t("write.next"));
    const form = element(
        "form",
        { method: "dialog" },
        nowLine(row),
        element("label", { class: "field" }, element("span", {}, t("write.new")), input),
        error,
        element("div", { class: "dialog-buttons" }, closeButton(dialog, t("cancel")), next),
    );
    form.addEventListener("submit", (event) => {
        event.preventDefault();
        attempt(step, next, input.value, async () => {
            const answer = await post("write/ask", { node: row.id, value: sent(row, input.value) });
            confirm(step, input.value, answer);
        });
    });
    content.replaceChildren(form);
    input.focus();
    input.select();
}

/** The present value follows the plant while the dialog is open. @param {Row} row */
function nowLine(row) {
    const value = element("strong", {});
    const line = element(
        "p",
        { id: "write-now", class: "write-now" },
        `${[row.name, row.item].filter(Boolean).join(" · ")}: `,
        value,
    );
    const paint = () => {
        if (value.isConnected || !value.textContent)
            value.textContent = withUnit(row, valueOf(row.id)?.value);
        else end();
    };
    const end = on("values", paint);
    paint();
    return line;
}

/** The second step: old and new value, as the program has read the text. @param {Step} step @param {string} text @param {any} answer */
function confirm(step, text, answer) {
    const { content, row, dialog } = step;
    const write = element("button", { type: "button", class: "button danger" }, t("write.confirm"));
    write.addEventListener("click", () =>
        attempt(step, write, text, async () => {
            const body = {
                browser: store.hello?.browser,
                node: row.id,
                value: sent(row, text),
                confirmed: true,
            };
            report(step, await post("write", body));
        }),
    );
    const back = element(
        "button",
        { type: "button", class: "button", on: { click: () => ask(step, text) } },
        t("write.back"),
    );
    const isDoubtful = conditionOf(valueOf(row.id), row) !== "good";
    content.replaceChildren(
        exchange(row, answer.old, answer.new),
        isDoubtful ? element("p", { class: "is-uncertain" }, t("write.doubtful")) : "",
        element("p", {}, t("write.effect")),
        element("div", { class: "dialog-buttons" }, closeButton(dialog, t("cancel")), back, write),
    );
    // Not on the button that writes: a second Enter must not slip through.
    back.focus();
}

/** The last step: what the server answered and what is there now. @param {Step} step @param {any} answer */
function report({ content, row, dialog }, answer) {
    const close = closeButton(dialog, t("close"));
    close.classList.add("primary");
    const text = answer.taken
        ? t("write.taken")
        : answer.status === "Good"
          ? t("write.notTaken")
          : t("write.refused", { status: answer.status });
    content.replaceChildren(
        exchange(row, answer.old, answer.new, "write.read"),
        element("p", { role: "status", class: answer.taken ? "is-good" : "error-text" }, text),
        answer.taken ? "" : nowLine(row),
        element("div", { class: "dialog-buttons" }, close),
    );
    close.focus();
}

/** @param {Row} row @param {any} before @param {any} after @param {string} [key] of the text above the latter */
function exchange(row, before, after, key = "write.new") {
    return element(
        "div",
        { class: "exchange" },
        element(
            "div",
            {},
            element("span", { class: "muted" }, t("write.old")),
            element("strong", {}, withUnit(row, before)),
        ),
        element("span", { "aria-hidden": "true" }, "→"),
        element(
            "div",
            { class: "new" },
            element("span", { class: "muted" }, t(key)),
            element("strong", {}, withUnit(row, after)),
        ),
    );
}

/** Runs a request with its button switched off; a refusal returns to the entry with its text. */
async function attempt(step, button, text, action) {
    button.disabled = true;
    try {
        await action();
    } catch (error) {
        ask(step, text, error.message);
    }
}

/** @param {HTMLDialogElement} dialog @param {string} text */
function closeButton(dialog, text) {
    return element("button", { type: "button", class: "button", on: { click: () => dialog.close() } }, text);
}

/** By its value, or by its type while no value has come. @param {Row} row */
function isNumber(row) {
    const value = valueOf(row.id)?.value;
    return (
        typeof value === "number" ||
        (value === undefined && /^(S?Byte|U?Int\d+|Float|Double)$/.test(row.type))
    );
}

/** The decimal comma of a Russian keyboard is a point for the program. @param {Row} row @param {string} text */
function sent(row, text) {
    return isNumber(row) ? text.trim().replace(",", ".") : text;
}

/** @param {Row} row @param {any} value */
function withUnit(row, value) {
    return [plainValue(value), row.unit].filter(Boolean).join(" ");
}
