// The page's language: the remembered one, else the browser's. Texts come from the one table in texts.js.
import { remember } from "../data/settings.js";
import { texts } from "./texts.js";

/** @typedef {"ru" | "en"} Language */
/** @typedef {{ru: string, en: string}} Text a text in both languages, as the program sends it */

const root = document.documentElement;
const changes = new EventTarget();
const plurals = { ru: new Intl.PluralRules("ru"), en: new Intl.PluralRules("en") };

/** @returns {Language} */
export function language() {
    return root.lang === "ru" ? "ru" : "en";
}

/** The locale of numbers and times: English with the 24-hour clock and day before month, as in plants. */
export function locale() {
    return language() === "ru" ? "ru-RU" : "en-GB";
}

/** @param {Language} chosen */
export function setLanguage(chosen) {
    root.lang = chosen;
    remember("language", chosen);
    changes.dispatchEvent(new Event("change"));
}

/** @param {() => void} listener */
export function onLanguage(listener) {
    changes.addEventListener("change", listener);
}

/**
 * A text of the table, with {names} replaced. An entry that is an object of plural forms chooses by `n`.
 * @param {string} key @param {Record<string, string | number>} [values] @returns {string}
 */
export function t(key, values = {}) {
    const entry = texts[key];
    if (!entry) throw new Error(`no text ${key}`);
    const chosen = entry[language()];
    const form = typeof chosen === "string" ? chosen : pluralForm(chosen, Number(values.n));
    return form.replace(/\{(\w+)\}/g, (whole, name) => String(values[name] ?? whole));
}

/** @param {Record<string, string>} forms @param {number} n */
function pluralForm(forms, n) {
    return forms[plurals[language()].select(n)] ?? forms.other;
}

/** A text of the program in the page's language. @param {Text | null | undefined} text */
export function said(text) {
    return text ? (text[language()] ?? text.en ?? "") : "";
}

/** Fills the document's fixed texts, which name their key in data-text, data-label or data-title. */
export function translate(within = document.body) {
    for (const node of within.querySelectorAll("[data-text]")) node.textContent = t(node.dataset.text);
    for (const node of within.querySelectorAll("[data-label]"))
        node.setAttribute("aria-label", t(node.dataset.label));
    for (const node of within.querySelectorAll("[data-title]"))
        node.setAttribute("title", t(node.dataset.title));
}
