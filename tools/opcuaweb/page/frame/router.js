// The address' fragment is the view and what is selected in it: "#/values?node=i%3D85". It can be bookmarked, and the
// browser's back button works.

/** @typedef {{view: string, parameters: Record<string, string>}} Place */

const views = ["overview", "values", "trends", "journal", "configuration"];
/** The address at which each view was left. @type {Map<string, string>} */
const lefts = new Map();
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

/** Where a view was left, so that its selection is found again. @param {string} view */
export function lastAddress(view) {
    return lefts.get(view) ?? addressOf(view);
}

/** The navigation leads back to where each view was left. */
function remember() {
    const { view, parameters } = here();
    lefts.set(view, addressOf(view, parameters));
    document.querySelector(`#nav [data-view="${view}"]`)?.setAttribute("href", lastAddress(view));
}

/** Goes to a view, as a click on a link would. */
export function go(view, parameters = {}) {
    goTo(addressOf(view, parameters));
}

/** @param {string} target an address in this page */
export function goTo(target) {
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
    remember();
}

/** @param {(place: Place) => void} onArrival called now and on each change of the fragment by link, key or button */
export function startRouter(onArrival) {
    arrive = (place) => {
        remember();
        onArrival(place);
    };
    addEventListener("hashchange", () => arrive(here()));
    arrive(here());
}

/** The views in the order of their keys. */
export function viewNames() {
    return views;
}
