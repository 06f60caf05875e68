// Dark and light. "auto" follows the system. Canvases ask here for the colours of the style sheet.
import { remember, remembered } from "../data/settings.js";

const root = document.documentElement;
const changes = new EventTarget();
/** @type {Map<string, string>} */
const resolved = new Map();
const order = ["auto", "light", "dark"];

export function theme() {
    return remembered("theme") ?? "auto";
}

/** From following the system to light to dark and round. @returns {string} the new theme */
export function nextTheme() {
    const next = order[(order.indexOf(theme()) + 1) % order.length];
    remember("theme", next);
    if (next === "auto") delete root.dataset.theme;
    else root.dataset.theme = next;
    forget();
    return next;
}

/** @param {() => void} listener called after each change of the colours; returns what ends it */
export function onTheme(listener) {
    changes.addEventListener("change", listener);
    return () => changes.removeEventListener("change", listener);
}

/**
 * A custom property as a colour that a canvas understands. The property itself may hold light-dark(), which only
 * an element resolves.
 * @param {string} property for example "--bad" @returns {string}
 */
export function colour(property) {
    let value = resolved.get(property);
    if (value) return value;
    const probe = document.createElement("span");
    probe.style.color = `var(${property})`;
    document.body.append(probe);
    value = getComputedStyle(probe).color;
    probe.remove();
    resolved.set(property, value);
    return value;
}

function forget() {
    resolved.clear();
    changes.dispatchEvent(new Event("change"));
}

matchMedia("(prefers-color-scheme: dark)").addEventListener("change", forget);
