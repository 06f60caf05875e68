// The address' fragment is the view and what is selected in it: "#/values?node=i%3D85". It can be bookmarked, and the
// browser's back button works.

/** @typedef {{view: string, parameters: Record<string, string>}} Place */

const views = ["overview", "values", "trends", "journal", "configuration"];
/** @type {(place: Place) => void} */
let arrive = () => {};

/** @returns {Place} */
export function here() {
    const [path, query = ""] = location.hash.replace(/^#\/?/, "").split("?", 2);
    const view = views.includes(path) ? path : views[0];
    return { view, parameters: Object.fromEntries(new URLSearchParams(query)) };
}

/** @param {string} view @param {Record<string, string | number | null | undefined>} [parameters] empty ones are left out */
export function addressOf(view, parameters = {}) {
    const given = Object.entries(parameters).filter(
        ([, value]) => value !== null && value !== undefined && value !== "",
    );
    const query = new URLSearchParams(given.map(([name, value]) => [name, String(value)])).toString();
    return `#/${view}${query ? `?${query}` : ""}`;
}

/** Goes to a view, as a click on a link would. */
export function go(view, parameters = {}) {
    const target = addressOf(view, parameters);
    if (target !== location.hash) location.hash = target;
    else arrive(here());
}

/**
 * Changes parameters of the present view without leaving it.
 * @param {Record<string, string | number | null | undefined>} changed null removes one
 * @param {{keep?: boolean}} [how] keep: the back button returns to the state before
 */
export function note(changed, { keep = false } = {}) {
    const { view, parameters } = here();
    const target = addressOf(view, { ...parameters, ...changed });
    if (target === location.hash) return;
    if (keep) history.pushState(null, "", target);
    else history.replaceState(null, "", target);
}

/** @param {(place: Place) => void} onArrival called now and on each change of the fragment by link, key or button */
export function startRouter(onArrival) {
    arrive = onArrival;
    addEventListener("hashchange", () => arrive(here()));
    arrive(here());
}

/** The views in the order of their keys. */
export function viewNames() {
    return views;
}
