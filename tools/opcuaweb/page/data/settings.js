// What the page remembers in this browser. Storage may be forbidden or full: then a choice lasts until the page is closed.

const prefix = "opcuaweb.";
/** @type {Map<string, string>} */
const unsaved = new Map();

/** @param {string} name @returns {string | null} */
export function remembered(name) {
    try {
        return localStorage.getItem(prefix + name) ?? unsaved.get(name) ?? null;
    } catch {
        return unsaved.get(name) ?? null;
    }
}

/** @param {string} name @param {string} value */
export function remember(name, value) {
    unsaved.set(name, value);
    try {
        localStorage.setItem(prefix + name, value);
    } catch {
        // Kept in `unsaved`.
    }
}
